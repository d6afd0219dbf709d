// The image has something for every table of a conversion; the long one is more than is read in one piece.
#include "faults/subjects.h"

#include <filesystem>

namespace faults {
namespace {

support::coff_image image_with_everything(std::size_t contents) {
    support::coff_image image;
    image.optional_header.emplace();
    image.sections = {{.name = ".text:with_a_long_name",
                       .paddr = 0x1000,
                       .contents = support::bytes(contents),
                       .relocs = {{.vaddr = 0x1004, .type = 17, .symndx = 3}, {.vaddr = 0x112A, .type = 17}},
                       .lines = {{.address = 0, .line = 0}, {.address = 0x1004, .line = 3}}},
                      {.name = ".bss", .flags = 0x80, .paddr = 0x90000, .size = 8},
                      {.name = ".cinit", .flags = 0x40, .paddr = 0xA0000, .contents = {1, 2, 3, 4}}};
    image.symbols = {{.name = ".bss", .scnum = 2, .sclass = 3, .aux = {support::aux_section(8, 0, 0)}},
                     {.name = "_main_with_a_long_name", .value = 0x1000},
                     {.name = "_printf", .scnum = 0},
                     {.name = "__DLStart", .value = 0x1000}};
    return image;
}

/// Small sections, each with its relocations behind its contents, and together more than is read in one piece.
support::coff_image mixed_image() {
    support::coff_image image{.symbols = {{.name = "_imported", .scnum = 0}}, .mixed = true};
    for (std::uint32_t number = 0; number < 8; ++number) {
        support::coff_section& section = image.sections.emplace_back();
        section.contents.assign(3000, 0x11);
        for (std::uint32_t at = 0; at < 3000; at += 4)
            section.relocs.push_back({.vaddr = at, .type = 17, .symndx = 0});
    }
    return image;
}

}  // namespace

const std::vector<subject> conversions = {
    {{MODFORGE_PROGRAM, "-q", "-e=names", "-p=300", "-o=new", "app.out"}, "new"},
    {{MODFORGE_PROGRAM, "-fc", "app.out"}, "app.hex"},
    {{MODFORGE_PROGRAM, "-o=long.out", "long.out"}, "long.out"},
    {{MODFORGE_PROGRAM, "-o=new", "long.out"}, "new"},
    {{MODFORGE_PROGRAM, "-o=new", "mixed.out"}, "new"},
    {{MODFORGE_PROGRAM, "-o=new", "bad.out"}, "new", 1},
    {{MODFORGE_PROGRAM, "-o=new", "missing"}, "new", 1},
};

const std::vector<subject> module_runs = {
    {{VELMDUMP_PROGRAM, "check", "app.vlm", "app.hex"}},
    {{VELMDUMP_PROGRAM, "check", "bad.out", "-"}, "", 1},
    {{VELMDUMP_PROGRAM, "show", "--json", "-"}, "", 0, "app.vlm"},
    {{VELMDUMP_PROGRAM, "report", "app.vlm", "-o", "new"}, "new"},
    {{VELMDUMP_PROGRAM, "convert", "app.vlm", "-o", "new", "--form", "text"}, "new"},
    {{VELMDUMP_PROGRAM, "extract", "app.vlm", ".cinit", "-o", "-"}},
    {{VELMDUMP_PROGRAM, "verify", "-e=names", "app.vlm", "app.out"}},
};

const std::vector<subject> image_runs = {
    {{COFFDUMP_PROGRAM, "app.out"}},
    {{COFFDUMP_PROGRAM, "--json", "app.out"}},
    {{COFFDUMP_PROGRAM, "--all", "-"}},
    {{COFFDUMP_PROGRAM, "check", "app.out", "-e", "names"}},
    {{COFFDUMP_PROGRAM, "check", "bad.out"}, "", 1},
};

const std::vector<subject> library_runs = {{{"library", "list"}},
                                           {{"library", "table"}},
                                           {{"library", "scopes"}},
                                           {{"library", "die"}, "", 1},
                                           {{"library", "file"}}};

int subject::trouble() const {
    return command[0] == VELMDUMP_PROGRAM || command[0] == COFFDUMP_PROGRAM ? 2 : 1;
}

bool subject::is_modforge() const {
    return command[0] == MODFORGE_PROGRAM;
}

std::string subject::title() const {
    std::string text;
    for (const std::string& word : command)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

room::room() {
    furnish();
    (void)run({"-e=names", "app.out"});
    (void)run({"-fc", "app.out"});
}

void room::furnish() const {
    support::coff_image bad = image_with_everything(600);
    bad.sections[2].scnptr = 0x1000000;
    write("app.out", image_with_everything(600).data());
    write("long.out", image_with_everything(150000).data());
    write("mixed.out", mixed_image().data());
    write("bad.out", bad.data());
    write("names", "_main_with_a_long_name ^_pr @.bss -@.none !.none # end");
}

void room::prepare(const subject& next) const {
    if (next.command.back() == "long.out")
        furnish();
    if (!next.output.empty() && next.output != "long.out")
        std::filesystem::remove(path(next.output));
}

support::bytes room::output_of(const subject& each) const {
    return each.output.empty() || !has(each.output) ? support::bytes() : read(each.output);
}

}  // namespace faults

// The module that docs/module-format.md works out by hand is what modforge writes for the input that it describes, its
// table of relocation types is the product's own, and whoever writes a loader finds the answers.
#include <gmock/gmock.h>

#include <bit>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <tuple>

#include "support/bytes.h"
#include "support/coff_builder.h"
#include "support/run_program.h"

namespace {

using namespace support;

const std::string source = MODFORGE_SOURCE_DIR;

std::string text_of(const std::string& path) {
    const bytes data = read_file(path);
    return {data.begin(), data.end()};
}

/// The tables of the page, in words of the builder.
coff_image blink() {
    coff_image image;
    image.target_id = 0x0099;
    image.flags = 0x1100;
    image.timestamp = 0x12345678;
    image.sections = {
        {.name = ".text",
         .flags = 0x220,
         .paddr = 0x1000,
         .contents = {0xA1, 0, 0, 0, 0, 0, 0xA2, 0, 0, 0, 0, 0, 0xC3, 0},
         .relocs = {{.vaddr = 0x1002, .type = 17, .symndx = 2}, {.vaddr = 0x1008, .type = 17, .symndx = 3}}},
        {.name = ".bss", .flags = 0x280, .paddr = 0x2000, .size = 4},
    };
    image.symbols = {
        {.name = "__DLStart", .value = 0x100C, .scnum = 1},
        {.name = "_toggle", .value = 0x1000, .scnum = 1},
        {.name = "_led", .value = 0, .scnum = 0},
        {.name = "_count", .value = 0x2000, .scnum = 2},
    };
    return image;
}

/// The bytes in the page's hex blocks: "offset: bytes   comment", the offset being that of the first byte.
bytes worked_example(const std::string& page) {
    bytes module;
    std::istringstream lines(page);
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("```", 0) == 0) {
            inside = line == "```hex";
            continue;
        }
        if (!inside)
            continue;
        EXPECT_EQ(std::stoul(line.substr(0, 4), nullptr, 16), module.size()) << line;
        for (std::size_t at = 6; at + 1 < line.size() && std::isxdigit(static_cast<unsigned char>(line[at])); at += 3)
            module.push_back(static_cast<std::uint8_t>(std::stoul(line.substr(at, 2), nullptr, 16)));
    }
    return module;
}

TEST(ModuleFormatPage, DescribesTheExampleInput) {
    EXPECT_EQ(blink().data(), read_file(source + "/examples/blink.out"));
}

TEST(ModuleFormatPage, WorkedExampleIsWhatTheConverterWrites) {
    if (std::endian::native != std::endian::little)
        GTEST_SKIP() << "the page shows a little-endian module";
    const bytes expected = worked_example(text_of(source + "/docs/module-format.md"));
    ASSERT_EQ(expected.size(), 236U);

    const temporary_directory room;
    room.write("blink.out", blink().data());
    room.write("blink.entries", text_of(source + "/examples/blink.entries"));
    const run_result run = run_program({MODFORGE_PROGRAM, "-e=blink.entries", "blink.out"}, {.directory = room.path()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(read_file(room.file("blink.vlm")), expected);
}

/// The rows of src/format/reloc_types.def. Types without a name and with the same numbers share a row of the page.
std::string table_of_types() {
    const bool with_disp = true, no_disp = false;
    std::ostringstream named, unnamed;
    std::map<std::tuple<int, int, int>, std::string> groups;
    const std::map<std::string, std::string> words = {{"symbol", "symbol *"},
                                                      {"field", "[four bytes](#field-records)"},
                                                      {"constant", "constant"},
                                                      {"nothing", "means nothing"}};
    const auto extent = [](int size, int stop) { return stop != 0 ? stop : (size + 7) / 8 * 8; };
    const auto add_named = [&](int number, const char* name, int size, int stop, int offset, const char* word,
                               bool disp) {
        named << "| " << (number < 0x4000 ? "" : "0x") << (number < 0x4000 ? std::dec : std::hex) << std::uppercase
              << number << std::dec << " | `" << name << "` | ";
        if (word == std::string("field"))
            named << "byte 5 | byte 6 | byte 6 / 8 | byte 4";
        else
            named << size << " | " << extent(size, stop) << " | " << extent(size, stop) / 8 << " | " << offset;
        named << " | " << words.at(word) << " | " << (disp ? "yes" : "no") << " |\n";
    };
    const auto add_unnamed = [&](int number, int size, int stop, int offset, const char* word, bool) {
        if (word == std::string("internal"))
            return;
        std::string& group = groups[{extent(size, stop), size, offset}];
        group += (group.empty() ? "" : ", ") + std::to_string(number);
    };
#define RELOC_TYPE(number, name, size, stop, offset, word, disp)                                                       \
    add_named(number, #name, size, stop, offset, #word, disp);
#define RELOC_UNNAMED(number, size, stop, offset, word, disp) add_unnamed(number, size, stop, offset, #word, disp);
#include "format/reloc_types.def"
#undef RELOC_TYPE
#undef RELOC_UNNAMED
    for (const auto& [numbers, types] : groups) {
        const auto& [stop, size, offset] = numbers;
        unnamed << "| " << types << " | | " << size << " | " << stop << " | " << stop / 8 << " | " << offset
                << " | symbol * | yes |\n";
    }
    return "| Type | Name | Field | Container | Bytes | First bit | Symbol word | Displacement |\n"
           "|---|---|---|---|---|---|---|---|\n" +
           named.str() + unnamed.str();
}

TEST(ModuleFormatPage, HasTheTableOfRelocationTypes) {
    EXPECT_THAT(text_of(source + "/docs/module-format.md"), testing::HasSubstr("\n\n" + table_of_types() + "\n"));
}

/// What a heading is called in a link.
std::string anchor_of(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        if (std::isalnum(static_cast<unsigned char>(c)) || c == '-')
            anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        else if (c == ' ')
            anchor += '-';
    }
    return anchor;
}

/// The text below each heading, by the heading's anchor.
std::map<std::string, std::string> chapters(const std::string& page) {
    std::map<std::string, std::string> found;
    std::istringstream lines(page);
    std::string anchor;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("## "))
            anchor = anchor_of(line.substr(3));
        else
            found[anchor] += line + '\n';
    }
    return found;
}

// What one cannot do without to apply a single relocation, and the words that answer it.
TEST(ModuleFormatPage, AnswersWhatALoaderAsks) {
    const std::string page = text_of(source + "/docs/module-format.md");
    auto found = chapters(page);
    const std::pair<const char*, std::vector<const char*>> answers[] = {
        {"recognising-a-module", {"at offset 8", "add up to FFFFFFFF"}},
        {"byte-order", {"flag 0x0200", "target id"}},
        {"address-units", {"not in the module", "/ size", "| 0x93 | 32 |"}},
        {"placing-sections", {"`.cinit`", "uninitialised", "copy", "*Pages*", "load address"}},
        {"symbol-values", {"new run address minus run address", "load address", "section 0"}},
        {"what-a-relocation-means", {"what the linker left in it", "the target's"}},
        {"relocation-types", {"`R_RELLONG` | 32 | 32 | 4 |", "any other from 0x4000"}},
        {"place-displacement-constants", {"address units", "16 bits", "sign", "all 32 bits"}},
        {"field-records", {"*never swapped*", "width of the container"}},
        {"expressions", {"operands before their operator", "no mark at its end"}},
        {"sections-without-flag-0x10", {"initialisation tables", "copy sections"}},
        {"limits-of-a-packet", {"1024 bytes", "no limit"}},
        {"places-outside-a-packet", {"negative", "refuses"}},
        {"entry", {"new run address", "not entered at all"}},
    };
    std::size_t linked = 0;
    for (const auto& [anchor, words] : answers) {
        EXPECT_THAT(found["a-loaders-questions"], testing::HasSubstr("?](#" + std::string(anchor) + ")"));
        linked += found.contains(anchor);
        for (const char* const word : words)
            EXPECT_THAT(found[anchor], testing::HasSubstr(word)) << anchor;
    }
    EXPECT_EQ(linked, std::size(answers));
}

TEST(ModuleFormatPage, LinksLeadSomewhere) {
    const std::string page = text_of(source + "/docs/module-format.md");
    const auto found = chapters(page);
    const std::regex link(R"(\]\(([^)#]*)(#([^)]*))?\))");
    for (std::sregex_iterator at(page.begin(), page.end(), link), end; at != end; ++at) {
        if ((*at)[1].length() != 0)
            EXPECT_TRUE(file_exists(source + "/docs/" + (*at)[1].str())) << at->str();
        else
            EXPECT_TRUE(found.contains((*at)[3].str())) << at->str();
    }
}

}  // namespace

// docs/messages.md says what modforge says: each of its rows is made to happen, and the whole line compared.
#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cases/messages_page.h"
#include "cases/run_modforge.h"

using namespace cases;
using support::coff_image;

namespace {

using image_change = std::function<void(coff_image&)>;
using words = std::vector<std::string>;

void cut_behind_symbols(coff_image& image) {
    image.string_table = false;
}

/// `count` sections that share a megabyte of the file, as contents or as relocations.
void overlap(coff_image& image, bool relocs) {
    constexpr std::uint32_t size = 1 << 20;
    image.sections[0].contents.assign(size, 0);
    for (int k = 0; k < 40; ++k) {
        support::coff_section section = {.name = ".s", .flags = 0x40};
        if (relocs)
            section.relptr = 500, section.nreloc = size / 12;
        else
            section.scnptr = 5000, section.size = size - 5000;
        image.sections.push_back(section);
    }
}

/// Names that are tails of one another.
void tails(coff_image& image) {
    image.symbols[0].name = std::string(60000, 'n');
    for (std::uint32_t k = 0; k < 1000; ++k)
        image.symbols.push_back({.name_offset = 4 + k});
}

const struct {
    const char* row;      ///< as it stands on the page
    image_change change;  ///< of small_image()
    words options = {};   ///< before the input's name
    const char* input = "in.out";
    int status = 1;
} happenings[] = {
    {"Invalid option OPTION", nullptr, {"-x"}},
    {"ERROR: Invalid value for image packet size: Minimum is 300 bytes", nullptr, {"-p=299"}},
    {"ERROR: Invalid value for image packet size: Maximum is 1024 bytes", nullptr, {"-p=1028"}},
    {"ERROR: Image packet size must align to a 32-bit boundary", nullptr, {"-p=302"}},
    {"ERROR: Unable to open entries file FILE", nullptr, {"-e=missing"}},
    {"ERROR: Unable to read entries file FILE", nullptr, {"-e=."}},
    {"ERROR: FILE:LINE: an entry has more than 255 characters", nullptr, {"-e=long"}},
    {"WARNING: Symbol NAME from entries file not found in FILE", nullptr, {"-e=odd"}, "in.out", 0},
    {"WARNING: Prefix NAME from entries file not found in FILE", nullptr, {"-e=odd"}, "in.out", 0},
    {"WARNING: Section NAME from entries file not found in FILE", nullptr, {"-e=odd"}, "in.out", 0},
    {"WARNING: Duplicate entries for NAME from entries file(s) with different qualifiers. Keeping entry -NAME",
     nullptr,
     {"-e=odd"},
     "in.out",
     0},
    {">>   error: Cannot open input file 'FILE': REASON", nullptr, {}, "missing"},
    {">>   error: FILE: cannot be read in any order: REASON", nullptr, {}, "/proc/self/fd/0"},
    {">>   error: FILE: cannot be read: REASON", nullptr, {}, "."},
    {">>   error: FILE: too long: a file may have N bytes", nullptr, {}, "huge"},
    {">> fatal error: this application only supports COFF version 2", [](auto& i) { i.magic = 0x00C1; }},
    {">>   error: Failed to read file and/or section headers", nullptr, {}, "empty"},
    {">>   error: FILE: N sections: a file may have N",
     [](auto& i) {
         i.nscns = 0x8000;
         i.sections[0].contents.assign(0x8000 * 48, 0);
     }},
    {"Invalid target type", [](auto& i) { i.target_id = 0x96; }},
    {">>   error: FILE: N relocations of section NAME at offset N run past the end of the file",
     [](auto& i) { i.sections[0].nreloc = 1000; }},
    {">>   error: FILE: N bytes of relocations in a file of N bytes", [](auto& i) { overlap(i, true); }},
    {">> fatal error: FILE: N bytes of section NAME at offset N run past the end of the file",
     [](auto& i) { i.sections[1].scnptr = 0x01000000; }},
    {">> fatal error: failed to read symbol table", [](auto& i) { i.nsyms = 0x0FFFFFFF; }},
    {">> fatal error: failed to read auxiliary entry",
     [](auto& i) {
         i.symbols.back().naux = 1;
         i.string_table = false;
     }},
    {">> fatal error: FILE: the file ends before its string table",
     [](auto& i) {
         i.symbols[0].name = "_longer_than_8";
         cut_behind_symbols(i);
     }},
    {">> fatal error: FILE: the length of the string table is below 4",
     [](auto& i) {
         i.symbols[0].name = "_longer_than_8";
         i.string_table_length = 3;
     }},
    {">> fatal error: FILE: the string table runs past the end of the file",
     [](auto& i) {
         i.symbols[0].name = "_longer_than_8";
         i.string_table_length = 300;
     }},
    {">> fatal error: FILE: no string at offset N of the string table (N bytes)",
     [](auto& i) {
         i.symbols[0].name = "_longer_than_8";
         i.symbols[0].name_offset = 3;
     }},
    {"Internal Error in USER_MSG::message:  attempt to generate a message > 4095 bytes, which would result in a buffer "
     "overflow; terminating program.",
     [](auto& i) {
         i.sections[0].name = std::string(5000, 's');
         i.sections[0].nreloc = 100000;
     }},
    {"ERROR: Symbol _DLStart is undefined. Improper linkage for entry point",
     [](auto& i) { i.symbols[0] = {.name = "__DLStart", .scnum = 0}; }},
    {"ERROR: Symbol _DLStart lies in section N, but there are only N",
     [](auto& i) { i.symbols[0] = {.name = "__DLStart", .scnum = 9, .sclass = 8}; }},
    {"ERROR: sym_refd array out of bounds", [](auto& i) { i.sections[0].relocs[0].symndx = 5; }},
    {"ERROR: scn_refd array out of bounds", [](auto& i) { i.symbols[1].scnum = 3; }},
    {"Internal Error in translating symbols", [](auto& i) { i.symbols[2].sclass = 8; }},
    {"ERROR: Section NAME: a memory width of N bits is not supported", [](auto& i) { i.sections[1].mwidth = 12; }},
    {"ERROR: Section NAME: contents of N bytes are too large", [](auto& i) { i.sections[1].size = 0x80000000; }},
    {"ERROR: Section NAME: the contents of the sections are out of proportion to the input",
     [](auto& i) { overlap(i, false); }},
    // A field of four bytes in contents of two.
    {"ERROR: Cannot cut section NAME at byte N: a relocated field leaves no packet",
     [](auto& i) {
         i.sections[0].contents = {1, 2};
         i.sections[0].relocs[0].vaddr = 0x1000;
     }},
    {"ERROR: A name of the module has more than 65534 characters: NAME...",
     [](auto& i) { i.symbols[0].name = std::string(65535, 'n'); }},
    {"ERROR: The module would have more than 65535 symbols",
     [](auto& i) {
         for (int k = 0; k < 65535; ++k)
             i.symbols.push_back({.name = "x" + std::to_string(k)});
     }},
    {"ERROR: The names of the module are out of proportion to the input", tails},
    {"ERROR: The module would have 4 GiB or more", nullptr, {}, "sparse"},
    {"WARNING: Section NAME: relocations out of order or outside its packets",
     [](auto& i) { i.sections[0].relocs[0].vaddr = 0x100C; },
     {},
     "in.out",
     0},
    {"ERROR: Unable to open file FILE", nullptr, {"-o=missing/out"}},
    {"ERROR: Cannot write to file FILE", nullptr, {"-o=/dev/full"}},
    {"WARNING: Output file FILE is the input file", nullptr, {"-o=in.out"}, "in.out", 0},
};

/// Three sections that share two gigabytes of a file that is all hole.
void write_sparse(const workshop& shop) {
    coff_image image = small_image();
    for (int k = 0; k < 3; ++k)
        image.sections.push_back({.name = ".big", .flags = 0x40, .size = 0x7FFF0000, .scnptr = 0x1000});
    shop.write("sparse", image.data());
    std::filesystem::resize_file(shop.path("sparse"), 0x7FFFFFFF);
}

void furnish(const workshop& shop, const image_change& change) {
    coff_image image = small_image();
    if (change)
        change(image);
    shop.write("in.out", image.data());
    shop.write("long", std::string(256, 'e'));
    shop.write("odd", "_no_such ^_no_such @.none -_twice _twice\n");
    shop.write("empty", "");
}

}  // namespace

TEST(Messages, EachIsMadeAndStandsOnThePageAsPrinted) {
    const std::vector<std::string> page = page_rows();
    ASSERT_GT(page.size(), 50U);
    std::set<std::string> met;
    for (const auto& h : happenings) {
        SCOPED_TRACE(h.row);
        met.insert(h.row);
        EXPECT_NE(std::find(page.begin(), page.end(), h.row), page.end()) << "not on the page";
        const workshop shop;
        furnish(shop, h.change);
        if (h.input == std::string("sparse"))
            write_sparse(shop);
        if (h.input == std::string("huge")) {
            shop.write("huge", "");
            std::filesystem::resize_file(shop.path("huge"), 0x80000000);
        }
        words arguments = h.options;
        arguments.emplace_back(h.input);
        const support::run_result run = shop.run(arguments, {.input = "x"});
        EXPECT_EQ(run.status, h.status) << run.err;
        EXPECT_EQ(shop.has("in.vlm"), h.status == 0 && h.options != words{"-o=in.out"});
        EXPECT_TRUE(says(run.err + run.out, h.row)) << run.err;
    }
    for (const std::string& row : page)
        EXPECT_TRUE(met.count(row) != 0 || faults_of_the_machine.count(row) != 0 ||
                    row.starts_with("ERROR: Unable to allocate"))
            << "nothing here makes this message: " << row;
}

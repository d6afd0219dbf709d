// What the class library is asked without what it needs for an answer: the run ends and says where.
#include <climits>

#include "coff_input.h"

namespace {

using support::coff_image;

TEST(CoffCallersFaults, WhatNeedsAFileHasNone) {
    COFF_FILE file(true);
    COFF_SECTION section;
    scnhdr header{};
    header.s_size = header.s_scnptr = header.s_nlnno = 1;
    EXPECT_ENDS(COFF_FILE::coff_init(nullptr, true), "COFF_FILE::read_headers: missing input file");
    EXPECT_ENDS((void)file.string(4), "COFF_FILE::string: missing input file");
    EXPECT_ENDS(file.symbol_table()->update_section_symbol(&section), "COFF_SECTION::symndx: ");
    EXPECT_ENDS(section.symndx(), "COFF_SECTION::symndx: ");
    EXPECT_ENDS(section.remap_relocs(), "COFF_SECTION::remap_relocs: ");
    EXPECT_ENDS(section.delete_symrel_relocs(1), "COFF_SECTION::delete_symrel_relocs: ");
    section.init_section(&header);
    EXPECT_ENDS(section.read_raw_data(), "COFF_SECTION::read_raw_data: missing input file");
    EXPECT_ENDS(section.read_lnnos(), "COFF_SECTION::read_lnnos: missing input file");
    section.set_name("longer than eight");
    EXPECT_ENDS(section.write_scn_hdr(stdout), "COFF_SECTION::write_scn_hdr: longer than eight: ");
    COFF_SYMBOL symbol;
    EXPECT_ENDS(symbol.read(&file, 0), "COFF_SYMBOL::read: missing input file");
    EXPECT_ENDS((void)symbol.symbol_table(), "COFF_SYMBOL::symbol_table: ");
    COFF_SYMBOL_TABLE table;
    EXPECT_ENDS(table.add_symbol(&symbol), "COFF_SYMBOL_TABLE::add_symbol: ");
}

TEST(CoffCallersFaults, NoNumberIsLeft) {
    coff_input input(coff_image{.sections = {{}}});
    for (int number = 2; number <= SHRT_MAX; ++number)
        input.file.add_section(new COFF_SECTION);
    EXPECT_ENDS(input.file.add_section(new COFF_SECTION), "COFF_FILE::add_section: no number is left for section");
}

}  // namespace

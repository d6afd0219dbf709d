// Section headers, contents, relocations and line numbers.
#include "coff_input.h"

namespace {

using namespace support;
using testing::ElementsAre;

MODFORGE_SUITE_IN_BOTH_ORDERS(CoffSectionInBothOrders);

// What is a symbol index, a pushed constant or single bytes follows from the type; so does the displacement: types
// without one keep its bytes as they lie in the file.
TEST_P(CoffSectionInBothOrders, RelocationsAreSwappedByType) {
    enum swaps { neither, symbol, both };
    for (const auto& [type, swap] : {std::pair{17, both},
                                     {0x4012, symbol},
                                     {0x400F, neither},
                                     {0x4016, neither},
                                     {0xC011, both},
                                     {0x5001, both},
                                     {0x4011, both}}) {
        const coff_reloc entry{.vaddr = 0x80000001, .type = static_cast<std::uint16_t>(type), .disp = 0x0506};
        built_image image = coff_image{.order = GetParam(), .sections = {{.relocs = {entry}}}}.build();
        coff_input input(image.patch(image.relocs[0], r_symndx, 0x01020304).data);
        const bool foreign = input.file.byte_swapped();
        EXPECT_THAT(relocs_of(input.section(1)),
                    ElementsAre(0x80000001, foreign && swap == neither ? 0x04030201 : 0x01020304,
                                foreign && swap != both ? 0x0605 : 0x0506, type));
    }
}

// No contents: uninitialised, empty, or without a pointer.
TEST(CoffSection, SectionsWithoutContents) {
    coff_image image;
    image.sections = {{.flags = 0x80, .contents = {1, 2}}, {.contents = {}}, {.size = 8, .scnptr = 0}};
    coff_input input(image);
    EXPECT_TRUE(input.section(1).is_bss());
    for (const int number : {1, 2, 3}) {
        unsigned char buffer[4];
        EXPECT_EQ(input.section(number).raw_data(), nullptr) << number;
        EXPECT_TRUE(input.section(number).eos()) << number;
        EXPECT_EQ(input.section(number).read(buffer, 4), 0U) << number;
    }
}

// Contents and lines are looked for only when they are asked for, and their size is checked in full before memory is
// taken.
TEST(CoffSection, WhatTheFileDoesNotHoldIsMissedWhenAskedFor) {
    const std::pair<std::uint32_t, std::uint8_t> sizes[] = {{5000, 8}, {0x40000001, 32}};
    for (const auto& [size, width] : sizes) {
        coff_image image{.sections = {{.contents = {1}, .mwidth = width, .size = size}}};
        coff_input input(image);
        EXPECT_ENDS(input.section(1).raw_data(), "run past the end of the file") << size;
    }
    coff_input input(coff_image{.sections = {{.contents = {1}, .lnnoptr = 0x70000000, .nlnno = 0x10000000}}});
    EXPECT_EQ(input.section(1).sh_nlnno(), 0x10000000U);
    EXPECT_ENDS(input.section(1).lnno(0), "line numbers of section");
    input.section(1).clear_lnnos();
    EXPECT_EQ(input.section(1).sh_nlnno() + input.section(1).sh_lnnoptr(), 0U);
}

// Read again, a section is as in the file: nothing stays that was changed, nothing is there twice.
TEST(CoffSection, IsReadAnew) {
    for (const std::uint32_t count : {2U, 70'000U}) {  // small enough to be read with the contents, and not
        coff_image image{
            .order = support::byte_order::big,
            .sections = {{.contents = {1, 2}, .relocs = std::vector<coff_reloc>(count), .lines = {{3, 4}}}}};
        image.sections[0].relocs.back().vaddr = 77;
        coff_input input(image);
        COFF_SECTION& section = input.section(1);
        section.UINT8_write(9);
        const_cast<lineno_slot*>(section.lnno(0))->entry.l_lnno = 9;
        static_cast<reloc*>(section.first_reloc()->data)->r_vaddr = 9;
        ASSERT_TRUE(section.read_scn());
        EXPECT_EQ(section.tell(), 0U);
        EXPECT_EQ(contents_of(section), (bytes{1, 2}));
        EXPECT_EQ(section.lnno(0)->entry.l_lnno, 4);
        EXPECT_EQ(section.sh_nreloc(), count);
        EXPECT_THAT((numbers{relocs_of(section)[0], relocs_of(section)[4 * (count - 1)]}), ElementsAre(0, 77));
    }
}

TEST(CoffSection, AllocatedContentsReplaceEverything) {
    coff_image image{.target_id = 0x98,
                     .sections = {{.contents = bytes(8), .relocs = {{.type = 17}}, .lines = {{1, 2}}}}};
    coff_input input(image);
    COFF_SECTION& section = input.section(1);
    ASSERT_NE(section.lnno(0), nullptr);
    section.set_lnnoptr(0x7000000);
    EXPECT_TRUE(section.lnnos_in_file());  // or in memory
    section.seek(8);
    section.alloc_raw_data(12);
    section.set_scnptr(0x7000000);
    EXPECT_TRUE(section.contents_in_file());
    EXPECT_EQ(section.tell(), 0U);
    EXPECT_THAT(header_of(section), ElementsAre(1, 16, 0, 0, 6, 0, 0, 0x20, 0));
    EXPECT_EQ(section.first_reloc(), nullptr);
    EXPECT_EQ(contents_of(section), bytes(12));
    section.set_mwidth(4);
    EXPECT_ENDS(section.alloc_raw_data(4), "COFF_SECTION::alloc_raw_data");
}

// Addresses of relocations are ordered as signed numbers.
TEST(CoffSection, FindsRelocationsByAddressAndType) {
    COFF_SECTION section;
    for (const auto& [address, type] : {std::pair{0x80000000U, 1}, {4U, 17}, {8U, 5}, {8U, 6}, {8U, 5}, {12U, 6}}) {
        reloc entry{};
        entry.r_vaddr = address;
        entry.r_type = static_cast<std::uint16_t>(type);
        section.add_reloc(&entry);
    }
    const auto place = [&](std::uint32_t address, std::uint16_t type) {
        int k = 0;
        for (const SLIST::NODE* node = section.find_reloc(address, type); node; node = node->mylist()->prev(node))
            ++k;
        return k;  // from 1; 0 for none
    };
    EXPECT_THAT((numbers{place(8, 0), place(8, 6), place(8, 17), place(9, 0), place(0x80000000, 0)}),
                ElementsAre(3, 4, 0, 0, 1));
    const auto* const low = static_cast<reloc*>(section.first_reloc()->data);
    const auto* const high = static_cast<reloc*>(section.find_reloc(4, 0)->data);
    EXPECT_THAT((numbers{COFF_SECTION::reloc_cmp(low, high), COFF_SECTION::reloc_cmp(high, low),
                         COFF_SECTION::reloc_cmp(low, low)}),
                ElementsAre(-1, 1, 0));
    section.find_reloc(8, 6)->set_data(nullptr);
    section.first_reloc()->set_data(nullptr);
    EXPECT_THAT((numbers{place(8, 0), place(8, 6), place(8, 5), place(4, 0), place(12, 6)}),
                ElementsAre(3, 0, 3, 2, 6));
}

// Two functions: lines of `first` begin at entry 0, those of `second` at entry 3.
coff_image with_lines() {
    coff_image image;
    image.sections = {{.size = 0}, {.paddr = 0x101, .contents = bytes(32)}};
    image.sections[1].lines = {{0x1000, 0}, {0x104, 2}, {0x108, 3}, {7, 0}, {0x110, 1}, {0x118, 5}};
    image.symbols = {{.name = "a.c", .sclass = 103, .aux = {aux_file("a.c")}},
                     {.name = "first", .value = 0x100, .type = 0x20, .aux = {aux_function(0, 16, 0, 6)}},
                     {.name = ".bf", .value = 0x100, .sclass = 101, .aux = {aux_bf(40, 2, 0x11223344, 24, 6)}},
                     {.name = "b.c", .sclass = 103},
                     {.name = "second", .value = 0x110, .type = 0x20, .aux = {aux_function(0, 18, 3, 11)}},
                     {.name = ".bf", .value = 0x10C, .sclass = 101, .aux = {aux_bf(70, 200, 0, 0, 11)}}};
    for (coff_symbol& symbol : image.symbols)
        symbol.scnum = 2;
    return image;
}

TEST_P(CoffSectionInBothOrders, LinesOfAFunctionAreItsCountAndOneMore) {
    coff_image image = with_lines();
    image.order = GetParam();
    coff_input input(image);
    SLIST list;
    input.symbol(2).func_lnnos(&list);
    input.symbol(7).func_lnnos(&list);
    input.section(2).lnno_list(&list, input.section(2).sh_lnnoptr() - 6, 1);  // of no function: nothing
    numbers lines;
    for (const lineno_slot* slot : items<lineno_slot>(list))
        lines.insert(lines.end(), {slot->entry.l_addr, slot->entry.l_lnno});
    // The 200 of the second one are clipped.
    EXPECT_THAT(lines, ElementsAre(0x1000, 0, 0x104, 2, 0x108, 3, 7, 0, 0x110, 1, 0x118, 5));
    EXPECT_EQ(input.section(2).lnno(6), nullptr);
}

TEST(CoffSection, SourcePositionOfAnAddress) {
    coff_input input(with_lines());
    COFF_DEBUG debug(&input.file);
    const std::pair<std::uint32_t, std::uint32_t> lines[] = {{0x101, 39}, {0x104, 41}, {0x107, 41},
                                                             {0x108, 42}, {0x110, 70}, {0x11F, 74}};
    for (const auto& [address, line] : lines) {
        const std::unique_ptr<PSN> position(debug.get_source_psn(address));
        ASSERT_NE(position, nullptr) << address;
        EXPECT_STREQ(position->file_name, address < 0x110 ? "a.c" : "b.c");
        EXPECT_EQ(position->line, line) << address;
    }
    EXPECT_STREQ(static_cast<COFF_DEBUG::FUNCTION*>(input.file.symbol_table()->functions().end()->data)->file, "b.c");
    EXPECT_EQ(debug.get_source_psn(0x100), nullptr);  // in a function, but not in the section
    EXPECT_EQ(debug.get_source_psn(0x121), nullptr);
}

TEST(CoffSection, SymbolOfASectionIsFoundOrMade) {
    coff_image image{.sections = {{.name = ".text", .paddr = 1, .vaddr = 0, .contents = bytes(8)},
                                  {.name = ".data", .vaddr = 64, .size = 0}}};
    image.symbols = {{.name = "static", .value = 64, .scnum = 2, .sclass = 3, .type = 4},
                     {.name = ".text", .value = 8, .scnum = 1, .sclass = 3},
                     {.name = ".text", .value = 0, .scnum = 1, .sclass = 3, .aux = {aux_section(8, 0, 0)}}};
    coff_input input(image);
    EXPECT_EQ(input.section(1).symndx(), 2U);
    EXPECT_EQ(input.section(2).symndx(), 4U);
    input.section(2).set_scnum(9);  // known by now, it is not looked for
    EXPECT_EQ(input.section(2).symndx(), 4U);
    EXPECT_EQ(input.file.fh_nsyms(), 6U);
    EXPECT_STREQ(input.symbol(4).name(), ".data");
    EXPECT_THAT(entry_of(input.symbol(4)), ElementsAre(64, 2, 0, 3, 1));
}

TEST(CoffSection, WithoutAFile) {
    COFF_SECTION section;
    EXPECT_EQ(section.wordsz(), 8);
    EXPECT_STREQ(section.name(), "");
    EXPECT_ENDS(section.read_scn(), "COFF_SECTION::read_scn: missing input file");
    EXPECT_FALSE(section.is_big_e());
    scnhdr header{};
    header.s_nreloc = 1;
    section.init_section(&header);
    EXPECT_EXIT(std::_Exit(section.relocs_in_file() ? 1 : 77), testing::ExitedWithCode(77), "no file: 1 relocations");
}

}  // namespace

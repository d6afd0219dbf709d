// Section headers, contents, relocations and line numbers.
#include <gmock/gmock.h>

#include "coff_input.h"

namespace {

using namespace support;
using testing::ElementsAre;
using testing::ExitedWithCode;

class CoffSectionInBothOrders : public testing::TestWithParam<byte_order> {};
INSTANTIATE_TEST_SUITE_P(Order, CoffSectionInBothOrders, testing::Values(byte_order::little, byte_order::big),
                         order_name);

TEST_P(CoffSectionInBothOrders, HeaderFieldsComeOutInHostOrder) {
    coff_image image{.order = GetParam(), .target_id = 0x98};
    image.sections = {{.name = "12345678",
                       .flags = 0x00031245,
                       .paddr = 0x81828384,
                       .vaddr = 0x01020304,
                       .contents = {1, 2, 3, 4, 5, 6},
                       .page = 0x0102}};
    coff_input input(image);
    COFF_SECTION& section = input.section(1);
    EXPECT_STREQ(section.name(), "12345678");
    EXPECT_EQ(section.sh_paddr(), 0x81828384U);
    EXPECT_EQ(section.sh_vaddr(), 0x01020304U);
    EXPECT_EQ(section.sh_flags(), 0x00031245U);
    EXPECT_EQ(section.sh_page(), 0x0102);
    EXPECT_EQ(section.wordsz(), 16);
    EXPECT_EQ(section.size_in_words(), 3U);
    EXPECT_EQ(section.size_in_bytes(), 6U);
    EXPECT_EQ(section.raw_data()[5], 6);
    EXPECT_EQ(section.scnum(), 1);
}

// The width byte is byte 44 as it lies in the file, in either order.
TEST_P(CoffSectionInBothOrders, WidthByteReplacesTheWidthOfTheTarget) {
    for (const std::uint8_t width : std::initializer_list<std::uint8_t>{8, 16, 32}) {
        coff_image image{.order = GetParam(), .sections = {{.contents = {1, 2, 3, 4}, .mwidth = width}}};
        coff_input input(image);
        EXPECT_EQ(input.section(1).sh_mwidth(), width);
        EXPECT_EQ(input.section(1).wordsz(), width);
        EXPECT_EQ(input.section(1).size_in_words(), 32U / width);
    }
}

TEST(CoffSection, WidthsOfTargets) {
    const std::pair<std::uint16_t, int> widths[] = {{0x93, 32}, {0x97, 8},  {0x98, 16}, {0x99, 8},
                                                    {0x9C, 8},  {0x9D, 16}, {0x9F, 8}};
    for (const auto& [target, width] : widths) {
        coff_input input(coff_image{.target_id = target, .sections = {{}}});
        EXPECT_EQ(input.section(1).wordsz(), width) << target;
    }
}

// What is a symbol index, a pushed constant or single bytes follows from the type; so does the displacement.
TEST_P(CoffSectionInBothOrders, RelocationsAreSwappedByType) {
    coff_image image{.order = GetParam(), .sections = {{.contents = bytes(64)}}};
    image.sections[0].relocs = {{.vaddr = 0x80000001, .type = 17, .symndx = 0x01020304, .disp = 0x0506},
                                {.vaddr = 2, .type = 0x4012, .symndx = 0x11121314, .disp = 0x0506},
                                {.vaddr = 3, .type = 0x400F, .disp = 0x0506, .descriptor = {{1, 2, 3, 4}}},
                                {.vaddr = 4, .type = 0x4016, .descriptor = {{5, 6, 7, 8}}},
                                {.vaddr = 5, .type = 0xC011, .symndx = 9, .disp = 0x0506},
                                {.vaddr = 6, .type = 0x5001, .symndx = 9, .disp = 0x0506},
                                {.vaddr = 7, .type = 0x4011, .symndx = 9, .disp = 0x0506}};
    coff_input input(image);
    ASSERT_EQ(input.section(1).sh_nreloc(), 7U);
    std::vector<reloc> list;
    for (const reloc* entry : items<reloc>(*input.section(1).get_reloc_list()))
        list.push_back(*entry);
    // Types without displacement keep its bytes as they lie in the file.
    const std::uint16_t untouched = GetParam() == byte_order::little ? 0x0506 : 0x0605;
    EXPECT_EQ(list[0].r_vaddr, 0x80000001U);
    EXPECT_EQ(list[0].r_symndx, 0x01020304U);
    EXPECT_EQ(list[0].r_disp, 0x0506);
    EXPECT_EQ(list[1].r_symndx, 0x11121314U);
    EXPECT_EQ(list[1].r_disp, untouched);
    EXPECT_EQ(list[2].r_type, 0x400F);
    EXPECT_EQ(list[2].r_field.r_offset, 1);
    EXPECT_EQ(list[2].r_field.r_fieldsz, 2);
    EXPECT_EQ(list[2].r_field.r_wordsz, 3);
    EXPECT_EQ(list[2].r_disp, untouched);
    EXPECT_EQ(list[3].r_field.r_wordsz, 7);
    for (const int k : {4, 5, 6})
        EXPECT_EQ(list[static_cast<std::size_t>(k)].r_disp, 0x0506) << k;
}

TEST(CoffSection, ContentsOfUninitialisedEmptyAndPointerlessSections) {
    coff_image image;
    image.sections = {{.flags = 0x80, .contents = {1, 2}}, {.contents = {}}, {.size = 8, .scnptr = 0}};
    coff_input input(image);
    for (const int number : {1, 2, 3}) {
        EXPECT_EQ(input.section(number).raw_data(), nullptr) << number;
        EXPECT_TRUE(input.section(number).eos()) << number;
        unsigned char buffer[4];
        EXPECT_EQ(input.section(number).read(buffer, 4), 0U) << number;
    }
}

// Contents are looked for only when they are asked for, and their size is checked in full before memory is taken.
TEST(CoffSection, ContentsThatTheFileDoesNotHold) {
    const std::pair<std::uint32_t, std::uint8_t> sizes[] = {
        {5000, 8}, {0x80000000, 8}, {0x40000001, 32}, {0xFFFFFFFF, 248}};
    for (const auto& [size, width] : sizes) {
        coff_image image{.sections = {{.contents = {1}, .mwidth = width, .size = size}}};
        coff_input input(image);
        EXPECT_EXIT(input.section(1).raw_data(), ExitedWithCode(1), "run past the end of the file") << size;
    }
}

TEST(CoffSection, AllocatedContentsReplaceEverything) {
    coff_image image{.target_id = 0x98,
                     .sections = {{.contents = bytes(8), .relocs = {{.type = 17}}, .lines = {{1, 2}}}}};
    coff_input input(image);
    COFF_SECTION& section = input.section(1);
    section.alloc_raw_data(12);
    EXPECT_EQ(section.size_in_words(), 6U);
    EXPECT_EQ(section.sh_nreloc(), 0U);
    EXPECT_EQ(section.sh_nlnno(), 0U);
    EXPECT_EQ(section.first_reloc(), nullptr);
    EXPECT_EQ(section.raw_data()[11], 0);
    section.set_mwidth(4);
    EXPECT_EXIT(section.alloc_raw_data(4), ExitedWithCode(1), "COFF_SECTION::alloc_raw_data");
}

TEST(CoffSection, FindsRelocationsByAddressAndType) {
    COFF_SECTION section;
    for (const auto& [address, type] : {std::pair{0x80000000U, 1}, {4U, 17}, {8U, 5}, {8U, 6}, {8U, 5}, {12U, 6}}) {
        reloc entry{};
        entry.r_vaddr = address;
        entry.r_type = static_cast<std::uint16_t>(type);
        section.add_reloc(&entry);
    }
    const auto place = [&](const SLIST::NODE* node) {
        int k = 0;
        for (; node; node = node->mylist()->prev(node))
            ++k;
        return k;  // from 1; 0 for none
    };
    EXPECT_EQ(section.sh_nreloc(), 6U);
    EXPECT_EQ(place(section.find_reloc(8, 0)), 3);
    EXPECT_EQ(place(section.find_reloc(8, 6)), 4);
    EXPECT_EQ(place(section.find_reloc(8, 17)), 0);
    EXPECT_EQ(place(section.find_reloc(9, 0)), 0);
    EXPECT_EQ(place(section.find_reloc(0x80000000, 0)), 1);
}

TEST(CoffSection, RelocationsAreOrderedByASignedAddress) {
    reloc low{}, high{};
    low.r_vaddr = 0x80000000;
    high.r_vaddr = 4;
    low.r_type = 9;
    EXPECT_EQ(COFF_SECTION::reloc_cmp(&low, &high), -1);
    EXPECT_EQ(COFF_SECTION::reloc_cmp(&high, &low), 1);
    high.r_vaddr = 0x80000000;
    EXPECT_EQ(COFF_SECTION::reloc_cmp(&low, &high), 0);
}

// Two functions: lines of `first` begin at entry 0, those of `second` at entry 3.
coff_image with_lines() {
    coff_image image;
    image.sections = {{.paddr = 0x100, .contents = bytes(32)}};
    image.sections[0].lines = {{1, 0}, {0x104, 2}, {0x108, 3}, {7, 0}, {0x110, 1}, {0x118, 5}};
    image.symbols = {{.name = "a.c", .sclass = 103, .aux = {aux_file("a.c")}},
                     {.name = "first", .value = 0x100, .type = 0x20, .aux = {aux_function(0, 16, 0, 6)}},
                     {.name = ".bf", .value = 0x100, .sclass = 101, .aux = {aux_bf(40, 2, 0x11223344, 24, 6)}},
                     {.name = "between", .value = 0},
                     {.name = "second", .value = 0x110, .type = 0x20, .aux = {aux_function(0, 16, 3, 11)}},
                     {.name = ".bf", .value = 0x10C, .sclass = 101, .aux = {aux_bf(70, 200, 0, 0, 11)}}};
    return image;
}

TEST_P(CoffSectionInBothOrders, LinesOfAFunctionAreItsCountAndOneMore) {
    coff_image image = with_lines();
    image.order = GetParam();
    coff_input input(image);
    SLIST first, second;
    input.symbol(2).func_lnnos(&first);
    input.symbol(7).func_lnnos(&second);
    std::vector<std::uint32_t> addresses;
    for (const lineno_slot* slot : items<lineno_slot>(first))
        addresses.push_back(slot->entry.l_addr);
    for (const lineno_slot* slot : items<lineno_slot>(second))
        addresses.push_back(slot->entry.l_lnno);
    EXPECT_THAT(addresses, ElementsAre(1U, 0x104U, 0x108U, 0U, 1U, 5U));  // the second one's 200 are clipped
    EXPECT_EQ(input.section(1).lnno(6), nullptr);
}

TEST(CoffSection, SourcePositionOfAnAddress) {
    coff_input input(with_lines());
    COFF_DEBUG debug(&input.file);
    const std::pair<std::uint32_t, std::uint32_t> lines[] = {
        {0x104, 41}, {0x107, 41}, {0x108, 42}, {0x110, 70}, {0x11F, 74}};
    for (const auto& [address, line] : lines) {
        const std::unique_ptr<PSN> position(debug.get_source_psn(address));
        ASSERT_NE(position, nullptr) << address;
        EXPECT_STREQ(position->file_name, "a.c");
        EXPECT_EQ(position->line, line) << address;
        EXPECT_EQ(position->extra, 0U);
    }
    EXPECT_EQ(debug.get_source_psn(0xFF), nullptr);
    EXPECT_EQ(debug.get_source_psn(0x120), nullptr);
}

// A run of the converter needs no line numbers, so a file that does not hold them reads like any other.
TEST(CoffSection, LineNumbersAreMissedOnlyWhenAskedFor) {
    coff_image image{.sections = {{.contents = {1}, .lnnoptr = 0x70000000, .nlnno = 0x10000000}}};
    coff_input input(image);
    EXPECT_EQ(input.section(1).sh_nlnno(), 0x10000000U);
    EXPECT_EXIT(input.section(1).lnno(0), ExitedWithCode(1), "line numbers of section");
    input.section(1).clear_lnnos();
    EXPECT_EQ(input.section(1).sh_nlnno(), 0U);
    EXPECT_EQ(input.section(1).sh_lnnoptr(), 0U);
}

TEST(CoffSection, SymbolOfASectionIsFoundOrMade) {
    coff_image image{.sections = {{.name = ".text", .contents = bytes(8)}, {.name = ".data", .vaddr = 64, .size = 0}}};
    image.symbols = {{.name = "static", .value = 64, .scnum = 2, .sclass = 3, .type = 4},
                     {.name = ".text", .value = 8, .scnum = 1, .sclass = 3},
                     {.name = ".text", .value = 0, .scnum = 1, .sclass = 3, .aux = {aux_section(8, 0, 0)}}};
    coff_input input(image);
    EXPECT_EQ(input.section(1).symndx(), 2U);
    EXPECT_EQ(input.section(2).symndx(), 4U);
    EXPECT_EQ(input.section(2).symndx(), 4U);
    EXPECT_EQ(input.file.fh_nsyms(), 6U);
    COFF_SYMBOL& made = input.symbol(4);
    EXPECT_STREQ(made.name(), ".data");
    EXPECT_EQ(made.value(), 64);
    EXPECT_EQ(made.scnum(), 2);
    EXPECT_TRUE(made.is_section_sym());
}

TEST(CoffSection, WithoutAFile) {
    COFF_SECTION section;
    EXPECT_EQ(section.wordsz(), 8);
    EXPECT_STREQ(section.name(), "");
    EXPECT_EXIT(section.read_scn(), ExitedWithCode(1), "COFF_SECTION::read_scn: missing input file");
    EXPECT_EXIT((void)section.is_big_e(), ExitedWithCode(1), "COFF_SECTION::is_big_e");
}

}  // namespace

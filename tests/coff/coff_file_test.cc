// Reading headers and strings, and what is refused.
#include <gmock/gmock.h>
#include <unistd.h>

#include "coff_input.h"
#include "support/run_program.h"

namespace {

using namespace support;
using testing::ExitedWithCode;

coff_image two_sections() {
    return {.sections = {{.name = ".text", .contents = {1, 2, 3, 4}}, {.name = "a_long_section_name", .paddr = 16}}};
}

class CoffFileInBothOrders : public testing::TestWithParam<byte_order> {};
INSTANTIATE_TEST_SUITE_P(Order, CoffFileInBothOrders, testing::Values(byte_order::little, byte_order::big), order_name);

// Every field has bytes of its own, so that a swapped, shifted or narrowed one shows.
TEST_P(CoffFileInBothOrders, HeadersComeOutInHostOrder) {
    coff_image image = two_sections();
    image.order = GetParam();
    image.flags = 0x1203;
    image.optional_header =
        coff_optional_header{0x0108, 0xFFFE, 0x01020304, 0x05060708, 0x090A0B0C, 0x80818283, 0x11121314, 0x15161718};
    const coff_input input(image);
    const COFF_FILE& file = input.file;
    EXPECT_EQ(file.fh_magic(), 0xC2);
    EXPECT_EQ(file.fh_nscns(), 2);
    EXPECT_EQ(file.fh_timdat(), 0x12345678U);
    EXPECT_EQ(file.fh_nsyms(), 0U);
    EXPECT_EQ(file.fh_opthdr(), 28);
    EXPECT_EQ(file.fh_flags(), 0x1203);
    EXPECT_EQ(file.fh_target_id(), 0x99);
    EXPECT_TRUE(file.is_big_e());
    EXPECT_EQ(file.ofh_magic(), 0x108);
    EXPECT_EQ(file.ofh_vstamp(), -2);
    EXPECT_EQ(file.ofh_tsize(), 0x01020304);
    EXPECT_EQ(file.ofh_dsize(), 0x05060708);
    EXPECT_EQ(file.ofh_bsize(), 0x090A0B0C);
    EXPECT_EQ(file.ofh_entrypt(), 0x80818283U);
    EXPECT_EQ(file.ofh_text_start(), 0x11121314);
    EXPECT_EQ(file.ofh_data_start(), 0x15161718);
}

TEST_P(CoffFileInBothOrders, PointersCountFromTheImageExceptTheSymbolTable) {
    coff_image image = two_sections();
    image.order = GetParam();
    image.start = 37;
    image.symbols = {{.name = "a_long_symbol_name", .value = 7}};
    image.sections[0].relocs = {{.vaddr = 2, .type = 17, .symndx = 0}};
    coff_input input(image);
    EXPECT_EQ(input.file.image_start(), 37);
    EXPECT_STREQ(input.section(2).name(), "a_long_section_name");
    EXPECT_STREQ(input.symbol(0).name(), "a_long_symbol_name");
    EXPECT_EQ(input.section(1).raw_data()[3], 4);
    EXPECT_EQ(static_cast<reloc*>(input.section(1).first_reloc()->data)->r_vaddr, 2U);
}

// An optional header of another size than 28 is neither read nor skipped, yet counts as present.
TEST(CoffFile, OptionalHeaderAccessorsWithoutOne) {
    coff_image image = two_sections();
    const coff_input none(image);
    image.opthdr = 20;
    const coff_input odd(image);
    EXPECT_EQ(none.file.ofh_entrypt(), 0xFFFFFFFFU);
    EXPECT_EQ(none.file.ofh_magic(), -1);
    EXPECT_EQ(none.file.ofh_data_start(), -1);
    EXPECT_EQ(odd.file.ofh_entrypt(), 0U);
    EXPECT_EQ(odd.file.ofh_magic(), 0);
    EXPECT_STREQ(odd.file.get_section(std::int16_t{1})->name(), ".text");
}

TEST(CoffFile, OptionalHeaderCutShortLeavesZeros) {
    coff_image image;
    image.optional_header = coff_optional_header{.magic = 0x108, .tsize = 5, .entrypt = 9};
    bytes data = image.data();
    data.resize(22 + 8);
    const coff_input input(data);
    EXPECT_EQ(input.file.ofh_magic(), 0x108);
    EXPECT_EQ(input.file.ofh_tsize(), 5);
    EXPECT_EQ(input.file.ofh_entrypt(), 0U);
}

TEST(CoffFile, SectionsByNumberAndName) {
    coff_image image = two_sections();
    image.sections.push_back({.name = ".debug_line"});
    image.sections.push_back({.name = ".text"});
    const coff_input input(image);
    const COFF_FILE& file = input.file;
    EXPECT_EQ(file.get_section(".text"), file.get_section(std::int16_t{1}));
    EXPECT_EQ(file.get_section("a_long_section_name")->scnum(), 2);
    EXPECT_EQ(file.get_section(".tex"), nullptr);
    for (const int number : {-32768, -1, 0, 5, 32767})
        EXPECT_EQ(file.get_section(static_cast<std::int16_t>(number)), nullptr) << number;
    EXPECT_TRUE(file.contains_dwarf_info());
    EXPECT_EQ(file.find_icode_sect(), nullptr);
}

TEST(CoffFile, NumbersOfASecondReadGoOn) {
    const memory_stream stream(two_sections().data());
    COFF_FILE file(true);
    ASSERT_EQ(file.read(stream.get(), false), 0);
    std::rewind(stream.get());
    ASSERT_EQ(file.read(stream.get(), false), 0);
    EXPECT_EQ(file.get_section(std::int16_t{1})->scnum(), 3);
}

// Counts of 0 make pointers meaningless: garbage beside them is not looked at.
TEST(CoffFile, NothingIsCheckedWhoseCountIsZero) {
    coff_image image{.symptr = 0xFFFFFFF0, .nsyms = 0, .string_table = false};
    image.sections = {
        {.name = ".bss", .flags = 0x80, .size = 64, .scnptr = 0xFFFFFFFF, .relptr = 0xFFFFFFFF, .lnnoptr = 0xFFFFFFFF}};
    coff_input input(image);
    EXPECT_EQ(input.section(1).raw_data(), nullptr);
    EXPECT_EQ(input.file.symbol_table()->first_sym(), nullptr);
}

TEST(CoffFile, OnlyHeadersWithCoffInit) {
    coff_image image = two_sections();
    image.sections[0].relptr = 0xFFFFFF00;
    image.sections[0].nreloc = 1000;
    const memory_stream stream(image.data());
    const std::unique_ptr<COFF_FILE> file(COFF_FILE::coff_init(stream.get(), true));
    ASSERT_NE(file, nullptr);
    EXPECT_STREQ(file->get_section(std::int16_t{2})->name(), "a_long_section_name");
    bytes cut = image.data();
    cut.resize(60);
    const memory_stream short_stream(cut);
    EXPECT_EQ(COFF_FILE::coff_init(short_stream.get(), true), nullptr);
}

TEST(CoffFile, SwappersExchangeInPlace) {
    std::uint16_t half = 0x1234;
    std::uint32_t word = 0x12345678;
    EXPECT_EQ(COFF_FILE::swap2(&half), 0x3412);
    EXPECT_EQ(COFF_FILE::swap4(&word), 0x78563412U);
    EXPECT_EQ(half, 0x3412);
    EXPECT_EQ(word, 0x78563412U);
}

TEST(CoffFile, FlagsAreSetAndCleared) {
    coff_input input(two_sections());
    EXPECT_EQ(input.file.fh_add_flags(0x8003), 0x9103);
    EXPECT_EQ(input.file.fh_del_flags(0x1001), 0x8102);
    EXPECT_EQ(input.file.fh_flags(), 0x8102);
}

// A table that breaks one thing each, with a word of its message.
struct refusal {
    const char* name;
    const char* message;
    void (*damage)(coff_image& image);
};

void PrintTo(const refusal& broken, std::ostream* out) {
    *out << broken.name;
}

class Refusals : public testing::TestWithParam<refusal> {};

TEST_P(Refusals, EndWithAMessageAndStatus1) {
    coff_image image = two_sections();
    image.symbols = {{.name = "a_long_symbol_name"}};
    GetParam().damage(image);
    EXPECT_EXIT(read_and_exit(image.data()), ExitedWithCode(1), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    CoffFile, Refusals,
    testing::Values(
        refusal{"version", "only supports COFF version 2", [](coff_image& i) { i.magic = 0xC1; }},
        refusal{"target", "^Invalid target type\n$", [](coff_image& i) { i.target_id = 0x94; }},
        refusal{"too_many_sections", "32768 sections", [](coff_image& i) { i.sections.assign(32768, {}); }},
        refusal{"relocs_outside", "relocations of section",
                [](coff_image& i) {
                    i.sections[0].relptr = 0;
                    i.sections[0].nreloc = 1000;
                }},
        refusal{"reloc_pointer_negative", "relocations of section",
                [](coff_image& i) {
                    i.sections[1].relptr = 0xFFFFFFF0;
                    i.sections[1].nreloc = 1;
                }},
        refusal{"symbols_outside", "failed to read symbol table", [](coff_image& i) { i.symptr = 0x7FFFFFF0; }},
        refusal{"symbol_pointer_negative", "failed to read symbol table", [](coff_image& i) { i.symptr = 0xFFFFFFFE; }},
        refusal{"no_strings", "string table", [](coff_image& i) { i.string_table = false; }},
        refusal{"strings_too_long", "runs past the end", [](coff_image& i) { i.string_table_length = 1000; }},
        refusal{"strings_below_4", "below 4", [](coff_image& i) { i.string_table_length = 3; }},
        refusal{"string_unterminated", "no string at offset", [](coff_image& i) { i.string_table_length = 30; }},
        refusal{"offset_in_length_word", "no string at offset 3", [](coff_image& i) { i.symbols[0].name_offset = 3; }},
        refusal{"offset_outside", "no string at offset 4000", [](coff_image& i) { i.symbols[0].name_offset = 4000; }}),
    [](const auto& broken) { return std::string(broken.param.name); });

// Names that need no table are read whatever the table looks like.
TEST(CoffFile, StringTableMattersOnlyToLongNames) {
    for (const std::uint32_t length : {0U, 3U, 4U, 0xFFFFFFFFU}) {
        coff_image image{.sections = {{.name = "12345678"}}, .symbols = {{.name = ""}, {.name = "abcdefgh"}}};
        image.string_table_length = length;
        coff_input input(image);
        EXPECT_STREQ(input.section(1).name(), "12345678");
        EXPECT_STREQ(input.symbol(0).name(), "");
        EXPECT_STREQ(input.symbol(1).name(), "abcdefgh");
    }
}

// A cut symbol table also cuts off the strings; what is said is the first of the two, even for a section's name.
TEST(CoffFile, CutSymbolTableIsReportedBeforeTheStrings) {
    coff_image image = two_sections();
    image.symbols = {{.name = "a_long_symbol_name"}, {.name = "main", .type = 0x20, .aux = {aux_function(0, 4, 0, 0)}}};
    const built_image built = image.build();
    bytes data = built.data;
    data.resize(built.symbols[1] + 18 + 17);
    EXPECT_EXIT(read_and_exit(data), ExitedWithCode(1), "failed to read auxiliary entry");
    data.resize(built.symbols[1] + 17);
    EXPECT_EXIT(read_and_exit(data), ExitedWithCode(1), "failed to read symbol table");
}

TEST(CoffFile, CutHeadersFailWithoutEndingTheRun) {
    const bytes whole = two_sections().data();
    for (const std::size_t size : {1U, 21U, 22U, 22U + 47U, 22U + 95U}) {
        bytes data(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EXIT(read_and_exit(data), ExitedWithCode(1), "Failed to read file and/or section headers") << size;
    }
}

TEST(CoffFile, TargetIdMattersUnlessAnyMayCome) {
    coff_image image;
    EXPECT_EXIT(read_and_exit(image.data(), false), ExitedWithCode(1),
                "the specified file is not a valid \\?\\?\\? COFF file");
    image.target_id = 0;
    EXPECT_EXIT(read_and_exit(image.data(), false), ExitedWithCode(0), "^$");
}

// 200 sections that share 12,000 relocations would take 28 MB from a file of 0.15 MB.
TEST(CoffFile, RelocationsStayInProportionToTheFile) {
    coff_image image;
    image.sections.assign(200, {.name = ".text", .nreloc = 12000});
    image.sections[0].relocs.assign(12000, {.type = 17});
    const std::uint32_t table = static_cast<std::uint32_t>(image.build().relocs[0]);
    for (coff_section& section : image.sections)
        section.relptr = table;
    EXPECT_EXIT(read_and_exit(image.data()), ExitedWithCode(1), "bytes of relocations in a file of");
}

[[noreturn]] void read_path_and_exit(const std::string& path) {
    COFF_FILE file(true);
    std::_Exit(file.read(path.c_str(), false) == 0 ? 0 : 1);
}

TEST(CoffFile, PathsThatCannotBeRead) {
    const temporary_directory directory;
    EXPECT_EXIT(read_path_and_exit(directory.file("none")), ExitedWithCode(1), "Cannot open input file '");
    EXPECT_EXIT(read_path_and_exit(directory.path()), ExitedWithCode(1), "cannot be read");
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_EXIT(read_path_and_exit("/dev/fd/" + std::to_string(ends[0])), ExitedWithCode(1), "in any order");
    close(ends[0]);
    close(ends[1]);
}

TEST(CoffFile, FileBeyondTheReachOfItsPointers) {
    const temporary_directory directory;
    const std::string path = directory.write("sparse.out", two_sections().data());
    ASSERT_EQ(truncate(path.c_str(), 0x7FFFFFFF), 0);
    EXPECT_EXIT(read_path_and_exit(path), ExitedWithCode(0), "^$");
    ASSERT_EQ(truncate(path.c_str(), 0x80000000), 0);
    EXPECT_EXIT(read_path_and_exit(path), ExitedWithCode(1), "too long");
}

TEST(CoffStrings, AddedOnesShareOffsetsAndGrowTheTableInSteps) {
    COFF_FILE file(true);
    EXPECT_EQ(file.add_string("first"), 4U);
    EXPECT_EQ(file.strtab_capacity(), 132U);
    EXPECT_EQ(file.add_string(std::string("fir").append("st").c_str()), 4U);
    EXPECT_EQ(file.strtab_size(), 10U);
    EXPECT_EQ(file.add_string(std::string(121, 'x').c_str()), 10U);
    EXPECT_EQ(file.strtab_capacity(), 132U);  // 4 + 6 + 122: full to the last byte
    EXPECT_EQ(file.add_string(std::string(300, 'y').c_str()), 132U);
    EXPECT_EQ(file.strtab_capacity(), 132U + 3 * 128U);
    EXPECT_STREQ(file.string(6), "rst");
}

TEST(CoffStrings, NamesThatWereReadSurviveAGrowingTable) {
    coff_input input(two_sections());
    const char* const name = input.section(2).name();
    const std::uint32_t size = input.file.strtab_size();
    EXPECT_EQ(input.file.add_string("a_long_section_name"), size);  // loaded strings are not looked through
    for (int k = 0; k < 1000; ++k)
        input.file.add_string(std::to_string(k).c_str());
    EXPECT_STREQ(name, "a_long_section_name");
}

}  // namespace

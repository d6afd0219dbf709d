// Reading headers and strings, and what is refused.
#include <set>

#include "coff_input.h"
#include "support/run_program.h"

namespace {

using namespace support;
using testing::ElementsAre;
using testing::ExitedWithCode;

coff_image two_sections() {
    return {.sections = {{.name = ".text", .contents = {1, 2, 3, 4}}, {.name = "a_long_section_name", .paddr = 16}}};
}

MODFORGE_SUITE_IN_BOTH_ORDERS(CoffFileInBothOrders);

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
    EXPECT_EQ(contents_of(input.section(1)), (bytes{1, 2, 3, 4}));
    EXPECT_THAT(relocs_of(input.section(1)), ElementsAre(2, 0, 0, 17));
}

// One that is cut short leaves zeros.
TEST(CoffFile, OddOptionalHeaders) {
    const coff_input none(two_sections());
    const coff_image whole{.optional_header = coff_optional_header{.magic = 0x108, .tsize = 5, .entrypt = 9}};
    bytes data = whole.data();
    data.resize(22 + 8);
    const coff_input cut(data);
    const auto optional = [](const coff_input& input) {
        const numbers all = header_of(input.file);
        return numbers(all.begin() + 7, all.end());
    };
    EXPECT_THAT(optional(none), ElementsAre(-1, -1, -1, -1, -1, 0xFFFFFFFF, -1, -1));
    EXPECT_THAT(optional(cut), ElementsAre(0x108, 0, 5, 0, 0, 0, 0, 0));
}

TEST(CoffFile, SectionsByNumberAndName) {
    coff_image image = two_sections();
    image.sections.push_back({.name = ".debug_line"});
    image.sections.push_back({.name = ".text"});
    const memory_stream stream(image.data());
    COFF_FILE file(true);
    ASSERT_EQ(file.read(stream.get(), false), 0);
    EXPECT_EQ(file.get_section(".text"), file.get_section(std::int16_t{1}));
    EXPECT_EQ(file.get_section("a_long_section_name")->scnum(), 2);
    EXPECT_EQ(file.get_section(".tex"), nullptr);
    for (const int number : {-32768, -1, 0, 5, 32767})
        EXPECT_EQ(file.get_section(static_cast<std::int16_t>(number)), nullptr) << number;
    EXPECT_TRUE(file.contains_dwarf_info());
    EXPECT_FALSE(coff_input(coff_image{.sections = {{.name = ".debugx"}}}).file.contains_dwarf_info());
    EXPECT_EQ(file.find_icode_sect(), nullptr);
}

// Of a second read stay the symbols of the first, and section numbers that go on. Streams of its own are closed. An
// optional header of another size than 28 is neither read nor skipped, yet counts as present.
TEST(CoffFile, IsReadAnew) {
    const temporary_directory directory;
    coff_image image = two_sections();
    image.optional_header = coff_optional_header{};
    image.symbols = {{.name = "f", .type = 0x20}};
    const std::string path = directory.write("1st.out", image.data());
    const memory_stream second(
        coff_image{.sections = {{.contents = bytes(40)}}, .symbols = image.symbols, .opthdr = 40}.data());
    std::set<int> descriptors;
    for (int k = 0; k < 3; ++k) {
        COFF_FILE file(true);
        ASSERT_EQ(file.read(path.c_str(), false), 0);
        descriptors.insert(fileno(file.stream()));
        std::rewind(second.get());
        ASSERT_EQ(file.read(second.get(), false), 0);
        EXPECT_EQ(file.get_section(std::int16_t{1})->scnum(), 3);
        EXPECT_EQ(file.get_section(std::int16_t{2}), nullptr);
        EXPECT_EQ(file.ofh_magic() + file.ofh_tsize() + file.ofh_text_start(), 0);
        EXPECT_EQ(file.symbol_table()->functions().size(), 2U);
        EXPECT_NE(file.symbol_table()->find_sym(1), nullptr);
    }
    EXPECT_EQ(descriptors.size(), 1U);
}

// coff_init() reads headers only; cut ones make it and every other way to read them fail without ending the run.
TEST(CoffFile, OnlyHeadersWithCoffInit) {
    coff_image image = two_sections();
    image.sections[0].relptr = 0xFFFFFF00;
    image.sections[0].nreloc = 1000;
    const bytes whole = image.data();
    const memory_stream stream(whole);
    const std::unique_ptr<COFF_FILE> file(COFF_FILE::coff_init(stream.get(), true));
    ASSERT_NE(file, nullptr);
    EXPECT_STREQ(file->get_section(std::int16_t{2})->name(), "a_long_section_name");
    EXPECT_ENDS(read_and_exit(whole), "run past the end of the file");
    for (const std::ptrdiff_t size : {1, 21, 22, 22 + 47, 22 + 95}) {
        const bytes data(whole.begin(), whole.begin() + size);
        const memory_stream cut(data);
        EXPECT_EQ(COFF_FILE::coff_init(cut.get(), true), nullptr) << size;
        EXPECT_ENDS(read_and_exit(data), "Failed to read file and/or section headers") << size;
    }
}

// The headers may be asked for one by one; a section whose header was not is an empty one.
TEST(CoffFile, HeadersStepByStep) {
    const memory_stream stream(coff_image{.sections = {{.name = "1st"}, {.name = "2nd"}, {.name = "3rd"}}}.data());
    COFF_FILE file(stream.get(), true), none(true);
    ASSERT_TRUE(file.read_file_hdr());
    EXPECT_ENDS((void)file.write("/dev/null"), "the headers have not been read");
    ASSERT_TRUE(file.read_section_hdr(2));
    EXPECT_STREQ(file.get_section(std::int16_t{3})->name(), "1st");
    EXPECT_EQ(file.find_icode_sect(), nullptr);
    file.clear_relocs();
    ASSERT_TRUE(file.read_section_hdr(1));
    EXPECT_STREQ(file.get_section(std::int16_t{2})->name(), "2nd");
    EXPECT_ENDS(file.read_section_hdr(3), "there is no section header 3");
    EXPECT_ENDS(none.read_file_hdr(), "COFF_FILE::read_file_hdr: missing input file");
    EXPECT_ENDS(none.read_section_hdr(0), "COFF_FILE::read_section_hdr: missing input file");
    EXPECT_ENDS((void)none.read(static_cast<std::FILE*>(nullptr), false), "missing input file");
    EXPECT_EQ(none.read("/", false), -1);
}

TEST(CoffFile, FlagsAndSwappersChangeInPlace) {
    coff_input input(two_sections());
    EXPECT_EQ(input.file.fh_add_flags(0x8003), 0x9103);
    EXPECT_EQ(input.file.fh_del_flags(0x1001), 0x8102);
    EXPECT_EQ(input.file.fh_flags(), 0x8102);
    std::uint16_t half = 0x1234;
    std::uint32_t word = 0x12345678;
    EXPECT_TRUE(COFF_FILE::swap2(&half) == 0x3412 && half == 0x3412);
    EXPECT_TRUE(COFF_FILE::swap4(&word) == 0x78563412 && word == 0x78563412);
}

TEST(CoffFile, TargetIdMattersUnlessAnyMayCome) {
    coff_image image;
    EXPECT_ENDS(read_and_exit(image.data(), false), "the specified file is not a valid \\?\\?\\? COFF file");
    image.target_id = 0;
    EXPECT_EXIT(read_and_exit(image.data(), false), ExitedWithCode(0), "^$");
}

TEST(CoffStrings, AddedOnesShareOffsetsAndGrowTheTableInSteps) {
    COFF_FILE file(true);
    EXPECT_EQ(file.add_string("first"), 4U);
    EXPECT_EQ(file.strtab_capacity(), 132U);
    EXPECT_EQ(file.add_string(std::string("fir").append("st").c_str()), 4U);
    EXPECT_EQ(file.add_string(std::string(121, 'x').c_str()), 10U);
    EXPECT_EQ(file.strtab_capacity(), 132U);  // 4 + 6 + 122: full to the last byte
    EXPECT_EQ(file.add_string(std::string(300, 'y').c_str()), 132U);
    EXPECT_EQ(file.strtab_capacity(), 132U + 3 * 128U);
    EXPECT_STREQ(file.string(6), "rst");
    file.fix_headers();
    EXPECT_EQ(file.add_string("other") + file.add_string("first"), 4U + 10U);
    EXPECT_STREQ(file.string(4), "other");
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

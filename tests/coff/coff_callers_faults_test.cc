// What the class library is asked without what it needs for an answer: the run ends and says where, or there is none.
#include <array>
#include <climits>
#include <filesystem>

#include "coff_input.h"
#include "msg/user_msg.h"
#include "support/run_program.h"

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

TEST(CoffCallersFaults, ContentsFromAFileThatGivesNone) {
    const support::temporary_directory room;
    const std::string large = room.write("large", support::bytes{});
    std::filesystem::resize_file(large, std::uintmax_t{5} << 30);  // without blocks on the disk
    COFF_SECTION section;
    for (const std::string& path : {std::string("/no/such/file"), large}) {
        const std::int32_t before = UMSG.get_error_count();
        section.read_data_image(path.c_str());
        EXPECT_EQ(UMSG.get_error_count(), before + 1) << path;
    }
}

TEST(CoffCallersFaults, NothingIsThere) {
    coff_image image{.sections = {{.contents = support::bytes(8), .relocs = {{.vaddr = 4, .type = 17}}}},
                     .symbols = {{.name = "_f", .type = 0x20, .aux = {support::aux_function(0, 8, 0, 0)}}}};
    coff_input input(image);
    COFF_SECTION& section = input.section(1);
    std::uint8_t byte = 1;
    section.seek(8);
    EXPECT_EQ(section.write(&byte, 1), 0U);
    EXPECT_EQ(section.read(&byte, 1), 0U);
    EXPECT_EQ(section.find_reloc(4, 16), nullptr);
    SLIST lines;
    section.lnno_list(&lines, 0, 1);
    EXPECT_EQ(lines.size(), 0U);
    COFF_SYMBOL& function = input.symbol(0);
    function = *&function;
    EXPECT_STREQ(function.name(), "_f");
    function.set_scnum(7);  // a section that is not there: the pointer stays
    const std::uint32_t pointer = function.func_lnnoptr();
    input.file.symbol_table()->update_func_lnno_ptrs();
    EXPECT_EQ(function.func_lnnoptr(), pointer);
}

/// Reads one symbol from a stream that stands before it, as read() wants it.
numbers symbol_read_alone(support::byte_order order) {
    const coff_image image{.order = order, .sections = {{}}, .symbols = {{.name = "_f", .value = 258, .scnum = 7}}};
    coff_input input(image);
    std::fseek(input.file.stream(), input.file.fh_symptr(), SEEK_SET);
    COFF_SYMBOL symbol;
    symbol.read(&input.file, 0);
    return entry_of(symbol);
}

TEST(CoffCallersFaults, ASymbolAlone) {
    for (const auto order : {support::byte_order::little, support::byte_order::big})
        EXPECT_EQ(symbol_read_alone(order), (numbers{258, 7, 0, 2, 0}));
    const support::bytes cut =
        coff_image{.symbols = {{.aux = {support::aux_file("a name of 18 bytes")}}}, .string_table = false}.data();
    coff_input input(cut);
    std::fseek(input.file.stream(), static_cast<long>(cut.size()) - 18, SEEK_SET);
    COFF_SYMBOL symbol;
    EXPECT_ENDS(symbol.read(&input.file, 0), "failed to read auxiliary entry");
    const char* text = nullptr;
    const std::array<unsigned char, 3> bytes{'a', 0, 'b'};
    EXPECT_EQ(COFF_SECTION::string_read(bytes.data(), &text), bytes.data() + 2);
    EXPECT_STREQ(text, "a");
}

// The listing of the strings is the first to ask for them in a file whose names are all short.
TEST(CoffCallersFaults, StringsThatNobodyAskedFor) {
    coff_input input(coff_image{.sections = {{}}, .symbols = {{.name = "_f", .long_name = false}}});
    EXPECT_TRUE(input.file.try_load_strings());
    EXPECT_TRUE(input.file.try_load_strings());
    COFF_FILE none(true);
    EXPECT_FALSE(none.try_load_strings());
}

// A section's symbol without an auxiliary entry takes the name alone; one that is gone takes nothing.
TEST(CoffCallersFaults, SymbolsOfSections) {
    coff_input input(
        coff_image{.sections = {{.name = "old"}}, .symbols = {{.name = "_f"}, {.name = "old", .sclass = 3}}});
    EXPECT_EQ(input.section(1).symndx(), 1U);
    input.section(1).set_name("new");
    input.file.symbol_table()->update_section_symbol(&input.section(1));
    EXPECT_EQ(names_of(input.file), (std::vector<std::string>{"_f", "new"}));
    input.file.symbol_table()->delete_symbol(&input.symbol(1));
    EXPECT_ENDS(input.file.symbol_table()->update_section_symbol(&input.section(1)),
                "update_section_symbol: section new");
}

TEST(CoffCallersFaults, NoNumberIsLeft) {
    coff_input input(coff_image{.sections = {{}}});
    for (int number = 2; number <= SHRT_MAX; ++number)
        input.file.add_section(new COFF_SECTION);
    EXPECT_ENDS(input.file.add_section(new COFF_SECTION), "COFF_FILE::add_section: no number is left for section");
}

}  // namespace

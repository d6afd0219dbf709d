// Changing files and writing them: what is written reads back as what was in memory.
#include <gmock/gmock.h>

#include <cstring>

#include "coff_input.h"
#include "msg/user_msg.h"
#include "support/run_program.h"

namespace {

using namespace support;
using testing::ElementsAre;
using testing::ExitedWithCode;

/// Three sections with all that can hang on them. Symbols: 0 file, 2 and 4 sections, 6 main, 8 and 10 its marks,
/// 12 tag, 14 member, 15 end of tag, 17 type, 18 counter in .data, 19 an undefined one, 20 in .last.
coff_image full_image(byte_order order) {
    coff_image image{.order = order, .target_id = 0x98, .flags = 0x1103};
    image.optional_header = coff_optional_header{.tsize = 64, .entrypt = 0x20, .data_start = 0x40};
    image.sections = {{.name = ".text", .flags = 0x20, .contents = bytes(64, 0xA5)},
                      {.name = ".data", .flags = 0x40, .paddr = 0x40, .contents = {1, 2, 3, 4}},
                      {.name = ".bss", .flags = 0x80, .paddr = 0x80, .size = 12},
                      {.name = "the_last_section", .flags = 0x40, .paddr = 0x90, .contents = {9, 8}}};
    image.sections[0].relocs = {
        {.vaddr = 2, .type = 17, .symndx = 18},         {.vaddr = 4, .type = 17, .symndx = 20},
        {.vaddr = 6, .type = 17, .symndx = 0xFFFFFFFF}, {.vaddr = 8, .type = 0x400F, .descriptor = {{1, 2, 3, 0}}},
        {.vaddr = 10, .type = 0x4012, .symndx = 20},    {.vaddr = 12, .type = 0xC011, .symndx = 6, .disp = 4}};
    image.sections[0].lines = {{6, 0}, {0x20, 1}, {0x22, 2}};
    image.sections[3].relocs = {{.vaddr = 0x90, .type = 17, .symndx = 18}};
    image.symbols = {{.name = "a.c", .scnum = -2, .sclass = 103, .aux = {aux_file("a.c")}},
                     {.name = ".text", .value = 0, .scnum = 1, .sclass = 3, .aux = {aux_section(32, 6, 3)}},
                     {.name = ".data", .value = 0x40, .scnum = 2, .sclass = 3, .aux = {aux_section(2, 0, 0)}},
                     {.name = "main", .value = 0x20, .scnum = 1, .type = 0x20, .aux = {aux_function(0, 8, 0, 12)}},
                     {.name = ".bf", .value = 0x20, .scnum = 1, .sclass = 101, .aux = {aux_bf(5, 2, 0, 0, 10)}},
                     {.name = ".ef", .value = 0x28, .scnum = 1, .sclass = 101, .aux = {aux_block(7, 12)}},
                     {.name = "tag_with_long_name", .scnum = -2, .sclass = 10, .aux = {aux_tag(4, 17)}},
                     {.name = "member", .scnum = -1, .sclass = 8, .type = 4},
                     {.name = ".eos", .value = 4, .scnum = -1, .sclass = 102, .aux = {aux_end_of_tag(12, 4)}},
                     {.name = "type", .scnum = -2, .sclass = 13, .type = 8},
                     {.name = "counter_with_long_name", .value = 0x40, .scnum = 2},
                     {.name = "elsewhere", .scnum = 0},
                     {.name = "tail", .value = 0x90, .scnum = 4}};
    return image;
}

bytes contents_of(COFF_SECTION& section) {
    unsigned char* const data = section.raw_data();
    return data ? bytes(data, data + section.size_in_bytes()) : bytes{};
}

void expect_equal_sections(COFF_SECTION& a, COFF_SECTION& b) {
    SCOPED_TRACE(a.name());
    EXPECT_STREQ(a.name(), b.name());
    EXPECT_EQ(a.scnum(), b.scnum());
    EXPECT_EQ(a.sh_paddr(), b.sh_paddr());
    EXPECT_EQ(a.sh_vaddr(), b.sh_vaddr());
    EXPECT_EQ(a.sh_flags(), b.sh_flags());
    EXPECT_EQ(a.sh_page(), b.sh_page());
    EXPECT_EQ(a.wordsz(), b.wordsz());
    EXPECT_EQ(contents_of(a), contents_of(b));
    ASSERT_EQ(a.sh_nreloc(), b.sh_nreloc());
    const SLIST::NODE* other = b.first_reloc();
    for (const reloc* entry : items<reloc>(*a.get_reloc_list())) {
        EXPECT_EQ(std::memcmp(entry, other->data, sizeof *entry), 0) << entry->r_vaddr;
        other = other->mylist()->next(other);
    }
    ASSERT_EQ(a.sh_nlnno(), b.sh_nlnno());
    for (std::uint32_t k = 0; k < a.sh_nlnno(); ++k)
        EXPECT_EQ(std::memcmp(&a.lnno(k)->entry, &b.lnno(k)->entry, sizeof(lineno)), 0) << k;
}

void expect_equal_symbols(COFF_FILE& a, COFF_FILE& b) {
    ASSERT_EQ(a.symbol_table()->n_syms(), b.symbol_table()->n_syms());
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(a.symbol_table()->symbols())) {
        SCOPED_TRACE(symbol->name());
        const SLIST::NODE* const node = b.symbol_table()->find_sym(symbol->coff_index());
        ASSERT_NE(node, nullptr);
        const auto* const other = static_cast<const COFF_SYMBOL*>(node->data);
        EXPECT_STREQ(symbol->name(), other->name());
        EXPECT_EQ(symbol->value(), other->value());
        EXPECT_EQ(symbol->scnum(), other->scnum());
        EXPECT_EQ(symbol->stype(), other->stype());
        EXPECT_EQ(symbol->sclass(), other->sclass());
        ASSERT_EQ(symbol->has_aux(), other->has_aux());
        EXPECT_EQ(symbol->lnno_index(), other->lnno_index());
        for (std::size_t k = 0; symbol->has_aux() && k < aux_size; ++k) {
            // The pointer of a function follows the table of its lines.
            if (symbol->form() == aux_form::function && k >= 8 && k <= 11)
                continue;
            EXPECT_EQ(symbol->aux()->bytes[k], other->aux()->bytes[k]) << k;
        }
    }
}

void expect_equal(COFF_FILE& a, COFF_FILE& b) {
    EXPECT_EQ(a.fh_flags(), b.fh_flags());
    EXPECT_EQ(a.fh_timdat(), b.fh_timdat());
    EXPECT_EQ(a.fh_target_id(), b.fh_target_id());
    EXPECT_EQ(a.ofh_entrypt(), b.ofh_entrypt());
    EXPECT_EQ(a.ofh_data_start(), b.ofh_data_start());
    ASSERT_EQ(a.fh_nscns(), b.fh_nscns());
    for (int k = 1; k <= a.fh_nscns(); ++k)
        expect_equal_sections(*a.get_section(static_cast<std::int16_t>(k)),
                              *b.get_section(static_cast<std::int16_t>(k)));
    expect_equal_symbols(a, b);
}

std::vector<std::string> names_of(COFF_FILE& file) {
    std::vector<std::string> names;
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(file.symbol_table()->symbols()))
        names.emplace_back(symbol->name());
    return names;
}

class CoffEditInBothOrders : public testing::TestWithParam<byte_order> {
protected:
    temporary_directory directory_;
    std::string path_ = directory_.file("written.out");
};
INSTANTIATE_TEST_SUITE_P(Order, CoffEditInBothOrders, testing::Values(byte_order::little, byte_order::big), order_name);

TEST_P(CoffEditInBothOrders, WhatIsWrittenReadsBackEqual) {
    const coff_image image = full_image(GetParam());
    coff_input input(image), original(image);
    ASSERT_EQ(input.file.write(path_.c_str()), 0);
    COFF_FILE written(true);
    ASSERT_EQ(written.read(path_.c_str(), false), 0);
    EXPECT_FALSE(written.byte_swapped());
    expect_equal(original.file, written);
}

// The parts of the written file lie back to back, as worked out here.
TEST_P(CoffEditInBothOrders, PartsAreLaidOutBackToBack) {
    coff_input input(full_image(GetParam()));
    ASSERT_EQ(input.file.write(path_.c_str()), 0);
    const std::uint32_t contents = 22 + 28 + 4 * 48;
    const std::uint32_t relocs = contents + 64 + 4 + 2;
    const std::uint32_t lines = relocs + 7 * 12;
    const std::uint32_t symbols = lines + 3 * 6;
    // Long names, in the order of writing: a section and two symbols.
    const std::size_t strings = 4 + sizeof "the_last_section" + sizeof "tag_with_long_name" +
                                sizeof "counter_with_long_name" + sizeof "elsewhere";
    EXPECT_EQ(read_file(path_).size(), symbols + 21 * 18 + strings);
    COFF_FILE written(true);
    ASSERT_EQ(written.read(path_.c_str(), false), 0);
    std::vector<std::uint32_t> pointers;
    for (std::int16_t k = 1; k <= 4; ++k) {
        const COFF_SECTION& section = *written.get_section(k);
        for (const std::uint32_t pointer : {section.sh_scnptr(), section.sh_relptr(), section.sh_lnnoptr()})
            pointers.push_back(pointer);
    }
    EXPECT_THAT(pointers, ElementsAre(contents, relocs, lines, contents + 64, 0U, 0U, 0U, 0U, 0U, contents + 68,
                                      relocs + 6 * 12, 0U));
    EXPECT_EQ(written.fh_symptr(), static_cast<std::int32_t>(symbols));
    EXPECT_STREQ(written.string(4), "the_last_section");
}

TEST_P(CoffEditInBothOrders, TheInputMayBeOverwritten) {
    const coff_image image = full_image(GetParam());
    coff_input original(image);
    directory_.write("written.out", image.data());
    {
        COFF_FILE file(true);
        ASSERT_EQ(file.read(path_.c_str(), false), 0);
        ASSERT_EQ(file.write(path_.c_str()), 0);
    }
    COFF_FILE written(true);
    ASSERT_EQ(written.read(path_.c_str(), false), 0);
    expect_equal(original.file, written);
}

// Section 2 goes with its symbols and the relocations to them; what is behind it moves up.
TEST_P(CoffEditInBothOrders, DeletingASection) {
    coff_input input(full_image(GetParam()));
    input.file.delete_section(&input.section(2));
    ASSERT_EQ(input.file.write(path_.c_str()), 0);
    COFF_FILE written(true);
    ASSERT_EQ(written.read(path_.c_str(), false), 0);
    ASSERT_EQ(written.fh_nscns(), 3);
    EXPECT_EQ(written.get_section(".bss")->scnum(), 2);
    COFF_SECTION& last = *written.get_section("the_last_section");
    EXPECT_EQ(last.scnum(), 3);
    EXPECT_EQ(contents_of(last), (bytes{9, 8}));
    EXPECT_EQ(last.sh_nreloc(), 0U);
    EXPECT_THAT(names_of(written), ElementsAre("a.c", ".text", "main", ".bf", ".ef", "tag_with_long_name", "member",
                                               ".eos", "type", "elsewhere", "tail"));
    EXPECT_EQ(written.fh_nsyms(), 18U);
    std::vector<std::uint32_t> symbols;
    for (const reloc* entry : items<reloc>(*written.get_section(".text")->get_reloc_list()))
        symbols.push_back(entry->r_symndx);
    // "tail" was 20 and is 17, "main" 4; a pushed constant is no symbol, whatever its value.
    ASSERT_EQ(symbols.size(), 5U);
    EXPECT_EQ(symbols[0], 17U);
    EXPECT_EQ(symbols[1], 0xFFFFFFFFU);
    EXPECT_EQ(symbols[3], 20U);
    EXPECT_EQ(symbols[4], 4U);
    EXPECT_EQ(static_cast<COFF_SYMBOL*>(written.symbol_table()->find_sym(17)->data)->scnum(), 3);
}

// The tag goes with its members, ".bf" with ".ef"; lines go, and relocations follow their symbols.
TEST_P(CoffEditInBothOrders, StrippingDebugSymbols) {
    coff_input input(full_image(GetParam()));
    input.file.remove_coff_debug();
    ASSERT_EQ(input.file.write(path_.c_str()), 0);
    COFF_FILE written(true);
    ASSERT_EQ(written.read(path_.c_str(), false), 0);
    EXPECT_THAT(names_of(written),
                ElementsAre("a.c", ".text", ".data", "main", "counter_with_long_name", "elsewhere", "tail"));
    EXPECT_EQ(written.fh_nsyms(), 11U);
    EXPECT_EQ(written.get_section(".text")->sh_nlnno(), 0U);
    EXPECT_EQ(static_cast<reloc*>(written.get_section(".text")->first_reloc()->data)->r_symndx, 8U);
}

TEST_P(CoffEditInBothOrders, AddingAnImageSection) {
    const std::string image = directory_.write("image", std::string_view("some icode"));
    coff_input input(full_image(GetParam()));
    input.file.add_icode(image.c_str());
    input.file.clear_relocs();
    EXPECT_EQ(input.file.find_icode_sect(), &input.section(5));
    ASSERT_EQ(input.file.write(path_.c_str()), 0);
    COFF_FILE written(true);
    ASSERT_EQ(written.read(path_.c_str(), false), 0);
    EXPECT_EQ(written.fh_flags(), 0x3103);
    ASSERT_EQ(written.fh_nscns(), 5);
    for (std::int16_t k = 1; k <= 4; ++k) {
        EXPECT_EQ(written.get_section(k)->sh_flags() & s_icode, s_icode) << k;
        EXPECT_EQ(written.get_section(k)->sh_nreloc(), 0U) << k;
    }
    const bytes whole = read_file(path_);
    const std::uint32_t at = written.find_icode_sect()->sh_scnptr();
    EXPECT_EQ(bytes(whole.begin() + at, whole.begin() + at + 10), to_bytes("some icode"));
    EXPECT_EQ(written.find_icode_sect()->sh_flags(), s_copy);
}

// Eight characters lie in the header, nine in the string table. Width 8 is written as 0, except for debug sections.
TEST_P(CoffEditInBothOrders, NamesAndWidthsInWrittenHeaders) {
    coff_image image{.order = GetParam()};
    image.sections = {{.name = "12345678", .mwidth = 8}, {.name = "123456789", .mwidth = 16}, {.name = ".debug_x"}};
    coff_input input(image);
    ASSERT_EQ(input.file.write(path_.c_str()), 0);
    const bytes data = read_file(path_);
    EXPECT_EQ(std::string(data.begin() + 22, data.begin() + 30), "12345678");
    EXPECT_EQ(data[22 + 44], 0);
    EXPECT_EQ(std::string(data.begin() + 70, data.begin() + 74), std::string(4, '\0'));
    EXPECT_EQ(data[70 + 44], 16);
    EXPECT_EQ(data[118 + 44], 8);
}

TEST(CoffEdit, SectionSymbolFollowsItsSection) {
    coff_input input(full_image(byte_order::big));
    COFF_SECTION& text = input.section(1);
    ASSERT_EQ(text.symndx(), 2U);
    text.set_name(".code");
    text.clear_relocs();
    input.file.symbol_table()->update_section_symbol(&text);
    const COFF_SYMBOL& symbol = input.symbol(2);
    EXPECT_STREQ(symbol.name(), ".code");
    EXPECT_EQ(symbol.aux()->word(0), 32U);
    EXPECT_EQ(symbol.aux()->half(4), 0);
    EXPECT_EQ(symbol.aux()->half(6), 3);
}

TEST(CoffEdit, DeletedSymbolsLeaveHolesUntilPurge) {
    coff_input input(full_image(byte_order::little));
    COFF_SYMBOL_TABLE& table = *input.file.symbol_table();
    SLIST functions;
    functions.merge(&table.functions());
    table.delete_symbol(&input.symbol(6));
    EXPECT_EQ(table.find_sym(6), nullptr);
    EXPECT_EQ(table.n_syms(), 19U);
    EXPECT_EQ(input.file.fh_nsyms(), 21U);
    EXPECT_STREQ(static_cast<COFF_DEBUG::FUNCTION*>(functions.begin()->data)->name, "main");
    table.purge();
    EXPECT_EQ(input.file.fh_nsyms(), 19U);
    EXPECT_EQ(table.new_index(8), 6U);
    EXPECT_EQ(table.new_index(20), 18U);
    EXPECT_EXIT((void)table.new_index(6), ExitedWithCode(1), "COFF_SYMBOL_TABLE::new_index");
}

// The first symbol of a run goes whatever its index of the first entry behind says.
TEST(CoffEdit, StrippingEndsOnDamagedIndices) {
    for (const std::uint32_t next : {0U, 1U, 0xFFFFFFFFU}) {
        coff_image image{
            .symbols = {{.name = "keep"}, {.name = "tag", .sclass = 10, .aux = {aux_tag(4, next)}}, {.name = "after"}}};
        coff_input input(image);
        input.file.remove_coff_debug();
        EXPECT_EQ(input.file.fh_nsyms(), next == 0xFFFFFFFFU ? 1U : 2U) << next;
    }
}

// A symbol added through the file is counted twice, so a write needs the count set first.
TEST(CoffEdit, AddedSymbolIsCountedTwice) {
    const temporary_directory directory;
    const std::string path = directory.file("out");
    coff_input input(full_image(byte_order::little));
    EXPECT_EQ(input.file.add_symbol(input.symbol(18).copy()), 21U);
    EXPECT_EQ(input.file.fh_nsyms(), 23U);
    EXPECT_EXIT((void)input.file.write(path.c_str()), ExitedWithCode(1), "COFF_FILE::write: symbol count mismatch");
    input.file.fh_set_nsyms(22);
    EXPECT_EQ(input.file.write(path.c_str()), 0);
    EXPECT_EXIT((void)input.file.add_symbol(&input.symbol(18)), ExitedWithCode(1), "belongs to a table already");
}

TEST(CoffEdit, ContentsAreWrittenOnce) {
    const temporary_directory directory;
    coff_input input(full_image(byte_order::little));
    ASSERT_EQ(input.file.write(directory.file("out").c_str()), 0);
    EXPECT_EXIT((void)input.section(1).raw_data(), ExitedWithCode(1), "Cannot read or modify raw data");
}

[[noreturn]] void write_after_error(COFF_FILE& file, const std::string& path) {
    UMSG.message(USER_MSG::ERROR, "an error");
    const std::int32_t result = file.write(path.c_str());
    COFF_FILE written(true);
    std::_Exit(result == 1 && written.read(path.c_str(), false) == 0 && written.fh_flags() == 0x1101 ? 77 : 1);
}

TEST(CoffEdit, AfterAnErrorNothingIsExecutable) {
    const temporary_directory directory;
    coff_input input(full_image(byte_order::little));
    EXPECT_EXIT(write_after_error(input.file, directory.file("out")), ExitedWithCode(77), "an error");
}

TEST(CoffEdit, FailuresToWrite) {
    const temporary_directory directory;
    coff_input input(full_image(byte_order::little));
    const std::string nowhere = directory.file("none/out");
    EXPECT_EXIT(std::_Exit(input.file.write(nowhere.c_str()) == -1 ? 77 : 1), ExitedWithCode(77),
                "Cannot open output file");
    EXPECT_EXIT(
        {
            std::FILE* const full = std::fopen("/dev/full", "wb");
            std::setbuf(full, nullptr);
            input.symbol(0).write(full);
        },
        ExitedWithCode(1), "failed to write symbol table");
    std::FILE* const elsewhere = std::tmpfile();
    EXPECT_EXIT(input.section(1).write_raw_data(elsewhere), ExitedWithCode(1), "doesn't");
    input.section(1).get_reloc_list()->remove_last();
    EXPECT_EXIT(input.section(1).write_relocs(elsewhere), ExitedWithCode(1), "COFF_SECTION::write_relocs");
    std::fclose(elsewhere);
    COFF_SECTION foreign;
    EXPECT_EXIT(input.file.delete_section(&foreign), ExitedWithCode(1), "COFF_FILE::delete_section");
}

}  // namespace

// Changing files and writing them: what is written reads back as what was in memory.
#include <filesystem>

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
    image.sections = {{.name = ".text", .flags = 0x20, .contents = bytes(300'000, 0xA5)},
                      {.name = ".data", .flags = 0x40, .paddr = 0x40, .contents = {1, 2, 3, 4}},
                      {.name = ".bss", .flags = 0x80, .paddr = 0x80, .size = 12},
                      {.name = "the_last_section", .flags = 0x40, .paddr = 0x90, .contents = {9, 8}}};
    image.sections[0].relocs = {
        {.vaddr = 2, .type = 17, .symndx = 18},         {.vaddr = 4, .type = 17, .symndx = 20},
        {.vaddr = 6, .type = 17, .symndx = 0xFFFFFFFF}, {.vaddr = 8, .type = 0x400F, .descriptor = {{1, 2, 3, 0}}},
        {.vaddr = 10, .type = 0x4012, .symndx = 20},    {.vaddr = 12, .type = 0xC011, .symndx = 6, .disp = 4}};
    image.sections[0].lines = {{0x10, 7}, {6, 0}, {0x20, 1}, {0x22, 2}};
    image.sections[3].relocs = {{.vaddr = 0x90, .type = 17, .symndx = 18}};
    image.symbols = {{.name = "a.c", .scnum = -2, .sclass = 103, .aux = {aux_file("a.c")}},
                     {.name = ".text", .value = 0, .scnum = 1, .sclass = 3, .aux = {aux_section(32, 6, 3)}},
                     {.name = ".data", .value = 0x40, .scnum = 2, .sclass = 3, .aux = {aux_section(2, 0, 0)}},
                     {.name = "main", .value = 0x20, .scnum = 1, .type = 0x20, .aux = {aux_function(0, 8, 1, 12)}},
                     {.name = ".bf", .value = 0x20, .scnum = 1, .sclass = 101, .aux = {aux_bf(5, 2, 0, 0, 10)}},
                     {.name = ".ef", .value = 0x28, .scnum = 1, .sclass = 101, .aux = {aux_block(7, 12)}},
                     {.name = "tag_with_long_name", .scnum = -2, .sclass = 10, .aux = {aux_tag(4, 17)}},
                     {.name = "member", .scnum = -1, .sclass = 8, .type = 4},
                     {.name = ".eos", .value = 4, .scnum = -1, .sclass = 102, .aux = {aux_end_of_tag(12, 4)}},
                     {.name = "type", .scnum = -2, .sclass = 13, .type = 8},
                     {.name = "counter_with_long_name", .value = 0x40, .scnum = 2},
                     {.name = "elsewhere", .scnum = 0},
                     {.name = "tail", .value = 0x90, .scnum = 4, .long_name = true}};
    return image;
}

/// A part of a file: what it is called and all that its accessors tell.
using part = std::pair<std::string, numbers>;

part symbol_part(const COFF_SYMBOL& symbol) {
    part all{symbol.name(), entry_of(symbol)};
    all.second.insert(all.second.end(),
                      {symbol.coff_index(), symbol.lnno_index(), symbol.size(), symbol.is_function()});
    for (std::size_t k = 0; symbol.has_aux() && k < aux_size; ++k) {
        // The pointer of a function follows the table of its lines.
        if (symbol.form() != aux_form::function || k < aux_lnnoptr || k >= aux_lnnoptr + 4)
            all.second.push_back(symbol.aux()->bytes[k]);
    }
    return all;
}

/// Everything in a file but for the places of its parts.
std::vector<part> parts_of(COFF_FILE& file) {
    std::vector<part> all{{"file", header_of(file)}};
    for (std::int16_t k = 1; COFF_SECTION* const section = file.get_section(k); ++k) {
        const bytes contents = contents_of(*section);
        all.emplace_back(section->name(), header_of(*section));
        all.emplace_back("contents", numbers(contents.begin(), contents.end()));
        all.emplace_back("relocations", relocs_of(*section));
        all.push_back({"lines", {}});
        for (std::uint32_t line = 0; line < section->sh_nlnno(); ++line)
            all.back().second.insert(all.back().second.end(),
                                     {section->lnno(line)->entry.l_addr, section->lnno(line)->entry.l_lnno});
    }
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(file.symbol_table()->symbols()))
        all.push_back(symbol_part(*symbol));
    return all;
}

/// Somewhere to write to, and what was written, read again.
class written_file {
public:
    COFF_FILE& write(COFF_FILE& file) {
        EXPECT_EQ(file.write(path.c_str()), 0);
        again_ = std::make_unique<COFF_FILE>(true);
        EXPECT_EQ(again_->read(path.c_str(), false), 0);
        EXPECT_FALSE(again_->byte_swapped());
        return *again_;
    }
    temporary_directory directory;
    std::string path = directory.file("written.out");

private:
    std::unique_ptr<COFF_FILE> again_;
};

/// Writes what was read, twice: both times it is all there, and the second time nothing changes. Removes the section
/// named `deleted`, if any, and debugging symbols on the way.
void expect_round_trips(const bytes& data, const char* deleted) {
    coff_input input(data), original(data);
    for (COFF_FILE* file : {&input.file, &original.file}) {
        if (deleted) {
            file->remove_coff_debug();
            file->delete_section(file->get_section(deleted));
        }
    }
    original.file.fix_headers();  // nothing is looked for at its new place
    written_file first, second;
    COFF_FILE& once = first.write(input.file);
    EXPECT_THAT(parts_of(once), testing::ElementsAreArray(parts_of(original.file)));
    second.write(once);
    EXPECT_TRUE(read_file(first.path) == read_file(second.path));
}

MODFORGE_SUITE_IN_BOTH_ORDERS(CoffEditInBothOrders);

TEST_P(CoffEditInBothOrders, WhatIsWrittenReadsBackEqual) {
    expect_round_trips(full_image(GetParam()).data(), nullptr);
    expect_round_trips(full_image(GetParam()).data(), ".data");
}

TEST(CoffEdit, SamplesAreWrittenBackEqual) {
    for (const std::string name : {"sensor", "audio", "firmware"}) {
        SCOPED_TRACE(name);
        const bytes data = read_file(MODFORGE_SAMPLES "/" + name + ".out");
        expect_round_trips(data, nullptr);
        expect_round_trips(data, ".text");
    }
}

// The parts of the written file lie back to back, as worked out here. The input may be overwritten.
TEST_P(CoffEditInBothOrders, PartsAreLaidOutBackToBack) {
    written_file output;
    output.directory.write("written.out", full_image(GetParam()).data());
    COFF_FILE file(true);
    ASSERT_EQ(file.read(output.path.c_str(), false), 0);
    COFF_FILE& written = output.write(file);
    const std::uint32_t contents = 22 + 28 + 4 * 48;
    const std::uint32_t relocs = contents + 300'000 + 4 + 2;
    const std::uint32_t lines = relocs + 7 * 12;
    const std::uint32_t symbols = lines + 4 * 6;
    // Long names, in the order of writing: a section and three symbols.
    const std::size_t strings = 4 + sizeof "the_last_section" + sizeof "tag_with_long_name" +
                                sizeof "counter_with_long_name" + sizeof "elsewhere";
    EXPECT_EQ(read_file(output.path).size(), symbols + 21 * 18 + strings);
    numbers pointers{written.fh_symptr()};
    for (std::int16_t k = 1; k <= 4; ++k) {
        const COFF_SECTION& section = *written.get_section(k);
        pointers.insert(pointers.end(), {section.sh_scnptr(), section.sh_relptr(), section.sh_lnnoptr()});
    }
    EXPECT_THAT(pointers, ElementsAre(symbols, contents, relocs, lines, contents + 300'000, 0, 0, 0, 0, 0,
                                      contents + 300'004, relocs + 6 * 12, 0));
    EXPECT_STREQ(written.string(4), "the_last_section");
    EXPECT_EQ(static_cast<COFF_SYMBOL*>(written.symbol_table()->find_sym(6)->data)->func_lnnoptr(), lines + 6);
}

// Section 2 goes with its symbols and the relocations to them; what is behind it moves up. "tail" was 20 and is 17,
// "main" 4; a pushed constant is no symbol, whatever its value.
TEST_P(CoffEditInBothOrders, DeletingASection) {
    coff_input input(full_image(GetParam()));
    input.file.delete_section(&input.section(2));
    written_file output;
    COFF_FILE& written = output.write(input.file);
    EXPECT_EQ(written.get_section(".bss")->scnum(), 2);
    COFF_SECTION& last = *written.get_section("the_last_section");
    EXPECT_THAT(header_of(last), ElementsAre(3, 16, 0x90, 0x90, 1, 0, 0, 0x40, 0));
    EXPECT_EQ(contents_of(last), (bytes{9, 8}));
    EXPECT_THAT(names_of(written), ElementsAre("a.c", ".text", "main", ".bf", ".ef", "tag_with_long_name", "member",
                                               ".eos", "type", "elsewhere", "tail"));
    const numbers relocs = relocs_of(*written.get_section(".text"));
    ASSERT_EQ(relocs.size(), 5U * 4);
    EXPECT_THAT((numbers{relocs[1], relocs[5], relocs[13], relocs[17]}), ElementsAre(17, 0xFFFFFFFF, 20, 4));
    EXPECT_EQ(static_cast<COFF_SYMBOL*>(written.symbol_table()->find_sym(17)->data)->scnum(), 3);
    coff_input next_door(full_image(GetParam()));
    next_door.file.delete_section(&next_door.section(3));
    EXPECT_EQ(next_door.symbol(20).scnum(), 3);
}

TEST(CoffEdit, RelocationsWithoutASymbolStay) {
    coff_image image = full_image(byte_order::little);
    image.sections[0].relocs.push_back({.vaddr = 14, .type = 17, .symndx = 4000});
    coff_input input(image);
    input.section(1).delete_symrel_relocs(2);
    EXPECT_EQ(input.section(1).sh_nreloc(), 6U);
    EXPECT_EQ(input.section(1).get_reloc_list()->size(), 6U);
    input.file.symbol_table()->purge();
    EXPECT_ENDS(input.section(1).remap_relocs(), "no symbol had the index 4000");
}

// The tag goes with its members, ".bf" with ".ef"; lines go, and relocations follow their symbols.
TEST_P(CoffEditInBothOrders, StrippingDebugSymbols) {
    coff_input input(full_image(GetParam()));
    EXPECT_EQ(input.section(4).symndx(), 21U);                    // it is made
    input.file.symbol_table()->delete_symbol(&input.symbol(14));  // a hole in a run
    input.file.remove_coff_debug();
    EXPECT_THAT(names_of(input.file), ElementsAre("a.c", ".text", ".data", "main", "counter_with_long_name",
                                                  "elsewhere", "tail", "the_last_section"));
    EXPECT_EQ(input.file.fh_nsyms(), 13U);
    EXPECT_EQ(input.section(4).symndx(), 11U);
    EXPECT_EQ(input.section(1).sh_nlnno(), 0U);
    EXPECT_EQ(relocs_of(input.section(1))[1], 8);
}

TEST_P(CoffEditInBothOrders, AddingSections) {
    written_file output;
    const std::string image = output.directory.write("image", std::string_view("some icode"));
    coff_input input(full_image(GetParam()));
    input.file.add_icode(image.c_str());
    input.file.clear_relocs();
    ASSERT_NE(input.section(2).raw_data(), nullptr);
    input.section(2).add_flag(s_bss);  // its contents do not count any more, whatever their size
    input.section(2).set_mwidth(32);
    auto* const added = new COFF_SECTION;
    added->set_cfile(&input.file);
    added->set_mwidth(16);
    scnhdr header{};
    header.s_name[0] = 'x';
    header.s_paddr = 7;
    header.s_flags = s_data | s_copy;
    added->init_section(&header);
    added->alloc_raw_data(4);
    added->UINT16_write(0x0102);
    added->del_flag(s_copy);
    input.file.add_section(added);
    EXPECT_ENDS(input.file.add_section(added), "COFF_FILE::add_section");
    COFF_FILE& written = output.write(input.file);
    EXPECT_EQ(written.fh_flags(), 0x3103);
    ASSERT_EQ(written.fh_nscns(), 6);
    for (std::int16_t k = 1; k <= 4; ++k) {
        EXPECT_EQ(written.get_section(k)->sh_flags() & s_icode, s_icode) << k;
        EXPECT_EQ(written.get_section(k)->sh_nreloc(), 0U) << k;
    }
    EXPECT_EQ(written.get_section(std::int16_t{1})->lnno(2)->entry.l_addr, 0x20U);
    COFF_SECTION& icode = *written.find_icode_sect();
    EXPECT_THAT(header_of(icode), ElementsAre(5, 16, 0, 0, 10, 0, 0, s_copy, 0));
    bytes contents = contents_of(icode);  // read in the units of the target, since width 8 is written as 0
    contents.resize(10);
    EXPECT_EQ(contents, to_bytes("some icode"));
    EXPECT_THAT(header_of(*written.get_section("x")), ElementsAre(6, 16, 7, 0, 2, 0, 0, s_data, 0));
    EXPECT_EQ(contents_of(*written.get_section("x")), (bytes{2, 1, 0, 0}));
}

// Eight characters lie in the header, nine in the string table. Width 8 is written as 0, except for debug sections.
TEST_P(CoffEditInBothOrders, NamesAndWidthsInWrittenHeaders) {
    coff_image image{.order = GetParam()};
    image.sections = {
        {.name = "12345678", .mwidth = 8}, {.name = "123456789", .mwidth = 16}, {.name = ".debug_x"}, {.mwidth = 4}};
    image.symbols = {{.name = "s"}};
    coff_input input(image);
    written_file output;
    output.write(input.file);
    const bytes data = read_file(output.path);
    EXPECT_EQ(std::string(data.begin() + 22, data.begin() + 30), "12345678");
    EXPECT_EQ(std::string(data.begin() + 70, data.begin() + 74), std::string(4, '\0'));
    EXPECT_THAT((bytes{data[22 + 44], data[70 + 44], data[118 + 44], data[166 + 44]}), ElementsAre(0, 16, 8, 4));
}

TEST(CoffEdit, SectionSymbolFollowsItsSection) {
    coff_input input(full_image(byte_order::big));
    COFF_SECTION& text = input.section(1);
    ASSERT_EQ(text.symndx(), 2U);
    text.set_name(".code_with_a_long_name");
    text.clear_relocs();
    input.file.symbol_table()->update_section_symbol(&text);
    const COFF_SYMBOL& symbol = input.symbol(2);
    written_file output;
    EXPECT_EQ(names_of(output.write(input.file))[1], ".code_with_a_long_name");
    EXPECT_THAT((numbers{symbol.aux()->word(0), symbol.aux()->half(4), symbol.aux()->half(6)}),
                ElementsAre(150'000, 0, 4));
}

TEST(CoffEdit, DeletedSymbolsLeaveHolesUntilPurge) {
    coff_input input(full_image(byte_order::little));
    COFF_SYMBOL_TABLE& table = *input.file.symbol_table();
    table.delete_symbol(&input.symbol(6));
    EXPECT_EQ(table.find_sym(6), nullptr);
    EXPECT_EQ(table.n_syms(), 19U);
    EXPECT_EQ(input.file.fh_nsyms(), 21U);
    EXPECT_STREQ((*items<COFF_DEBUG::FUNCTION>(table.functions()).begin())->name, "main");
    table.purge();
    EXPECT_EQ(input.file.fh_nsyms(), 19U);
    EXPECT_EQ(table.new_index(8), 6U);
    EXPECT_EQ(table.new_index(20), 18U);
    EXPECT_ENDS((void)table.new_index(6), "COFF_SYMBOL_TABLE::new_index");
    table.delete_symbol(&input.symbol(0));
    table.purge();
    EXPECT_EQ(table.new_index(18), 16U);
    EXPECT_ENDS((void)table.new_index(20), "COFF_SYMBOL_TABLE::new_index");  // an index before the first purge
    EXPECT_EQ(table.symbols().size(), 11U);
    EXPECT_EQ(table.add_symbol(input.symbol(4).copy()), 17U);
}

// Added, found and deleted one after the other in time that grows with their number only: a blink, or minutes.
TEST(CoffEdit, ManySymbolsAreAddedAndDeletedInOnePass) {
    coff_input input(coff_image{.symbols = {{.name = "s"}}});
    COFF_SYMBOL_TABLE& table = *input.file.symbol_table();
    for (std::uint32_t index = 1; index < 100'000; ++index)
        ASSERT_EQ(input.symbol(table.add_symbol(input.symbol(0).copy())).coff_index(), index);
    for (std::uint32_t index = 0; index < 100'000; index += index == 70'000 ? 2 : 1)
        table.delete_symbol(&input.symbol(index));
    table.delete_symbol(nullptr);
    EXPECT_EQ(table.n_syms(), 1U);
    table.purge();
    EXPECT_EQ(table.new_index(70'001), 0U);
    EXPECT_STREQ(input.symbol(0).name(), "s");
    EXPECT_EQ(table.find_sym(70'001), nullptr);
    const std::unique_ptr<COFF_SYMBOL> copy(input.symbol(0).copy());
    table.reset();
    EXPECT_EQ(table.find_sym(0), nullptr);
    EXPECT_EQ(table.add_symbol(copy->copy()), 0U);
}

// What is added belongs to its new file: it needs nothing of the old one any more, and gives it nothing.
TEST(CoffEdit, WhatChangesHandsOutlivesItsOldFile) {
    coff_input target(full_image(byte_order::little));
    {
        coff_input old(
            coff_image{.target_id = 0x98,
                       .sections = {{.name = "section_elsewhere", .contents = {7, 8}, .lines = {{9, 9}, {3, 4}}}},
                       .symbols = {{.name = "symbol_elsewhere", .type = 0x20, .aux = {aux_function(0, 8, 1, 2)}}}});
        auto* const shared = new COFF_SYMBOL;
        *shared = old.symbol(0);
        for (COFF_SYMBOL* symbol : {old.symbol(0).copy(), shared}) {
            target.file.symbol_table()->add_symbol(symbol);
            EXPECT_EQ(symbol->symbol_table(), target.file.symbol_table());
            EXPECT_NE(symbol->aux(), old.symbol(0).aux());
            EXPECT_EQ(symbol->lnno_index(), 1);
        }
        scnhdr header{};
        header.s_scnptr = old.section(1).sh_scnptr();
        header.s_lnnoptr = old.section(1).sh_lnnoptr();
        header.s_size = 1;
        header.s_nlnno = 2;
        set_name_offset(header.s_name, 4 + sizeof "symbol_elsewhere");
        auto* const section = new COFF_SECTION(&old.file);
        section->init_section(&header);
        EXPECT_EQ(section->symndx(), 2U);  // made in the old file
        target.file.add_section(section);
        EXPECT_ENDS(old.file.add_section(section), "section section_elsewhere belongs");
        EXPECT_ENDS(target.file.add_section(&old.section(1)), "section section_elsewhere belongs");
    }
    EXPECT_EQ(target.section(5).symndx(), 25U);
    written_file output;
    COFF_FILE& written = output.write(target.file);
    EXPECT_THAT(names_of(written),
                testing::IsSupersetOf({"symbol_elsewhere", "symbol_elsewhere", "section_elsewhere"}));
    COFF_SECTION& section = *written.get_section("section_elsewhere");
    EXPECT_EQ(contents_of(section), (bytes{7, 8}));
    EXPECT_EQ(section.lnno(1)->entry.l_addr, 3U);
    target.section(5).set_cfile(nullptr);  // its contents are gone, and not asked for
}

// The first symbol of a run goes whatever its index of the first entry behind says, and what that index leaves inside.
TEST(CoffEdit, StrippingEndsOnDamagedIndices) {
    for (const auto& [sclass, next, left] : {std::tuple{10, 0U, 3U},
                                             {12, 1U, 3U},
                                             {15, 3U, 3U},
                                             {101, 4U, 2U},
                                             {10, 0xFFFFFFFFU, 1U},
                                             {13, 4U, 3U},
                                             {100, 4U, 5U}}) {
        coff_image image{
            .symbols = {{.name = "keep"},
                        {.name = "tag", .sclass = static_cast<std::uint8_t>(sclass), .aux = {aux_tag(4, next)}},
                        {.name = "inside"},
                        {.name = "after"}}};
        coff_input input(image);
        input.file.remove_coff_debug();
        EXPECT_EQ(input.file.fh_nsyms(), left) << sclass << ' ' << next;
    }
}

// A symbol added through the file is counted twice, so a write needs the count set first. Contents are written once.
TEST(CoffEdit, AddedSymbolIsCountedTwice) {
    written_file output;
    coff_input input(full_image(byte_order::little));
    EXPECT_EQ(input.file.add_symbol(input.symbol(18).copy()), 21U);
    EXPECT_EQ(input.file.fh_nsyms(), 23U);
    EXPECT_ENDS((void)input.file.write(output.path.c_str()), "COFF_FILE::write: symbol count mismatch");
    input.file.fh_set_nsyms(22);
    output.write(input.file);
    EXPECT_ENDS((void)input.file.add_symbol(&input.symbol(18)), "belongs to a table already");
    EXPECT_ENDS((void)input.section(1).raw_data(), "Cannot read or modify raw data");
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

/// Writes in a process of its own and ends it with 77 if the result is -1.
[[noreturn]] void fail_to_write(COFF_FILE& file, const std::string& path) {
    std::_Exit(file.write(path.c_str()) == -1 ? 77 : 1);
}

/// Writes where there is room for `size` bytes only.
[[noreturn]] void write_to_full_disk(COFF_SYMBOL& symbol, std::size_t size) {
    char room[aux_size * 2];
    std::FILE* const full = fmemopen(room, size, "wb");
    std::setbuf(full, nullptr);
    symbol.write(full);
    std::_Exit(0);
}

TEST(CoffEdit, FailuresToWrite) {
    const temporary_directory directory;
    coff_input input(full_image(byte_order::little));
    EXPECT_EXIT(fail_to_write(input.file, directory.file("none/out")), ExitedWithCode(77), "Cannot open output file");
    // A small file shows it only when it is closed, a large one while its contents are written.
    EXPECT_EXIT(fail_to_write(input.file, "/dev/full"), ExitedWithCode(77),
                "Cannot write output file '/dev/full': No s");
    for (const coff_section& section :
         {coff_section{.contents = bytes(100'000)}, {.relocs = std::vector<coff_reloc>(5000)}}) {
        coff_input large(
            coff_image{.sections = {section, {.contents = bytes(10)}}, .symbols = std::vector<coff_symbol>(1000)});
        EXPECT_EXIT(fail_to_write(large.file, "/dev/full"), ExitedWithCode(77),
                    "Cannot write output file '/dev/full': N");
    }
    EXPECT_ENDS(write_to_full_disk(input.symbol(0), 17), "failed to write symbol table");
    EXPECT_ENDS(write_to_full_disk(input.symbol(0), 35), "failed to write auxiliary entry");
    std::FILE* const elsewhere = std::tmpfile();
    input.section(1).write_lnnos(elsewhere);
    EXPECT_EQ(std::ftell(elsewhere), 4 * 6);
    ASSERT_NE(input.section(2).raw_data(), nullptr);
    input.section(2).set_scnptr(4 * 6);
    input.section(2).set_mwidth(8);  // half of what is in memory counts
    input.section(2).write_raw_data(elsewhere);
    EXPECT_EQ(std::ftell(elsewhere), 4 * 6 + 2);
    for (const long position : {0L, 1000L}) {
        std::fseek(elsewhere, position, SEEK_SET);
        EXPECT_ENDS(input.section(1).write_raw_data(elsewhere), "doesn't") << position;
    }
    input.section(1).get_reloc_list()->remove_last();
    EXPECT_ENDS(input.section(1).write_relocs(elsewhere), "COFF_SECTION::write_relocs");
    std::fclose(elsewhere);
    COFF_SECTION foreign;
    EXPECT_ENDS(input.file.delete_section(&foreign), "COFF_FILE::delete_section");
    EXPECT_ENDS(input.file.add_section(nullptr), "COFF_FILE::add_section");
    EXPECT_ENDS((void)input.file.add_symbol(nullptr), "COFF_SYMBOL_TABLE::add_symbol");
}

// Refused before the output is opened.
TEST(CoffEdit, WhatCouldNotBeReadBackIsNotWritten) {
    const temporary_directory directory;
    const std::string path = directory.write("out", std::string_view("as it was"));
    // Contents that two sections share in the file would be there twice.
    coff_image wide;
    wide.sections.assign(2, {.flags = 0x40, .size = 0x40000000, .scnptr = 4});
    std::filesystem::resize_file(directory.write("wide", wide.data()), 0x40001000);
    COFF_FILE file(true);
    ASSERT_EQ(file.read(directory.file("wide").c_str(), false), 0);
    EXPECT_ENDS((void)file.write(path.c_str()), "the file would be longer than");
    const auto file_of = [](const coff_image& image) { return std::make_unique<coff_input>(image); };
    const std::pair<std::unique_ptr<coff_input>, const char*> cases[] = {
        {file_of({.opthdr = 20}), "COFF_FILE::write: an optional header of 20 bytes"},
        {file_of({.sections = {{.name = "123456789"}}}), "COFF_FILE::write: the name of section 123456789"},
        {file_of(full_image(byte_order::little)), "COFF_SECTION::write_relocs"},
        {file_of({.sections = {{.contents = {1}}}}), "COFF_SECTION::write_raw_data: .text: 1 bytes of contents"}};
    cases[2].first->section(1).first_reloc()->set_data(nullptr);
    ASSERT_NE(cases[3].first->section(1).raw_data(), nullptr);
    cases[3].first->section(1).set_mwidth(16);
    for (const auto& [input, text] : cases) {
        EXPECT_ENDS((void)input->file.write(path.c_str()), text);
        EXPECT_EQ(read_file(path), to_bytes("as it was"));
    }
    COFF_FILE empty(true);
    EXPECT_ENDS((void)empty.write(path.c_str()), "COFF_FILE::write: the headers have not been read");
}

}  // namespace

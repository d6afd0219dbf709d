// Symbols, their auxiliary entries, and the look-ups of the symbol table.
#include "coff_input.h"

namespace {

using namespace support;
using testing::ElementsAre;

coff_image many_forms() {
    coff_image image{.sections = {{.paddr = 0x100, .contents = bytes(0x100)}}};
    image.symbols = {{.name = "early", .value = 0, .sclass = 3, .type = 4},                                  // 0
                     {.name = "a.c", .sclass = 103, .aux = {aux_file("a.c")}},                               // 1
                     {.name = "tag", .sclass = 10, .aux = {aux_tag(12, 7)}},                                 // 3
                     {.name = "member", .sclass = 8},                                                        // 5
                     {.name = ".eos", .sclass = 102, .aux = {aux_end_of_tag(3, 12)}},                        // 6
                     {.name = "table", .type = 0x34, .aux = {aux_array(0, 48, {3, 4, 5, 6})}},               // 8
                     {.name = "main", .value = 0x140, .type = 0x20, .aux = {aux_function(0, 0x20, 0, 19)}},  // 10
                     {.name = ".bf", .value = 0x121, .sclass = 101, .aux = {aux_bf(12, 5, 0xF0, 64, 16)}},   // 12
                     {.name = ".bb", .value = 0x150, .sclass = 100, .aux = {aux_block(13, 16)}},             // 14
                     {.name = "end", .value = 0x160}};                                                       // 16
    return image;
}

TEST(CoffSymbol, AccessorsOfTheForms) {
    coff_input input(many_forms());
    const COFF_SYMBOL &tag = input.symbol(3), &member = input.symbol(5), &table = input.symbol(8),
                      &main = input.symbol(10);
    EXPECT_EQ(tag.tag_size(), 12U);
    EXPECT_EQ(tag.tag_skip(), nullptr);  // index 7 is that of an auxiliary entry
    EXPECT_EQ(input.symbol(6).sym_tag_index(), 3U);
    EXPECT_EQ(table.sym_size(), 48U);
    EXPECT_THAT((numbers{table.array_dim(0), table.array_dim(1), table.array_dim(2), table.array_dim(3)}),
                ElementsAre(3, 4, 5, 6));
    EXPECT_ENDS((void)table.array_dim(4), "COFF_SYMBOL::array_dim");
    EXPECT_ENDS((void)table.array_dim(-1), "COFF_SYMBOL::array_dim");
    EXPECT_THAT((numbers{main.func_lnno(), main.func_lcnt(), main.func_regmask(), main.func_framesize()}),
                ElementsAre(12, 5, 0xF0, 64));
    EXPECT_EQ(main.func_size(), 0x20U);
    EXPECT_EQ(main.func_skip()->data, &input.symbol(16));
    EXPECT_EQ(input.symbol(14).block_skip()->data, &input.symbol(16));
    // Without an auxiliary entry there is nothing to tell.
    EXPECT_EQ(member.sym_tag_index() + member.func_lnnoptr() + member.array_dim(0), 0U);
    EXPECT_EQ(main.symbol_table(), input.file.symbol_table());
}

// A ".bf" may lag up to 31 behind; finding it brings it to the function's value.
TEST(CoffSymbol, BeginOfAFunctionMayLag) {
    for (const auto& [lag, found] : {std::pair{0, true}, {31, true}, {32, false}, {-1, false}}) {
        coff_image image = many_forms();
        image.symbols[7].value = static_cast<std::uint32_t>(0x140 - lag);
        coff_input input(image);
        if (found) {
            EXPECT_EQ(input.symbol(10).func_bf_sym(), &input.symbol(12)) << lag;
            EXPECT_EQ(input.symbol(12).value(), 0x140) << lag;
        } else {
            EXPECT_ENDS(input.symbol(10).func_bf_sym(), "C_FCN symbol for function main") << lag;
        }
    }
}

TEST(CoffSymbol, CountsAndLookUps) {
    coff_input input(many_forms());
    COFF_SYMBOL_TABLE& table = *input.file.symbol_table();
    EXPECT_EQ(table.n_syms(), 17U);
    EXPECT_EQ(table.first_sym()->data, &input.symbol(0));
    EXPECT_EQ(table.size(), 17U * 18U);
    EXPECT_EQ(table.find_sym(2), nullptr);  // an auxiliary entry
    EXPECT_EQ(table.find_sym(17), nullptr);
    EXPECT_EQ(COFF_SYMBOL::cmp(nullptr, nullptr), 0);
    EXPECT_EQ(table.find_source_file(&input.symbol(0)), nullptr);
    EXPECT_STREQ(table.find_source_file(&input.symbol(1)), "a.c");
    EXPECT_STREQ(table.find_source_file(&input.symbol(16)), "a.c");
    EXPECT_EQ(table.find_func_sym(0x15F)->data, &input.symbol(10));
    EXPECT_EQ(table.find_func_sym(0x13F), nullptr);
    EXPECT_EQ(table.find_func_sym(0x160), nullptr);
    EXPECT_ENDS((void)table.new_index(0), "COFF_SYMBOL_TABLE::new_index");
    // The count may leave out the auxiliary entry of the last symbol: it is read all the same.
    coff_input last(coff_image{.symbols = {{.name = "s", .sclass = 10, .aux = {aux_tag(5, 0)}}}, .nsyms = 1});
    EXPECT_EQ(last.symbol(0).tag_size(), 5U);
}

// Whatever its ".bf" says of the first entry behind it, a function hides none. Lines need a section.
TEST(CoffSymbol, FunctionsSideBySide) {
    coff_image image{.sections = {{}}};
    image.symbols = {{.name = "f", .value = 16, .type = 0x20, .aux = {aux_function(0, 4, 0, 0)}},
                     {.name = ".bf", .value = 16, .sclass = 101, .aux = {aux_bf(1, 1, 0, 0, 4)}},
                     {.name = "g", .value = 20, .type = 0x20, .aux = {aux_function(0, 4, 0, 0)}},
                     {.name = ".bf", .value = 20, .sclass = 101, .aux = {aux_bf(1, 1, 0, 0, 8)}}};
    for (const std::uint32_t behind : {4U, 0U, 6U, 7U, 1000U}) {  // sound, backwards, too far, nowhere
        image.symbols[1].aux = {aux_bf(1, 1, 0, 0, behind)};
        coff_input input(image);
        EXPECT_EQ(input.file.symbol_table()->find_func_sym(23)->data, &input.symbol(4)) << behind;
        EXPECT_EQ(input.file.symbol_table()->find_func_sym(24), nullptr) << behind;
    }
    image.symbols[1].sclass = 2;
    coff_input unmarked(image);
    EXPECT_EQ(unmarked.file.symbol_table()->find_func_sym(23)->data, &unmarked.symbol(4));
    image.symbols[0].scnum = 9;
    coff_input foreign(image);
    SLIST list;
    EXPECT_ENDS(foreign.symbol(0).func_lnnos(&list), "COFF_SYMBOL::func_lnnos");
}

TEST(CoffDebug, KnowsTheFunctionsAndNothingElse) {
    coff_input input(many_forms());
    COFF_DEBUG debug(&input.file);
    SLIST list;
    debug.get_functions(&list);
    ASSERT_EQ(list.size(), 1U);
    const auto* function = static_cast<COFF_DEBUG::FUNCTION*>(list.begin()->data);
    EXPECT_THAT((numbers{function->start, function->size, function->scnum}), ElementsAre(0x140, 0x20, 1));
    EXPECT_STREQ(function->name, "main");
    EXPECT_STREQ(function->file, "a.c");
    std::uint32_t size = 7;
    EXPECT_EQ(debug.max_stack_size(0, 1, &size) + size + debug.code_coverage_update(0x140, 1), 0U);
    EXPECT_EQ(debug.get_callee_list(0, 1, &list), &list);
    EXPECT_TRUE(debug.condense(true, false) && !debug.condense(false, true) && !debug.is_address_branch(0x140));
    EXPECT_ENDS(COFF_DEBUG(nullptr), "COFF_DEBUG::COFF_DEBUG");
}

// The class is masked, not compared: C_STAT and whatever shares its low four bits.
TEST(CoffSymbol, SectionSymbolsByClassAndType) {
    for (const auto& [sclass, type, is] :
         {std::tuple{3, 0, true}, {0x13, 0, true}, {2, 0, false}, {3, 4, false}, {3, 0x10, false}, {3, 0x40, true}}) {
        coff_image image{
            .symbols = {
                {.name = "s", .sclass = static_cast<std::uint8_t>(sclass), .type = static_cast<std::uint16_t>(type)}}};
        coff_input input(image);
        EXPECT_EQ(input.symbol(0).is_section_sym(), is) << sclass << ' ' << type;
    }
}

TEST(CoffSymbol, NamesOfReferencesAndClasses) {
    coff_input input(many_forms());
    EXPECT_STREQ(input.symbol(5).ref_name(10), "10 (main)");
    EXPECT_STREQ(input.symbol(0).ref_name(10), "10");  // symbol 0 never names its reference
    EXPECT_STREQ(input.symbol(5).ref_name(18), "18");
    EXPECT_STREQ(input.symbol(5).ref_name(-1), "-1");
    input.file.fh_set_nsyms(10);
    EXPECT_STREQ(input.symbol(5).ref_name(10), "10 (main)");
    EXPECT_STREQ(input.symbol(5).ref_name(12), "12");
    EXPECT_STREQ(input.symbol(5).ref_name(2), "2");  // no symbol has it
    const COFF_SYMBOL_TABLE& table = *input.file.symbol_table();
    EXPECT_THAT((std::vector<std::string>{table.sclass_name(1), table.sclass_name(13), table.sclass_name(29),
                                          table.sclass_name(100), table.sclass_name(110)}),
                ElementsAre("C_AUTO", "C_TPDEF", "C_USTATREG", "C_BLOCK", "C_EOG"));
    for (const int none : {-128, -1, 0, 30, 99, 111, 127})
        EXPECT_STREQ(table.sclass_name(static_cast<std::int8_t>(none)), "INVALID STORAGE CLASS") << none;
}

// An assignment shares name and auxiliary entry; copy() ends the sharing, and either may die first.
TEST(CoffSymbol, AssignmentSharesAndCopyDoesNot) {
    std::unique_ptr<COFF_SYMBOL> copy;
    {
        coff_input input(many_forms());
        copy.reset(input.symbol(10).copy());
        EXPECT_NE(copy->aux(), input.symbol(10).aux());
    }
    COFF_SYMBOL shared;
    shared = *copy;
    EXPECT_EQ(shared.aux(), copy->aux());
    EXPECT_EQ(shared.name(), copy->name());
    EXPECT_EQ(COFF_SYMBOL::cmp(&shared, copy.get()), 0);
    EXPECT_EQ(COFF_SYMBOL::cmp(nullptr, &shared), -1);
    EXPECT_EQ(COFF_SYMBOL::cmp(&shared, nullptr), 1);
    copy.reset();
    EXPECT_STREQ(shared.name(), "main");
    EXPECT_EQ(shared.func_size(), 0x20U);
    EXPECT_EQ(shared.coff_index(), 10U);
}

// A symbol read alone, from the stream's own position, is like the one in the table.
TEST(CoffSymbol, ReadsOneFromTheStream) {
    const coff_image image = many_forms();
    coff_input input(image);
    std::fseek(input.file.stream(), static_cast<long>(image.build().symbols[6]), SEEK_SET);
    COFF_SYMBOL symbol;
    symbol.read(&input.file, 99);
    EXPECT_STREQ(symbol.name(), "main");
    EXPECT_EQ(symbol.func_size(), 0x20U);
    EXPECT_EQ(symbol.coff_index(), 99U);
    std::fseek(input.file.stream(), 0, SEEK_END);
    EXPECT_ENDS(symbol.read(&input.file, 0), "failed to read symbol table");
}

}  // namespace

// Lists and objects are made of the tables that were read when somebody first asks for them, and tell the same as if they
// had been made at once, whatever was changed in between.
#include "coff_input.h"

namespace {

using support::byte_order;

/// Two functions with line numbers and one in a section that there is not, long and short names, auxiliary entries,
/// relocations.
support::coff_image image_of(byte_order order) {
    support::coff_image image{.order = order, .target_id = 0x99};
    image.sections = {{.name = ".text",
                       .contents = support::bytes(32),
                       .relocs = {{.vaddr = 4, .type = 17, .symndx = 3}, {.vaddr = 8, .type = 17, .symndx = 5}},
                       .lines = {{1, 0}, {4, 1}, {3, 0}, {20, 1}}},
                      {.name = "the_other_section", .contents = {1, 2, 3, 4}}};
    image.symbols = {
        {.name = "source.c", .scnum = -2, .sclass = 103},
        {.name = "first", .type = 0x20, .aux = {support::aux_function(0, 16, 0, 3)}},
        {.name = "second_with_long_name", .value = 16, .type = 0x20, .aux = {support::aux_function(0, 16, 2, 5)}},
        {.name = "last", .value = 0, .scnum = 2},
        {.name = "nowhere", .scnum = 3, .type = 0x20, .aux = {support::aux_function(0, 4, 0, 8)}}};
    return image;
}

/// All that symbols and functions tell.
std::vector<std::pair<std::string, numbers>> symbols_of(COFF_FILE& file) {
    std::vector<std::pair<std::string, numbers>> all;
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(file.symbol_table()->symbols())) {
        all.emplace_back(symbol->name(), entry_of(*symbol));
        all.back().second.insert(all.back().second.end(),
                                 {symbol->coff_index(), symbol->lnno_index(), symbol->func_size()});
    }
    for (const auto* function : items<COFF_DEBUG::FUNCTION>(file.symbol_table()->functions()))
        all.emplace_back(function->name, numbers{function->start, function->size, function->scnum, *function->file});
    return all;
}

MODFORGE_SUITE_IN_BOTH_ORDERS(CoffLate);

TEST_P(CoffLate, ObjectsAreThoseOfTheFileAsItWasRead) {
    void (*const changes[])(coff_input&) = {
        [](coff_input&) {},
        [](coff_input& in) { in.section(1).set_lnnoptr(600); },
        [](coff_input& in) { in.section(1).clear_lnnos(); },
        [](coff_input& in) {  // the first string makes the table another one, the others move that
            for (int k = 0; k < 5000; ++k) {
                in.file.add_string(("name_" + std::to_string(k)).c_str());
                in.file.symbol_table()->first_sym();
            }
        },
        [](coff_input& in) { in.file.fix_headers(); },
        [](coff_input& in) {
            auto* const section = new COFF_SECTION;
            section->set_lnnoptr(600);
            in.file.add_section(section);
        },
        [](coff_input& in) { in.section(1).init_section(std::make_unique<scnhdr>().get()); },
    };
    for (const auto& change : changes) {
        coff_input early(image_of(GetParam()));
        coff_input late(image_of(GetParam()));
        const auto expected = symbols_of(early.file);
        change(late);
        EXPECT_EQ(symbols_of(late.file), expected) << &change - changes;
        EXPECT_EQ(late.file.symbol_table()->n_syms(), 8U);
    }
    coff_input other(image_of(GetParam())), late(image_of(GetParam()));
    late.file.symbol_table()->add_symbol(other.symbol(5).copy());
    std::vector<std::string> names = names_of(other.file);
    names.emplace_back("last");
    EXPECT_EQ(names_of(late.file), names);
}

TEST_P(CoffLate, ViewsAndTablesTellWhatObjectsAndListsTell) {
    coff_input in(image_of(GetParam()));
    std::vector<std::pair<std::string, numbers>> seen;
    in.file.symbol_table()->visit_read([&seen](const symbol_view& symbol) {
        seen.emplace_back(symbol.name(), numbers{symbol.value(), symbol.scnum(), symbol.sclass(), symbol.has_aux(),
                                                 symbol.coff_index()});
    });
    std::size_t place = 0;
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(in.file.symbol_table()->symbols())) {
        const numbers expected = {symbol->value(), symbol->scnum(), symbol->sclass(), symbol->has_aux(),
                                  symbol->coff_index()};
        EXPECT_EQ(seen.at(place++), std::pair(std::string(symbol->name()), expected));
    }
    EXPECT_EQ(place, seen.size());

    numbers read;
    for (const reloc& entry : in.section(1).relocs_read())
        read.insert(read.end(), {entry.r_vaddr, entry.r_symndx, entry.r_disp, entry.r_type});
    EXPECT_EQ(relocs_of(in.section(1)), read);
    EXPECT_EQ(in.section(1).take_relocs()[1].r_symndx, 5U);
    EXPECT_EQ(relocs_of(in.section(1)), numbers{});
    EXPECT_EQ(in.section(1).sh_nreloc(), 0U);
}

}  // namespace

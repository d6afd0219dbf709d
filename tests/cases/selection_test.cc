// What becomes of sections, symbols and the entry point: single facts worked out by hand, and whole modules of the
// images behind them as the second opinion has them.
#include "cases/run_modforge.h"

#include <gtest/gtest.h>

using namespace cases;
using second_opinion::conversion_request;
using support::bytes;
using support::coff_image;
using support::coff_section;
using support::coff_symbol;

namespace {

std::size_t section_header(const bytes& module, unsigned number) {
    return 56 + module_word(module, 0) + 28 * (number - 1);
}

std::size_t symbol_record(const bytes& module, unsigned index) {
    return section_header(module, module_half(module, 20) + 1U) + 12 * index;
}

std::string string_at(const bytes& module, std::size_t offset) {
    return reinterpret_cast<const char*>(module.data() + 56 + offset);
}

/// Runs the request, compares the whole, and gives the module.
bytes module_of(const conversion_request& request) {
    expect_conversion(request);
    return second_opinion::convert(request).module;
}

}  // namespace

TEST(EntryPoint, ComesFromTheHeaderUnlessTheSymbolSaysOtherwise) {
    constexpr int none = -1, unread = -2;
    const coff_symbol start = {.name = "__DLStart", .value = 0x1004};
    const auto changed = [&](auto change) {
        coff_symbol symbol = start;
        change(symbol);
        return symbol;
    };
    const struct {
        const char* what;
        int header_entry;  // none: no optional header; unread: one of another size, neither read nor skipped
        std::vector<coff_symbol> symbols;
        std::uint32_t point;
        unsigned section;
    } rows[] = {
        {"nothing", none, {}, 0xFFFFFFFF, 0xFFFF},
        {"header of another size", unread, {}, 0, 0},
        {"header", 0x1234, {}, 0x1234, 0xFFFF},
        {"header of zero", 0, {}, 0, 0},
        {"symbol", 0x1234, {start}, 4, 1},
        {"one underscore", none, {{.name = "_DLStart", .value = 0x1004}}, 0xFFFFFFFF, 0xFFFF},
        {"a class that is dropped", none, {changed([](auto& s) { s.sclass = 8; })}, 4, 1},
        {"the last one", none, {start, changed([](auto& s) { s.value = 0x1006; })}, 6, 1},
        {"absolute", none, {changed([](auto& s) { s.scnum = -1; })}, 0x1004, 0xFFFF},
        {"debugging", 0, {changed([](auto& s) { s.scnum = -2; })}, 0x1004, 0xFFFF},
        {"any negative number", 0, {changed([](auto& s) { s.scnum = -300; })}, 0x1004, 0xFFFF},
        {"in a dropped section", none, {changed([](auto& s) { s.scnum = 2; })}, 0xFFFFF004, 0},
        {"below its section", none, {changed([](auto& s) { s.value = 0xFFE; })}, 0xFFFFFFFE, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        coff_image image;
        image.sections = {{.paddr = 0x1000, .vaddr = 0x7000, .contents = bytes(16)},
                          {.name = ".dropped", .flags = 2, .paddr = 0x2000, .contents = bytes(4)}};
        if (row.header_entry >= 0)
            image.optional_header = {.entrypt = static_cast<std::uint32_t>(row.header_entry)};
        else if (row.header_entry == unread)
            image.opthdr = 20;
        image.symbols = row.symbols;
        conversion_request request = request_for(image);
        const bytes module = module_of(request);
        EXPECT_EQ(module_word(module, 4), row.point);
        EXPECT_EQ(module_half(module, 30), row.section);
        request.symbols_only = true;
        const bytes symbols_only = module_of(request);
        EXPECT_EQ(module_word(symbols_only, 4), 0U);
        EXPECT_EQ(module_half(symbols_only, 30), 0U);
    }
}

TEST(Sections, FlagsAndContentsFollowTheKind) {
    constexpr std::uint32_t dropped = 0xFFFF;
    const struct {
        const char* what;
        coff_section section;
        std::uint16_t file_flags;
        bool keep_cinit;
        std::uint32_t flags;  // of the only module section
        unsigned packets;
        std::uint32_t run_address = 0x1000;
    } rows[] = {
        {"code", {.flags = 0x20, .contents = bytes(8)}, 0, false, 0x30, 1},
        {"data, aligned", {.flags = 0x740, .contents = bytes(8)}, 0, false, 0x731, 1},
        {"code wins over uninitialised", {.flags = 0xA0, .contents = bytes(8)}, 0, false, 0x30, 0},
        {"uninitialised", {.flags = 0x80, .size = 8}, 0, false, 0x12, 0},
        {"uninitialised with a pointer", {.flags = 0x80, .size = 8, .scnptr = 1}, 0, false, 0x32, 0},
        {"stripped", {.flags = 0x40, .contents = bytes(8)}, 1, false, 0x21, 1},
        {"stripped and uninitialised", {.flags = 0x80, .size = 8}, 1, false, 0x02, 0},
        {"empty but used", {.flags = 0x20}, 0, false, 0x00, 0},
        {"empty, used, with a pointer", {.flags = 0x40, .scnptr = 0xFFFFFFFF}, 0, false, 0x01, 0},
        {"dummy", {.flags = 0x21, .contents = bytes(8)}, 0, false, dropped, 0},
        {"not loaded", {.flags = 0x42, .contents = bytes(8)}, 0, false, dropped, 0},
        {"copy", {.name = ".debug", .flags = 0x10, .contents = bytes(8)}, 0, false, 0x01, 1, 0},
        {"copied code", {.flags = 0x30, .contents = bytes(8)}, 0, false, 0x00, 1, 0},
        {"tables", {.name = ".cinit", .flags = 0x40, .contents = bytes(8)}, 0, false, 0x23, 1, 0},
        {"tables as code", {.name = ".cinit", .flags = 0x20, .contents = bytes(8)}, 0, false, 0x20, 1, 0},
        {"tables of a program", {.name = ".cinit", .flags = 0x40, .contents = bytes(8)}, 2, false, 0x31, 1},
        {"copied tables of a program", {.name = ".cinit", .flags = 0x50, .contents = bytes(8)}, 2, false, 0x23, 1, 0},
        {"tables with -c", {.name = ".cinit", .flags = 0x40, .contents = bytes(8)}, 0, true, 0x31, 1},
        {"empty tables", {.name = ".cinit", .flags = 0x40}, 0, false, 0x01, 0},
        {"copied tables without contents", {.name = ".cinit", .flags = 0x10, .size = 8}, 0, false, 0x03, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        coff_image image;
        image.flags = row.file_flags;
        image.sections = {row.section};
        image.sections[0].paddr = 0x1000;
        image.symbols = {{.name = "_here", .value = 0x1004}};
        conversion_request request = request_for(image);
        request.keep_cinit = row.keep_cinit;
        const bytes module = module_of(request);
        ASSERT_EQ(module_half(module, 20), row.flags == dropped ? 0 : 1);
        EXPECT_EQ(module_half(module, symbol_record(module, 0) + 8), row.flags == dropped ? 0 : 1);
        if (row.flags == dropped)
            continue;
        const std::size_t header = section_header(module, 1);
        EXPECT_EQ(module_half(module, header + 18), row.flags);
        EXPECT_EQ(module_word(module, header + 24), row.packets);
        EXPECT_EQ(module_word(module, header + 20), row.packets == 0 ? 0 : symbol_record(module, 1));
        EXPECT_EQ(module_word(module, header + 4), row.run_address);
        request.symbols_only = true;  // all that is left of the flags is alignment and kind
        const bytes symbols_only = module_of(request);
        EXPECT_EQ(module_half(symbols_only, section_header(symbols_only, 1) + 18) & 0x30, 0);
        EXPECT_EQ(symbols_only.size(), symbol_record(symbols_only, 1));
    }
}

TEST(Sections, AreNumberedInThreeGroupsWithTablesAtTheHeadOfTheLast) {
    coff_image image;
    image.flags = 1;
    image.sections = {{.name = ".debug_info", .flags = 0x10, .contents = bytes(4)},
                      {.name = ".bss", .flags = 0x80, .size = 4},
                      {.name = ".cinit", .flags = 0x40, .contents = bytes(4)},
                      {.name = ".unused_", .flags = 0x20},
                      {.name = ".text", .flags = 0x20, .contents = bytes(4)},
                      {.name = ".stack", .flags = 0x80, .size = 4},
                      {.name = ".cinit", .flags = 0x50, .paddr = 8, .contents = bytes(4)},
                      {.name = ".debug_line", .flags = 0x10, .contents = bytes(4)},
                      {.name = ".data", .flags = 0x40, .contents = bytes(4)}};
    const bytes module = module_of(request_for(image));
    std::string names;
    for (unsigned i = 1; i <= module_half(module, 20); ++i)
        names += string_at(module, module_word(module, section_header(module, i))) + ' ';
    EXPECT_EQ(names, ".text .data .bss .stack .cinit .cinit .debug_info .debug_line ");
}

// The first pass over the symbols does not count auxiliary entries. So it finds the reference to index 3, in truth "c",
// at the symbol that stands fourth, and one to index 4 nowhere: ".empty" lives or dies by that.
TEST(Symbols, SectionsAreMarkedByAPassThatIsBlindToAuxiliaryEntries) {
    const struct {
        bool auxiliary_before;
        std::uint32_t referenced;
        unsigned sections, kept_value, kept_section;
    } rows[] = {{false, 3, 2, 0xD, 2}, {true, 3, 2, 0xC, 1}, {true, 4, 1, 0xD, 0}};
    for (const auto& row : rows) {
        coff_image image;
        image.sections = {{.contents = bytes(4), .relocs = {{.vaddr = 0, .type = 17, .symndx = row.referenced}}},
                          {.name = ".empty", .flags = 0x40}};
        image.symbols = {{.name = "a", .value = 0xA, .sclass = 3},
                         {.name = "b", .value = 0xB, .sclass = 3},
                         {.name = "c", .value = 0xC, .sclass = 3},
                         {.name = "d", .value = 0xD, .scnum = 2, .sclass = 3}};
        if (row.auxiliary_before)
            image.symbols[0].aux = {support::aux_section(4, 0, 0)};
        const bytes module = module_of(request_for(image));
        EXPECT_EQ(module_half(module, 20), row.sections);
        ASSERT_EQ(module_half(module, 16), 1);
        EXPECT_EQ(module_word(module, symbol_record(module, 0) + 4), row.kept_value);
        EXPECT_EQ(module_half(module, symbol_record(module, 0) + 8), row.kept_section);
    }
}

// Each symbol has its class as its value, and a relocation that refers to it: of a section that is dropped, since a
// relocation that needs a dropped symbol cannot be converted.
TEST(Symbols, OnlyTheClassesOfLinkableSymbolsAreKept) {
    coff_image image;
    image.sections = {{.contents = bytes(4)}, {.name = ".dropped", .flags = 2, .contents = bytes(1024)}};
    for (unsigned sclass = 0; sclass < 256; ++sclass) {
        image.symbols.push_back(
            {.name = "s" + std::to_string(sclass), .value = sclass, .sclass = static_cast<std::uint8_t>(sclass)});
        image.sections[1].relocs.push_back({.vaddr = 4 * sclass, .type = 17, .symndx = sclass});
    }
    const std::pair<bool, std::vector<unsigned>> rows[] = {
        {false, {2, 3, 5, 6, 14, 19, 21, 23, 24, 25, 26, 28}}, {true, {2, 21}},  // -s: what is external
    };
    for (const auto& [symbols_only, classes] : rows) {
        conversion_request request = request_for(image);
        request.symbols_only = symbols_only;
        const bytes module = module_of(request);
        ASSERT_EQ(module_half(module, 16), classes.size());
        for (unsigned i = 0; i < classes.size(); ++i) {
            EXPECT_EQ(module_word(module, symbol_record(module, i) + 4), classes[i]);
            EXPECT_EQ(module_half(module, symbol_record(module, i) + 10), classes[i]);
        }
    }
}

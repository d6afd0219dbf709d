// Relocations take turns over the first symbols, so that each kind of symbol meets each type.
#include "sweeps/everything.h"

#include <iterator>

namespace sweeps {
namespace {

using support::bytes;
using support::coff_image;
using support::coff_reloc;
using support::coff_section;

constexpr std::uint16_t all_types[] = {
#define RELOC_TYPE(number, name, size, stop, offset, word, disp) number,
#define RELOC_UNNAMED(number, size, stop, offset, word, disp) number,
#include "format/reloc_types.def"
#undef RELOC_TYPE
#undef RELOC_UNNAMED
};

coff_reloc relocation_at(std::uint32_t place, std::uint16_t type, std::uint32_t symbol) {
    coff_reloc made = {.vaddr = place, .type = type, .symndx = symbol, .disp = 0xFFFC};
    if (second_opinion::has_descriptor(type))
        made.descriptor = {{3, 12, 16, 0xEE}};
    return made;
}

/// Every type, four bytes apart; symbols 0 to 3 take turns.
coff_section code() {
    coff_section made = {.name = ".text:with_a_long_name", .flags = 0x220, .paddr = 0x1000};
    made.contents.assign(4 * std::size(all_types) + 16, 0x5A);
    for (std::uint32_t i = 0; i < std::size(all_types); ++i)
        made.relocs.push_back(relocation_at(0x1000 + 4 * i, all_types[i], i % 4));
    made.lines = {{8, 0}, {0x1004, 1}, {0x1008, 2}};  // the first one names a symbol
    return made;
}

}  // namespace

coff_image everything(support::byte_order order) {
    coff_image image;
    image.order = order;
    image.optional_header = {.tsize = 0x200, .dsize = 8, .bsize = 64, .entrypt = 0x1004, .text_start = 0x1000};
    image.sections = {code(),
                      {.name = ".data", .flags = 0x40, .paddr = 0x2000, .contents = {1, 2, 3, 4, 5, 6, 7}, .page = 1},
                      {.name = ".bss", .flags = 0x80, .paddr = 0x3000, .size = 64},
                      {.name = ".cinit", .flags = 0x40, .paddr = 0x4000, .contents = bytes(12, 3)},
                      {.name = ".wide", .flags = 0x40, .paddr = 0x5000, .contents = bytes(8, 9), .mwidth = 16},
                      {.name = ".debug", .flags = 0x10, .contents = bytes(6, 0xDE)},
                      {.name = ".dummy", .flags = 0x01, .paddr = 0x6000, .contents = bytes(4, 1)},
                      {.name = ".noload", .flags = 0x02, .paddr = 0x7000, .contents = bytes(4, 1)}};
    image.sections[1].relocs = {relocation_at(0x2000, 17, 3), relocation_at(0x2002, 16, 1)};
    image.sections[1].lines = {{0x2000, 7}};
    image.sections[3].relocs = {relocation_at(0x4004, 17, 0)};
    image.sections[4].relocs = {relocation_at(0x5001, 16, 2)};
    image.sections[5].relocs = {relocation_at(2, 17, 0)};
    image.symbols = {
        {.name = "_main", .value = 0x1000},
        {.name = "_imported_by_a_long_name", .scnum = 0},
        {.name = "_local", .value = 0x2004, .scnum = 2, .sclass = 3},
        {.name = "_table", .value = 0x2000, .scnum = 2, .type = 4},
        {.name = "__DLStart", .value = 0x1008},
        {.name = "_absolute", .value = 0x1234, .scnum = -1},
        {.name = ".file", .scnum = -2, .sclass = 103, .aux = {support::aux_file("a_source.c")}},
        {.name = "_function_with_lines", .value = 0x1004, .type = 0x24, .aux = {support::aux_function(0, 8, 0, 14)}},
        {.name = ".bf", .value = 0x1004, .sclass = 101, .aux = {support::aux_bf(7, 2, 0xF0, 16, 14)}},
        {.name = ".bb", .value = 0x1006, .sclass = 100, .aux = {support::aux_block(8, 14)}},
        {.name = ".ef", .value = 0x100C, .sclass = 101, .aux = {support::aux_block(9, 0)}},
        {.name = "_tag", .scnum = -2, .sclass = 10, .type = 8, .aux = {support::aux_tag(8, 22)}},
        {.name = ".eos", .value = 8, .scnum = -1, .sclass = 102, .aux = {support::aux_end_of_tag(18, 8)}},
        {.name = "_array", .value = 0x3000, .scnum = 3, .type = 0x34, .aux = {support::aux_array(0, 64, {4, 4, 0, 0})}},
        {.name = ".text", .value = 0x1000, .sclass = 3, .aux = {support::aux_section(64, 2, 3)}},
        {.name = "_struct", .value = 0x3008, .scnum = 3, .type = 8, .aux = {support::aux_other(18, 8)}}};
    return image;
}

second_opinion::conversion_request with_entries(const bytes& image) {
    const std::string entries = "_main -_absent # a comment\n^_tab\n@.bss\n!.noload\n_imported_by_a_long_name\n";
    return {.input = image, .entries = {entries}, .packet_size = 300};
}

}  // namespace sweeps

// Answers from the table of relocation types.
#include "format/reloc_types.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace {

constexpr bool with_disp = true;
constexpr bool no_disp = false;

constexpr reloc_type_facts facts[] = {
#define RELOC_TYPE(number, name, size, stop, offset, word, disp)                                                       \
    {number, #name, size, stop, offset, reloc_word::word, disp},
#define RELOC_UNNAMED(number, size, stop, offset, word, disp)                                                          \
    {number, nullptr, size, stop, offset, reloc_word::word, disp},
#include "format/reloc_types.def"
#undef RELOC_TYPE
#undef RELOC_UNNAMED
};
static_assert(std::ranges::adjacent_find(facts, std::ranges::greater_equal{}, &reloc_type_facts::type) ==
              std::end(facts));

constexpr unsigned first_expression = 0x4000;
constexpr reloc_type_facts unlisted_ordinary = {0, nullptr, 0, 0, 0, reloc_word::symbol, with_disp};
constexpr reloc_type_facts unlisted_special = {0, nullptr, 0, 0, 0, reloc_word::symbol, no_disp};

/// Rows of the types from `first` on, by number: a look-up in the dense ranges costs one step.
template <unsigned first, std::size_t count> consteval std::array<const reloc_type_facts*, count> dense_rows() {
    std::array<const reloc_type_facts*, count> rows{};
    for (std::size_t k = 0; k < count; ++k)
        rows[k] = first < first_expression ? &unlisted_ordinary : &unlisted_special;
    for (const reloc_type_facts& row : facts) {
        if (row.type >= first && row.type < first + count)
            rows[row.type - first] = &row;
    }
    return rows;
}

constexpr auto expressions = dense_rows<first_expression, 32>();

}  // namespace

constexpr std::array<const reloc_type_facts*, 256> ordinary_reloc_rows = dense_rows<0, 256>();

const reloc_type_facts& special_reloc_facts(int type) {
    const auto number = static_cast<unsigned>(type);
    if (number - first_expression < expressions.size())
        return *expressions[number - first_expression];
    const auto* const row = std::ranges::lower_bound(facts, number, {}, &reloc_type_facts::type);
    if (row != std::end(facts) && row->type == number)
        return *row;
    return number < first_expression ? unlisted_ordinary : unlisted_special;
}

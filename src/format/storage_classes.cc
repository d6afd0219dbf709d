// Answers from the table of storage classes.
#include "format/storage_classes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace {

constexpr bool kept = true, dropped = false, external = true, internal = false;

struct storage_class_facts {
    std::int8_t number;
    const char* name;
    bool accepted;
    bool external;
};

constexpr storage_class_facts class_facts[] = {
#define STORAGE_CLASS(number, name, keeping, linkage) {number, #name, keeping, linkage},
#include "format/storage_classes.def"
#undef STORAGE_CLASS
};
static_assert(std::ranges::adjacent_find(class_facts, std::ranges::greater_equal{}, &storage_class_facts::number) ==
              std::end(class_facts));

/// The rows by the byte of the class, null where there is none: one step for each of a million symbols.
constexpr auto by_number = [] {
    std::array<const storage_class_facts*, 256> rows{};
    for (const storage_class_facts& row : class_facts)
        rows[static_cast<std::uint8_t>(row.number)] = &row;
    return rows;
}();

const storage_class_facts* facts_of(int sclass) {
    const auto number = static_cast<unsigned>(sclass);
    return number < by_number.size() ? by_number[number] : nullptr;
}

}  // namespace

const char* storage_class_name(int sclass) {
    const storage_class_facts* const row = facts_of(sclass);
    return row ? row->name : nullptr;
}

bool is_accepted_class(int sclass) {
    const storage_class_facts* const row = facts_of(sclass);
    return row && row->accepted;
}

bool is_external_class(int sclass) {
    const storage_class_facts* const row = facts_of(sclass);
    return row && row->external;
}

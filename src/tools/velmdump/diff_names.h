// What is the same in two modules whose numbers differ.
#ifndef MODFORGE_TOOLS_VELMDUMP_DIFF_NAMES_H
#define MODFORGE_TOOLS_VELMDUMP_DIFF_NAMES_H

#include <cstdint>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tools/velmdump/velm_module.h"

/// Gives each name one number, whichever module it is from. Names that share a place in their string table are looked
/// at once: thousands of symbols may share the longest.
class name_numbers {
public:
    std::uint32_t of(const velm_module& module, std::uint32_t name_offset);

private:
    std::unordered_map<std::string_view, std::uint32_t> numbers_;
    std::map<std::pair<const velm_module*, std::uint32_t>, std::uint32_t> places_;
};

/// Records of a module by name; those of one name in their order.
struct named_records {
    std::string_view name;
    std::vector<std::uint32_t> indices;
};

/// The records whose name offsets are given (velm_no_name: none), by name, in the order of the names.
std::vector<named_records> by_name(const velm_module& module, const std::vector<std::uint32_t>& name_offsets);

/// Numbers that are equal where symbols of two modules are: by name, and nameless ones by section and value.
class symbol_numbers {
public:
    /// The number of every symbol of the module, by index.
    std::vector<std::uint32_t> of(const velm_module& module);

private:
    using identity = std::pair<std::uint64_t, std::uint32_t>;

    name_numbers names_;
    std::map<identity, std::uint32_t> numbers_;
};

#endif

// The names that a module offers and asks for, for scripts and for builds.
#ifndef MODFORGE_TOOLS_VELMDUMP_NAMES_H
#define MODFORGE_TOOLS_VELMDUMP_NAMES_H

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "tools/velmdump/velm_module.h"

/// The names, as their bytes stand in the sound module, in symbol order, each once. They live as long as it does.
std::vector<std::string_view> exported_names(const velm_module& module);
std::vector<std::string_view> imported_names(const velm_module& module);

/// Names that are on offer.
class offered_names {
public:
    void add(const velm_module& module);
    /// A list with one name a line, in printable form.
    void add_lines(const std::vector<unsigned char>& list);
    /// Whether it offers the name, as it stands in a module.
    [[nodiscard]] bool has(std::string_view name) const;

private:
    std::unordered_set<std::string> names_;  ///< in printable form
};

#endif

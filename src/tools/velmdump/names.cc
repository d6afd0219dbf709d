// Names from modules and from lists; what is on offer is kept in printable form, as lists have it.
#include "tools/velmdump/names.h"

#include <algorithm>
#include <iterator>

#include "tools/common/text_forms.h"

namespace {

template <typename WANTED> std::vector<std::string_view> names_if(const velm_module& module, WANTED wanted) {
    std::vector<std::string_view> names;
    std::unordered_set<std::uint32_t> seen;  // a sound module has each name at one place
    for (const velm_symbol_record& symbol : module.symbols) {
        if (wanted(symbol) && seen.insert(symbol.name_offset).second)
            names.push_back(module.name(symbol));
    }
    return names;
}

bool is_printable(char c) {
    return c >= ' ' && c <= '~';
}

}  // namespace

std::vector<std::string_view> exported_names(const velm_module& module) {
    return names_if(module, [&module](const velm_symbol_record& symbol) { return module.is_export(symbol); });
}

std::vector<std::string_view> imported_names(const velm_module& module) {
    return names_if(module, [&module](const velm_symbol_record& symbol) { return module.is_import(symbol); });
}

bool offered_names::has(std::string_view name) const {
    return names_.contains(printable(name));
}

void offered_names::add(const velm_module& module) {
    for (const std::string_view name : exported_names(module))
        names_.insert(printable(name));
}

void offered_names::add_lines(const std::vector<unsigned char>& list) {
    for (auto start = list.begin(); start != list.end();) {
        const auto end = std::find(start, list.end(), '\n');
        std::string line(start, end);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        // As exports prints it; bytes that it would not print are taken, too.
        names_.insert(std::all_of(line.begin(), line.end(), is_printable) ? line : printable(line));
        start = end == list.end() ? end : std::next(end);
    }
}

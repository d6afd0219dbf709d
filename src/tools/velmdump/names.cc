#include "tools/velmdump/names.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>

namespace {

template <typename WANTED> std::vector<std::string> names_if(const velm_module& module, WANTED wanted) {
    std::vector<std::string> names;
    std::unordered_set<std::string> seen;
    for (const velm_symbol_record& symbol : module.symbols) {
        if (wanted(symbol) && seen.insert(std::string(module.name(symbol))).second)
            names.emplace_back(module.name(symbol));
    }
    return names;
}

}  // namespace

std::vector<std::string> exported_names(const velm_module& module) {
    return names_if(module, [&module](const velm_symbol_record& symbol) { return module.is_export(symbol); });
}

std::vector<std::string> imported_names(const velm_module& module) {
    return names_if(module, [&module](const velm_symbol_record& symbol) { return module.is_import(symbol); });
}

std::vector<std::string> missing_names(const std::vector<std::string>& wanted, const std::vector<unsigned char>& list) {
    std::unordered_set<std::string> offered;
    for (auto start = list.begin(); start != list.end();) {
        const auto end = std::find(start, list.end(), '\n');
        std::string line(start, end);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        offered.insert(std::move(line));
        start = end == list.end() ? end : end + 1;
    }
    std::vector<std::string> missing;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(missing),
                 [&offered](const std::string& name) { return offered.count(name) == 0; });
    return missing;
}

void print_names(const std::vector<std::string>& names, std::FILE* out) {
    for (const std::string& name : names) {
        std::fwrite(name.data(), 1, name.size(), out);
        std::fputc('\n', out);
    }
}

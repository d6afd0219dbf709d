// Names are looked at once for each place in a string table, however many records share it.
#include "tools/velmdump/diff_names.h"

#include <algorithm>

std::uint32_t name_numbers::of(const velm_module& module, std::uint32_t name_offset) {
    const auto [place, fresh] = places_.try_emplace({&module, name_offset}, 0);
    if (fresh) {
        const auto next = static_cast<std::uint32_t>(numbers_.size());
        place->second = numbers_.try_emplace(module.string(name_offset), next).first->second;
    }
    return place->second;
}

std::vector<named_records> by_name(const velm_module& module, const std::vector<std::uint32_t>& name_offsets) {
    std::map<std::uint32_t, std::vector<std::uint32_t>> by_offset;
    for (std::uint32_t i = 0; i < name_offsets.size(); ++i) {
        if (name_offsets[i] != velm_no_name)
            by_offset[name_offsets[i]].push_back(i);
    }
    std::vector<named_records> result;
    result.reserve(by_offset.size());
    for (auto& [offset, indices] : by_offset)
        result.push_back({module.string(offset), std::move(indices)});
    std::sort(result.begin(), result.end(),
              [](const named_records& a, const named_records& b) { return a.name < b.name; });
    return result;
}

std::vector<std::uint32_t> symbol_numbers::of(const velm_module& module) {
    constexpr std::uint64_t named = std::uint64_t{1} << 32;
    constexpr std::uint64_t in_section = std::uint64_t{2} << 32;
    std::vector<std::uint32_t> result;
    result.reserve(module.symbols.size());
    for (const velm_symbol_record& symbol : module.symbols) {
        identity own{static_cast<std::uint16_t>(symbol.section), symbol.value};
        if (velm_module::is_named(symbol))
            own = {named | names_.of(module, symbol.name_offset), 0};
        else if (symbol.section > 0)
            own.first =
                in_section |
                names_.of(module, module.sections[static_cast<std::size_t>(symbol.section) - 1].header.name_offset);
        result.push_back(numbers_.try_emplace(own, static_cast<std::uint32_t>(numbers_.size())).first->second);
    }
    return result;
}

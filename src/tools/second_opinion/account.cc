// What became of relocations is counted when somebody asks: a conversion does not need it.
#include "tools/second_opinion/account.h"

#include <map>
#include <utility>

#include "tools/second_opinion/facts.h"

namespace second_opinion {

account::account(coff_input&& in, entries&& named, selection&& selected, bool only_symbols)
    : input(std::move(in)), sections(std::move(selected.section_outcomes)),
      symbols(std::move(selected.symbol_outcomes)), module_sections(std::move(selected.sections)),
      section_numbers(std::move(selected.section_numbers)), symbols_only(only_symbols), named_(std::move(named)) {}

const module_section* account::in_module(const section& scn) const {
    const u16 number = section_numbers[scn.number];
    return number == 0 ? nullptr : &module_sections[number - 1U];
}

std::vector<relocation_count> account::relocations_of(const section& scn) const {
    const module_section* const made = in_module(scn);
    std::map<std::pair<u16, relocation_fate>, u32> counts;
    for (u32 i = 0, candidates = 0; i < scn.nreloc; ++i) {
        const u16 type = input->relocation_at(scn, i).type;
        relocation_fate fate = relocation_fate::placed;
        if (symbols_only)
            fate = relocation_fate::symbols_only;
        else if (made == nullptr)
            fate = relocation_fate::section_left_out;
        else if (!made->has_contents)
            fate = relocation_fate::no_contents;
        else if (is_internal(type))
            fate = relocation_fate::internal;
        else if (++candidates > made->placed)
            fate = relocation_fate::outside;
        ++counts[{type, fate}];
    }
    std::vector<relocation_count> result;
    result.reserve(counts.size());
    for (const auto& [key, count] : counts)
        result.push_back({key.first, key.second, count});
    return result;
}

}  // namespace second_opinion

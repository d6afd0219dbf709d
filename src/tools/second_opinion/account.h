// What became of everything in the input of a conversion, and why.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_ACCOUNT_H
#define MODFORGE_TOOLS_SECOND_OPINION_ACCOUNT_H

#include <optional>
#include <vector>

#include "tools/second_opinion/coff_input.h"
#include "tools/second_opinion/entries.h"
#include "tools/second_opinion/selection.h"

namespace second_opinion {

enum class relocation_fate : u8 {
    placed,        ///< in a packet
    symbols_only,  ///< left out, as are all that follow: -s
    section_left_out,
    no_contents,  ///< the section has no packets
    internal,     ///< a type that never goes into a module
    outside,      ///< behind the last packet, or behind such a one
};

/// So many relocations of one section with the same type and fate.
struct relocation_count {
    u16 type = 0;
    relocation_fate fate{};
    u32 count = 0;
};

/// Refers to the request of the conversion, which must outlive it.
struct account {
    std::optional<coff_input> input;
    std::vector<outcome<section_fate>> sections;  ///< as the sections of the input
    std::vector<outcome<symbol_fate>> symbols;    ///< as the symbols of the input
    std::vector<module_section> module_sections;
    std::vector<u16> section_numbers;  ///< in the module, by COFF number
    bool symbols_only = false;

    account() = default;
    account(coff_input&& in, entries&& named, selection&& selected, bool only_symbols);
    account(const account&) = delete;
    account& operator=(const account&) = delete;
    account(account&&) = default;
    account& operator=(account&&) = default;
    ~account() = default;

    /// The module section of a section of the input, null when it was left out.
    [[nodiscard]] const module_section* in_module(const section& scn) const;
    /// All relocations of a section of the input, by type and fate.
    [[nodiscard]] std::vector<relocation_count> relocations_of(const section& scn) const;

private:
    std::optional<entries> named_;  // outcomes point into it
};

}  // namespace second_opinion

#endif

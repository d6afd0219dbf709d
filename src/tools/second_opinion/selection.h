// Which sections and symbols of the input go into the module, and what becomes of each.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_SELECTION_H
#define MODFORGE_TOOLS_SECOND_OPINION_SELECTION_H

#include <string_view>
#include <vector>

#include "tools/second_opinion/coff_input.h"
#include "tools/second_opinion/conversion.h"
#include "tools/second_opinion/entries.h"
#include "tools/second_opinion/name_table.h"

namespace second_opinion {

/// Where the loader calls the module: the symbol that says it, without being in the module for it.
inline constexpr std::string_view entry_symbol = "__DLStart";

enum class section_fate : u8 {
    kept,
    dummy,  ///< left out, as are all that follow
    not_loaded,
    empty,     ///< and no symbol of the module lies in it
    excluded,  ///< by an entries file
    unused,    ///< with -s: no symbol of the module lies in it
};

enum class symbol_fate : u8 {
    exported,
    imported,      ///< undefined: the loader must find it elsewhere
    nameless,      ///< kept for the relocations that refer to it
    class_unkept,  ///< left out, as are all that follow: debugging and other classes that no module has
    not_external,
    undefined,  ///< with -s
    no_entry,   ///< external, but no entries file names it
};

/// What became of a section or symbol, and the entry that decided it, if one did.
template <class fate_type> struct outcome {
    fate_type fate{};
    const entry* by = nullptr;
};

/// A section of the module.
struct module_section {
    const section* from = nullptr;
    bool is_copy = false;
    bool has_contents = false;  ///< and so packets
    u16 flags = 0;
    u32 name_offset = 0;
    u32 run_address = 0, load_address = 0;
    u32 first_packet = 0, packets = 0;  ///< file offset and count
    u32 placed = 0;                     ///< relocations that went into packets
};

struct module_symbol {
    u32 name_offset = 0, value = 0;
    u16 section = 0, sclass = 0;
};

/// The choice, in the order in which a run makes it: what is referred to, then sections, then symbols.
class selection {
public:
    /// All must outlive this object. Marks entries as found, adds to the names. Throws a refusal.
    selection(const conversion_request& request, const coff_input& input, entries& named, name_table& names);

    std::vector<module_section> sections = {};  ///< in module order: number 1 first
    std::vector<module_symbol> symbols = {};
    std::vector<outcome<section_fate>> section_outcomes = {};  ///< by COFF number - 1
    std::vector<outcome<symbol_fate>> symbol_outcomes = {};    ///< by position among the symbols of the input
    std::vector<u16> section_numbers = {};                     ///< in the module, by COFF number; 0: left out
    u32 entry_point = 0;
    u16 entry_section = 0;
    u32 loader_strings = 0;  ///< bytes of the string table up to the last section name

    /// The module symbol of an index into the COFF symbol table, no_symbol when there is none.
    [[nodiscard]] u32 module_index(u32 coff_index) const { return module_index_[coff_index]; }

private:
    void mark_references();
    void select_sections();
    void select_symbols();

    [[nodiscard]] outcome<section_fate> judge(const section& scn) const;
    [[nodiscard]] module_section describe(const section& scn);
    void check_contents(const section& scn);

    [[nodiscard]] bool is_entry(const symbol& sym, const entry*& by);
    [[nodiscard]] outcome<symbol_fate> judge(const symbol& sym, bool referenced);
    void set_entry_point(const symbol& sym);
    [[nodiscard]] outcome<symbol_fate> name_or_hide(const symbol& sym);
    void add(const symbol& sym, symbol_fate fate);
    void check_section_number(const symbol& sym) const;

    const conversion_request& request_;
    const coff_input& input_;
    entries& named_;
    name_table& names_;
    std::vector<bool> referenced_;     // symbols, by COFF index
    std::vector<bool> used_sections_;  // by COFF number
    std::vector<u32> module_index_;
    u64 total_contents_ = 0;
};

}  // namespace second_opinion

#endif

// Symbol by symbol: what no converter writes, and what is legal but may surprise.
#include "tools/velmdump/symbol_checks.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

#include "format/special_names.h"
#include "format/storage_classes.h"
#include "tools/velmdump/checks.h"
#include "tools/velmdump/findings.h"
#include "tools/velmdump/module_words.h"
#include "tools/velmdump/section_checks.h"
#include "tools/velmdump/string_checks.h"
#include "tools/velmdump/velm_module.h"

namespace {

class symbol_checker {
public:
    symbol_checker(const velm_module& module, const sound_parts& parts, finding_list& report)
        : module_(module), parts_(parts), report_(report),
          symbols_only_(parts.header && parts.sections && parts.strings && !begins_with_module_name(module)),
          used_(module.sections.size()) {}

    void check(const velm_symbol_record& symbol, std::uint64_t at) {
        const std::uint64_t before = report_.errors();
        check_record(symbol, at);
        if (report_.errors() == before && symbols_only_)
            check_symbols_only(symbol, at);
        if (symbol.section > 0 && static_cast<std::size_t>(symbol.section) <= used_.size())
            used_[static_cast<std::size_t>(symbol.section) - 1] = true;
        if (report_.errors() == before)
            check_meaning(symbol, at);
    }

    /// A module of symbols only has just the sections of its symbols.
    void check_sections_used() {
        const auto unused = std::find(used_.begin(), used_.end(), false);
        if (symbols_only_ && unused != used_.end() && !report_.has_errors())
            report_.error(module_.sections[static_cast<std::size_t>(unused - used_.begin())].offset,
                          "section without a symbol in a module of symbols only");
    }

private:
    /// What every module keeps to.
    void check_record(const velm_symbol_record& symbol, std::uint64_t at) {
        const bool named = velm_module::is_named(symbol);
        if (!is_accepted_class(symbol.storage_class))
            report_.error(at + offsetof(velm_symbol_record, storage_class), "symbol of class %u", symbol.storage_class);
        else if (named == (symbol.name_offset == velm_no_name))
            report_.error(at, named ? "symbol without a name of class %u" : "symbol with a name of class %u",
                          symbol.storage_class);
        else if (symbol.section > static_cast<int>(module_.header.nscns))
            report_.error(at + offsetof(velm_symbol_record, section), "symbol in section %d of %u", symbol.section,
                          module_.header.nscns);
        else if (!symbols_only_ && named && parts_.strings && module_.name(symbol) == entry_symbol_name)
            report_.error(at, "__DLStart has a name: it is only known as the entry point");
    }

    /// What a module without contents keeps to: nothing in it is relocated, so nothing is imported.
    void check_symbols_only(const velm_symbol_record& symbol, std::uint64_t at) {
        if (symbol.section == 0)
            report_.error(at + offsetof(velm_symbol_record, section),
                          "symbol without a section in a module of symbols only");
        else if (!is_external_class(symbol.storage_class))
            report_.error(at + offsetof(velm_symbol_record, storage_class),
                          "symbol of class %u in a module of symbols only", symbol.storage_class);
    }

    /// What is legal, but may surprise.
    void check_meaning(const velm_symbol_record& symbol, std::uint64_t at) {
        const std::string name = velm_module::is_named(symbol) && parts_.strings ? brief(module_.name(symbol)) : "";
        const char* text = name.c_str();
        if (symbol.section == 0 && !velm_module::is_named(symbol))
            report_.warning(at, "nameless symbol 0x%08X: its section is not in the module", symbol.value);
        else if (symbol.section == 0 && symbol.value != 0)
            report_.warning(at, "symbol %s has a value, but its section is not in the module", text);
        else if (symbol.section < -2)
            report_.warning(at, "symbol %s in section %d", text, symbol.section);
        else if (module_.is_export(symbol) && symbol.section > 0 && parts_.sections)
            check_place(symbol, at, text);
        if (module_.is_export(symbol) && !exported_.insert(symbol.name_offset).second)
            report_.warning(at, "symbol %s is exported twice", text);
    }

    void check_place(const velm_symbol_record& symbol, std::uint64_t at, const char* name) {
        const section_place& section = module_.sections[static_cast<std::size_t>(symbol.section) - 1];
        // A label may stand behind the last unit.
        if (!is_copy_without_address(section) && symbol.value - section.header.paddr > section.header.size)
            report_.warning(at + offsetof(velm_symbol_record, value), "symbol %s at 0x%08X lies outside its section",
                            name, symbol.value);
    }

    const velm_module& module_;
    const sound_parts& parts_;
    finding_list& report_;
    bool symbols_only_;
    std::vector<bool> used_;                      ///< by section: whether a symbol is in it
    std::unordered_set<std::uint32_t> exported_;  ///< name offsets
};

}  // namespace

void check_symbols(const velm_module& module, const sound_parts& parts, finding_list& report) {
    if (!parts.symbols)
        return;
    symbol_checker checker(module, parts, report);
    std::uint64_t at = module.symbol_records();
    for (const velm_symbol_record& symbol : module.symbols) {
        checker.check(symbol, at);
        at += sizeof symbol;
    }
    checker.check_sections_used();
}

// Words for the header, for sections and for fields, as show, map and report have them.
#include "tools/velmdump/module_facts.h"

#include <algorithm>

#include "format/coff_records.h"
#include "format/reloc_types.h"
#include "format/targets.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/words.h"

std::string page_name(std::string_view name) {
    constexpr std::size_t longest = 512;  // bytes, for names that are no names
    return drawn_name(name, longest);
}

std::string_view module_name(const velm_module& module) {
    // It is the first string, which without contents and entry point would be that of a section or a symbol.
    return module.symbols_only() ? std::string_view{} : module.string(0);
}

std::string section_words(const velm_module& module, int number, name_writer written) {
    if (number > 0 && static_cast<std::size_t>(number) <= module.sections.size())
        return written(module.name(module.sections[static_cast<std::size_t>(number) - 1]));
    return number == 0 ? "undefined" : number == -1 ? "absolute" : "section " + std::to_string(number);
}

std::string unit_words(const velm_module& module) {
    int width = target_width(module.header.target_id);
    if (width == 0 && !module.sections.empty())
        width = module.sections.front().width;
    if (width == 0)
        return "address units of unknown width";
    const auto others = static_cast<std::uint64_t>(
        std::count_if(module.sections.begin(), module.sections.end(),
                      [width](const section_place& section) { return section.width != width; }));
    return std::to_string(width) + "-bit address units" +
           (others == 0 ? "" : " (not in " + counted_words(others, "section") + ")");
}

std::string entry_words(const velm_module& module, name_writer written) {
    const velm_filehdr& h = module.header;
    if (h.entry_scn == velm_absolute_entry)
        return hex_word(h.entry_point) + ", absolute";
    if (h.entry_scn == 0)
        return h.entry_point == 0 ? "none" : hex_word(h.entry_point) + " in no section";
    if (h.entry_scn > module.sections.size())
        return hex_word(h.entry_point) + " in section " + std::to_string(h.entry_scn) + ", which does not exist";
    const std::uint32_t start = module.sections[h.entry_scn - 1U].header.paddr;
    return section_words(module, h.entry_scn, written) + "+" + hex_number(h.entry_point) + " (" +
           hex_word(start + h.entry_point) + ")";
}

std::string file_flag_words(std::uint16_t flags) {
    static constexpr struct {
        std::uint16_t bit;
        const char* words;
    } names[] = {{f_relflg, "relocations stripped"},
                 {f_exec, "executable"},
                 {f_lnno_strip, "line numbers stripped"},
                 {f_lsyms_strip, "local symbols stripped"},
                 {f_little, "little-endian contents"},
                 {f_big, "big-endian contents"},
                 {f_symmerge, "tags merged"},
                 {f_icode, "icode added"}};
    char number[16];
    std::snprintf(number, sizeof number, "0x%04X", flags);
    std::string text = number;
    const char* separator = ": ";
    for (const auto& name : names) {
        if ((flags & name.bit) == 0)
            continue;
        text += separator + std::string(name.words);
        separator = ", ";
    }
    if ((flags & f_version) != 0)
        text += separator + std::string("CPU generation ") + std::to_string((flags & f_version) >> 4);
    return text;
}

std::vector<std::pair<std::string, std::string>> module_facts(const velm_module& module, name_writer written) {
    const velm_filehdr& h = module.header;
    const auto count = [&module](auto property) {
        return static_cast<std::uint64_t>(std::count_if(module.symbols.begin(), module.symbols.end(), property));
    };
    char target[16];
    std::snprintf(target, sizeof target, "0x%04X", h.target_id);
    const std::string_view name = module_name(module);
    return {
        {"made from", name.empty() ? "a file that is not on record" : written(name)},
        {"time stamp", time_words(module.verify.timestamp) + " (" + hex_word(module.verify.timestamp) + ")"},
        {"target", target + (", " + unit_words(module))},
        {"file flags", file_flag_words(h.flags)},
        {"entry point", entry_words(module, written)},
        {"size", counted_words(module.size(), "byte") + ", " + grouped(h.strtab_size) + " of them names"},
        {"sections", grouped(h.nscns) + ", " + grouped(h.n_reloc_scns) + " of them relocated"},
        {"symbols",
         grouped(h.nsyms) + ": " + grouped(count([&](const velm_symbol_record& s) { return module.is_export(s); })) +
             " exported, " + grouped(count([&](const velm_symbol_record& s) { return module.is_import(s); })) +
             " imported, " + grouped(count([&](const velm_symbol_record& s) { return !velm_module::is_named(s); })) +
             " nameless"},
    };
}

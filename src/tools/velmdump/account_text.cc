// A list for sections, one for classes, one for symbols, one for relocations; words for each fate.
#include "tools/velmdump/account_text.h"

#include <map>
#include <string>
#include <utility>

#include "coff/listing_text.h"
#include "format/storage_classes.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/module_words.h"

namespace {

using second_opinion::account;
using second_opinion::entry;
using second_opinion::module_section;
using second_opinion::relocation_count;
using second_opinion::relocation_fate;
using second_opinion::section;
using second_opinion::section_fate;
using second_opinion::symbol;
using second_opinion::symbol_fate;

constexpr std::size_t most_of_name = 80;

std::string shown(std::string_view name) {
    return brief(name, most_of_name);
}

/// An entry as its file has it.
std::string as_written(const entry& e) {
    std::string text = e.optional ? "-" : "";
    if (e.marker != '\0')
        text += e.marker;
    return text + shown(e.name) + (e.is_default ? " (always there)" : "");
}

const char* words(section_fate fate) {
    switch (fate) {
    case section_fate::kept:
        return "in the module";
    case section_fate::dummy:
        return "left out: dummy";
    case section_fate::not_loaded:
        return "left out: no-load";
    case section_fate::empty:
        return "left out: empty, and no symbol of the module lies in it";
    case section_fate::excluded:
        return "left out: excluded";
    case section_fate::unused:
        return "left out: no symbol of the module lies in it";
    }
    return "";
}

/// What became of symbol `i`, and whether its section is left out: to a loader it is an import then, whatever exports it.
using shown_fate = std::pair<symbol_fate, bool>;

shown_fate fate_of(const account& told, std::size_t i) {
    const symbol_fate fate = told.symbols[i].fate;
    const std::int16_t number = told.input->symbols[i].scnum;
    return {fate,
            fate == symbol_fate::exported && number > 0 && told.section_numbers[static_cast<std::size_t>(number)] == 0};
}

const char* words(const shown_fate& shown) {
    const auto [fate, left_out] = shown;
    switch (fate) {
    case symbol_fate::exported:
        return left_out ? "imported, as its section is left out" : "exported";
    case symbol_fate::imported:
        return "imported";
    case symbol_fate::nameless:
        return "nameless, for relocations";
    case symbol_fate::class_unkept:
        return "left out: debugging";
    case symbol_fate::not_external:
        return "left out: not external, and no relocation refers to it";
    case symbol_fate::undefined:
        return "left out: undefined";
    case symbol_fate::no_entry:
        return "left out: no entry names it";
    }
    return "";
}

const char* words(relocation_fate fate) {
    switch (fate) {
    case relocation_fate::placed:
        return "in packets";
    case relocation_fate::symbols_only:
        return "left out: only symbols are wanted";
    case relocation_fate::section_left_out:
        return "left out with their section";
    case relocation_fate::no_contents:
        return "left out: the section has no packets";
    case relocation_fate::internal:
        return "left out: the linker's own type";
    case relocation_fate::outside:
        return "left out: outside the packets";
    }
    return "";
}

std::string class_name(int sclass) {
    const char* name = storage_class_name(sclass);
    return name ? name : "class " + std::to_string(sclass);
}

void print_sections(const account& told, std::FILE* out) {
    std::fprintf(out, "%s:\n", counted(told.sections.size(), "section").c_str());
    for (const section& scn : told.input->sections) {
        const auto& result = told.sections[scn.number - 1];
        std::fprintf(out, "  %u %s: %s", scn.number, shown(scn.name).c_str(), words(result.fate));
        if (result.by)
            std::fprintf(out, " by %s", as_written(*result.by).c_str());
        if (const module_section* made = told.in_module(scn))
            std::fprintf(out, " as number %u: %s, %s", unsigned{told.section_numbers[scn.number]},
                         flag_words(made->flags).c_str(), counted(made->packets, "packet").c_str());
        std::fputc('\n', out);
    }
}

void print_classes(const account& told, std::FILE* out) {
    std::map<int, std::map<shown_fate, unsigned long>> classes;
    for (std::size_t i = 0; i < told.symbols.size(); ++i)
        ++classes[told.input->symbols[i].sclass][fate_of(told, i)];
    std::fprintf(out, "%s:\n", counted(told.symbols.size(), "symbol").c_str());
    for (const auto& [sclass, fates] : classes)
        for (const auto& [fate, count] : fates)
            std::fprintf(out, "  %s: %lu %s\n", class_name(sclass).c_str(), count, words(fate));
}

void print_symbols(const account& told, std::FILE* out) {
    for (std::size_t i = 0; i < told.symbols.size(); ++i) {
        const symbol& sym = told.input->symbols[i];
        const auto& result = told.symbols[i];
        if (result.fate == symbol_fate::class_unkept)  // most of the table, and all is said with the class
            continue;
        std::fprintf(out, "  %u %s (%s): %s", sym.index, shown(sym.name).c_str(), class_name(sym.sclass).c_str(),
                     words(fate_of(told, i)));
        if (result.by)
            std::fprintf(out, ", entry %s", as_written(*result.by).c_str());
        if (!told.symbols_only && sym.name == second_opinion::entry_symbol)
            std::fputs(", the entry point", out);
        std::fputc('\n', out);
    }
}

void print_relocations(const account& told, std::FILE* out) {
    unsigned long long total = 0;
    for (const section& scn : told.input->sections)
        total += scn.nreloc;
    std::fprintf(out, "%s:\n", counted(total, "relocation").c_str());
    for (const section& scn : told.input->sections)
        for (const relocation_count& row : told.relocations_of(scn))
            std::fprintf(out, "  %u %s: %u %s: %s\n", scn.number, shown(scn.name).c_str(), row.count,
                         reloc_type_words(row.type).c_str(), words(row.fate));
}

}  // namespace

void print_account(const account& told, std::FILE* out) {
    print_sections(told, out);
    print_classes(told, out);
    print_symbols(told, out);
    print_relocations(told, out);
}

// References first, then sections, then symbols: each stage asks what the one before has found.
#include "tools/second_opinion/selection.h"

#include <algorithm>
#include <string>

#include "tools/second_opinion/facts.h"
#include "tools/second_opinion/refusal.h"

namespace second_opinion {
namespace {

constexpr std::string_view init_tables = ".cinit";

std::string title(const section& scn) {
    return "section " + std::to_string(scn.number) + " (" + std::string(scn.name.substr(0, 60)) + ")";
}

bool is_in_file(const section& scn) {
    return scn.scnptr != 0 && (scn.flags & section_is_bss) == 0 && scn.size != 0;
}

u16 type_of(const section& scn, bool is_copy) {
    if ((scn.flags & section_is_text) != 0)
        return type_code;
    if ((scn.flags & section_is_bss) != 0)
        return type_uninitialised;
    return is_copy && scn.name == init_tables ? type_init_table : type_data;
}

}  // namespace

selection::selection(const conversion_request& request, const coff_input& input, entries& named, name_table& names)
    : entry_point(input.entry_point), entry_section(input.entry_point != 0 ? absolute_entry : u16{0}),
      request_(request), input_(input), named_(named), names_(names) {
    mark_references();
    select_sections();
    select_symbols();
}

// --- what is referred to

void selection::mark_references() {
    referenced_.resize(input_.nsyms);
    for (const section& scn : input_.sections)
        for (u32 i = 0; i < scn.nreloc; ++i) {
            const relocation reloc = input_.relocation_at(scn, i);
            if (!refers_to_symbol(reloc.type, reloc.symndx))
                continue;
            if (reloc.symndx >= input_.nsyms)
                refuse_saying("ERROR: ", "sym_refd array out of bounds");
            referenced_[reloc.symndx] = true;
        }
    used_sections_.resize(input_.sections.size() + 1);
    u32 counter = 0;  // on purpose blind to auxiliary entries
    for (const symbol& sym : input_.symbols) {
        const bool kept = judge(sym, referenced_[counter++]).fate <= symbol_fate::nameless;
        if (kept && sym.scnum > 0) {
            check_section_number(sym);
            used_sections_[static_cast<std::size_t>(sym.scnum)] = true;
        }
    }
}

void selection::check_section_number(const symbol& sym) const {
    if (sym.scnum > static_cast<int>(input_.sections.size()))
        refuse_saying("ERROR: ", "scn_refd array out of bounds");
}

// --- sections

void selection::select_sections() {
    std::vector<module_section> loaded, others, tables, copies;
    for (const section& scn : input_.sections) {
        section_outcomes.push_back(judge(scn));
        if (section_outcomes.back().fate != section_fate::kept)
            continue;
        const module_section made = describe(scn);
        if (made.is_copy)
            ((made.flags & type_mask) == type_init_table ? tables : copies).push_back(made);
        else
            ((made.flags & (module_section_relocated | module_section_has_data)) != 0 ? loaded : others)
                .push_back(made);
    }
    std::reverse(tables.begin(), tables.end());
    section_numbers.resize(input_.sections.size() + 1);
    for (const std::vector<module_section>* group : {&loaded, &others, &tables, &copies})
        for (const module_section& made : *group) {
            sections.push_back(made);
            sections.back().name_offset = names_.add(made.from->name);
            section_numbers[made.from->number] = static_cast<u16>(sections.size());
        }
    loader_strings = names_.size();
}

outcome<section_fate> selection::judge(const section& scn) const {
    const bool used = used_sections_[scn.number];
    if (request_.symbols_only)
        return {used ? section_fate::kept : section_fate::unused};
    if ((scn.flags & section_is_dummy) != 0)
        return {section_fate::dummy};
    if ((scn.flags & section_is_not_loaded) != 0)
        return {section_fate::not_loaded};
    if (scn.width != 8 && scn.width != 16 && scn.width != 32)
        refuse(title(scn) + " has address units of " + std::to_string(scn.width) + " bits");
    // A size that wraps to no bytes is none: where there are contents, they are refused.
    if (scn.byte_size() == 0 && !is_in_file(scn) && !used)
        return {section_fate::empty};
    const entry* const by = named_.everything() ? nullptr : named_.excluding(scn.name);
    return {by != nullptr ? section_fate::excluded : section_fate::kept, by};
}

module_section selection::describe(const section& scn) {
    module_section made{.from = &scn, .run_address = scn.paddr, .load_address = scn.vaddr};
    made.is_copy = (scn.flags & section_is_copy) != 0;
    if (!request_.symbols_only && scn.byte_size() != 0) {
        const bool tables = scn.name == init_tables;
        if (tables && (input_.flags & file_is_executable) == 0 && !request_.keep_cinit)
            made.is_copy = true;  // the loader's work then, not that of the start-up code
        if (scn.scnptr != 0 && (!made.is_copy || tables))
            made.flags |= module_section_has_data;
        if (!made.is_copy && (input_.flags & file_has_no_relocations) == 0)
            made.flags |= module_section_relocated;
    }
    made.flags = static_cast<u16>(made.flags | (scn.flags & section_alignment) | type_of(scn, made.is_copy));
    made.has_contents = !request_.symbols_only && is_in_file(scn);
    if (made.has_contents)
        check_contents(scn);
    return made;
}

void selection::check_contents(const section& scn) {
    const u64 length = u64{scn.width / 8} * scn.size;
    if (length > largest_contents || static_cast<i32>(length) != units_to_bytes(scn.size, scn.width))
        refuse(title(scn) + " has contents of " + std::to_string(length) + " bytes, which is too much");
    if (!input_.holds(scn.scnptr, length))
        refuse("the file does not hold the contents of " + title(scn));
    total_contents_ += length;
    if (total_contents_ > memory_limit(input_.size()))
        refuse("overlapping contents of sections, out of proportion to the file");
}

// --- symbols

bool selection::is_entry(const symbol& sym, const entry*& by) {
    if (named_.everything())
        return true;
    by = named_.exporting(sym, input_.sections);
    return by != nullptr;
}

/// Whether the symbol is kept; if so as nameless, until its name is asked for.
outcome<symbol_fate> selection::judge(const symbol& sym, bool referenced) {
    if (!is_kept_class(sym.sclass))
        return {symbol_fate::class_unkept};
    if (request_.symbols_only && sym.scnum == 0)
        return {symbol_fate::undefined};
    if (referenced && !request_.symbols_only)
        return {symbol_fate::nameless};
    if (!is_external_class(sym.sclass))
        return {symbol_fate::not_external};
    const entry* by = nullptr;
    return {is_entry(sym, by) ? symbol_fate::nameless : symbol_fate::no_entry, by};
}

/// The fate of a kept symbol.
outcome<symbol_fate> selection::name_or_hide(const symbol& sym) {
    if (sym.name == entry_symbol && !request_.symbols_only)
        return {symbol_fate::nameless};  // the entry point travels in the header, not under a name
    const entry* by = nullptr;
    const bool wanted = is_entry(sym, by);  // asked even of undefined symbols: it marks the entry as found
    if (sym.sclass == nameless_class || (!wanted && sym.scnum != 0))
        return {symbol_fate::nameless};
    return {sym.scnum == 0 ? symbol_fate::imported : symbol_fate::exported, by};
}

void selection::select_symbols() {
    module_index_.assign(input_.nsyms, no_symbol);
    symbol_outcomes.reserve(input_.symbols.size());
    for (const symbol& sym : input_.symbols) {
        if (sym.name == entry_symbol)
            set_entry_point(sym);
        outcome<symbol_fate> result = judge(sym, referenced_[sym.index]);
        if (result.fate == symbol_fate::nameless) {
            if (symbols.size() == most_symbols)
                refuse("the module would have more than " + std::to_string(most_symbols) + " symbols");
            check_section_number(sym);
            result = name_or_hide(sym);
            add(sym, result.fate);
        }
        symbol_outcomes.push_back(result);
    }
    if (request_.symbols_only)
        entry_point = entry_section = 0;
}

void selection::set_entry_point(const symbol& sym) {
    if (request_.symbols_only)
        return;
    if (sym.scnum == 0)
        refuse_saying("ERROR: ", "Symbol _DLStart is undefined. Improper linkage for entry point");
    if (sym.scnum > static_cast<int>(input_.sections.size()))
        refuse("_DLStart lies in a section that the file does not have");
    entry_point = sym.value;
    entry_section = absolute_entry;
    if (sym.scnum < 0)
        return;
    const section& scn = input_.sections[static_cast<std::size_t>(sym.scnum) - 1];
    entry_point -= scn.paddr;
    entry_section = section_numbers[scn.number];
}

void selection::add(const symbol& sym, symbol_fate fate) {
    const bool named = fate != symbol_fate::nameless;
    module_index_[sym.index] = static_cast<u32>(symbols.size());
    symbols.push_back(
        {.name_offset = named ? names_.add(sym.name) : no_name,
         .value = sym.value,
         .section = sym.scnum > 0 ? section_numbers[static_cast<std::size_t>(sym.scnum)] : static_cast<u16>(sym.scnum),
         .sclass = named ? static_cast<u16>(sym.sclass) : nameless_class});
}

}  // namespace second_opinion

// Chooses, numbers and names the symbols of the module.
//
// A symbol is kept when a relocation uses it or when it is external and an entries file names it. It keeps its name
// when an entries file names it (exported) or when it is undefined (imported); every other kept symbol is nameless and
// serves relocations only.
#include "convert/symbols.h"

#include <algorithm>
#include <cstring>

#include "coff/coff_section.h"
#include "coff/coff_symbol_table.h"
#include "coff/symbol_view.h"
#include "convert/entries_files.h"
#include "convert/options.h"
#include "convert/string_table.h"
#include "convert/velm_file.h"
#include "format/limits.h"
#include "format/reloc_types.h"
#include "format/special_names.h"
#include "msg/allocation.h"
#include "msg/error_exit.h"

namespace {

/// How many symbols have a class that may be kept. The tables are made that large at once, since each growth touches fresh
/// memory.
std::size_t symbols_expected;

bool is_entry_point(const symbol_view& sym) {
    const char* const name = sym.name();
    return name[0] == '_' && name[1] == '_' && std::strcmp(name, entry_symbol_name) == 0;
}

/// `scnum`, above 0, as an index into the tables by section number. One above the section count ends the run.
std::size_t checked_section(int scnum) {
    if (scnum > coff_file.fh_nscns())
        error_exit("ERROR: scn_refd array out of bounds\n");
    return static_cast<std::size_t>(scnum);
}

/// Whether the number is that of a section which is not marked yet, or of none that exists.
bool may_be_marked(int scnum) {
    return scnum > 0 && (scnum > coff_file.fh_nscns() || scn_refd[static_cast<std::size_t>(scnum)] == 0);
}

void mark_referenced_symbols() {
    const std::uint32_t nsyms = coff_file.fh_nsyms();
    {
        const allocation_scope scope("ERROR: Unable to allocate storage for symbolreferenced table\n");
        sym_refd.assign(nsyms, 0);
    }
    for (int n = 1; n <= coff_file.fh_nscns(); ++n) {
        COFF_SECTION* scn = coff_file.get_section(static_cast<std::int16_t>(n));
        for (const reloc& rec : scn->relocs_read()) {
            if (!is_sym_reloc(rec.r_type, rec.r_symndx))
                continue;
            if (rec.r_symndx >= nsyms)
                error_exit("ERROR: sym_refd array out of bounds\n");
            sym_refd[rec.r_symndx] = 1;
        }
    }
}

void mark_referenced_sections() {
    {
        const allocation_scope scope("ERROR: Unable to allocate storage for sect referenced table\n");
        scn_refd.assign(coff_file.fh_nscns() + std::size_t{1}, 0);
    }
    // On purpose this counter takes no notice of auxiliary entries, unlike the COFF index in init_symbol_table: behind
    // each of them it lags one more. Which sections count as referenced depends on it.
    std::uint32_t counter = 0;
    symbols_expected = 0;
    coff_file.symbol_table()->visit_read([&counter](const symbol_view& sym) {
        const std::uint32_t index = counter++;
        symbols_expected += is_accepted_class(sym.sclass());
        // Once is enough for a section, and what is not asked about here is later. But the entry point is asked about here
        // only, in one case: an entry that names it is found by that.
        if (!may_be_marked(sym.scnum()) && !is_entry_point(sym))
            return;
        if (keep_symbol(sym, index) && sym.scnum() > 0)
            scn_refd[checked_section(sym.scnum())] = 1;
    });
}

std::uint16_t module_class(const symbol_view& sym) {
    if (!symbols_only && is_entry_point(sym))
        return velm_local_class;  // the entry point travels in the header, not under a name
    // What no relocation uses was kept because an entry names it. Asked even for undefined symbols: the question marks
    // the entry as found.
    const bool named = symbols_only || !sym_refd[sym.coff_index()] || is_entries_symbol(sym);
    return named || sym.scnum() == 0 ? static_cast<std::uint16_t>(sym.sclass()) : velm_local_class;
}

std::int16_t module_section(const symbol_view& sym) {
    if (sym.scnum() <= 0)
        return sym.scnum();
    return static_cast<std::int16_t>(c2v_scn_xtbl[checked_section(sym.scnum())]);
}

void make_room_for_symbols() {
    {
        const allocation_scope scope("ERROR: Unable to allocate storage for a VELM symbol\n");
        velm_file.symbols.reserve(std::min(symbols_expected, std::size_t{max_module_symbols}));
    }
    reserve_strings(velm_file.nscns + std::min(symbols_expected, std::size_t{max_module_symbols}));
}

/// Adds the symbol to the module and gives its index there.
std::uint16_t make_symbol(const symbol_view& sym) {
    const allocation_scope scope("ERROR: Unable to allocate storage for a VELM symbol\n");
    if (velm_file.nsyms == max_module_symbols)
        error_exit("ERROR: The module would have more than 65535 symbols\n");
    velm_symbol record;
    record.value = static_cast<std::uint32_t>(sym.value());
    record.storage_class = module_class(sym);
    record.name_offset = record.storage_class == velm_local_class ? velm_no_name : add_to_string_list(sym.hashed());
    record.section = module_section(sym);
    velm_file.symbols.push_back(record);
    return velm_file.nsyms++;
}

}  // namespace

void init_reference_tables() {
    mark_referenced_symbols();
    mark_referenced_sections();
}

bool keep_symbol(const symbol_view& sym, std::uint32_t index) {
    if (!is_accepted_class(sym.sclass()))
        return false;
    const bool external = is_external_class(sym.sclass());
    if (symbols_only)
        return sym.scnum() != 0 && external && is_entries_symbol(sym);
    return sym_refd[index] || (external && is_entries_symbol(sym));
}

void process_entry_pt(const symbol_view& sym) {
    if (symbols_only) {
        velm_file.entry_point = 0;
        velm_file.entry_scn = 0;
        return;
    }
    const int scnum = sym.scnum();
    if (scnum == 0)
        error_exit("ERROR: Symbol _DLStart is undefined. Improper linkage for entry point\n");
    if (scnum > coff_file.fh_nscns())
        error_exit("ERROR: Symbol _DLStart lies in section %d, but there are only %d\n", scnum, coff_file.fh_nscns());
    velm_file.entry_point = static_cast<std::uint32_t>(sym.value());
    velm_file.entry_scn = velm_absolute_entry;
    if (scnum < 0)
        return;  // absolute: the value is the address
    velm_file.entry_point -= coff_file.get_section(static_cast<std::int16_t>(scnum))->sh_paddr();
    velm_file.entry_scn = c2v_scn_xtbl[static_cast<std::size_t>(scnum)];
}

void init_symbol_table() {
    COFF_SYMBOL_TABLE* table = coff_file.symbol_table();
    {
        const allocation_scope scope("ERROR: Unable to allocate storage for sym xlation table\n");
        c2v_symbol_xtbl.assign(table->n_syms(), no_velm_symbol);
    }
    make_room_for_symbols();
    table->visit_read([](const symbol_view& sym) {
        if (is_entry_point(sym))
            process_entry_pt(sym);
        if (keep_symbol(sym, sym.coff_index()))  // the slot of an auxiliary entry stays empty
            c2v_symbol_xtbl[sym.coff_index()] = make_symbol(sym);
    });
}

// Which symbols of the input become symbols of the module, under which names; and the entry point.
#ifndef MODFORGE_CONVERT_SYMBOLS_H
#define MODFORGE_CONVERT_SYMBOLS_H

#include <cstdint>

class symbol_view;

/// Fills sym_refd and scn_refd. A relocation whose symbol does not exist, and a kept symbol whose section does not,
/// end the run.
void init_reference_tables();

/// Whether the symbol goes into the module. `index` is the place in sym_refd to look at.
bool keep_symbol(const symbol_view& sym, std::uint32_t index);

/// Takes the module's entry point from the symbol, which is named as entry_symbol_name says.
void process_entry_pt(const symbol_view& sym);

/// Builds c2v_symbol_xtbl and the module's symbols. Needs the section numbers of init_sect_hdrs().
void init_symbol_table();

#endif

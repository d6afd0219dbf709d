// Builds the header of the module, runs the building of the model in its order, and tears it down.
#include "convert/velm_file.h"

#include "convert/entries_files.h"
#include "convert/file_names.h"
#include "convert/options.h"
#include "convert/sections.h"
#include "convert/string_table.h"
#include "convert/symbols.h"
#include "msg/allocation.h"

velm_file::velm_file() : velm_filehdr{}, velm_verifyrec{} {}

velm_file::~velm_file() = default;

void init_filehdr() {
    static_cast<velm_filehdr&>(velm_file) = velm_filehdr{};
    velm_file.byte_order_mark = velm_byte_order_mark;
    velm_file.flags = coff_file.fh_flags();
    velm_file.target_id = coff_file.fh_target_id();
    if (symbols_only)
        return;
    // Without an optional header this is 0xFFFFFFFF, and stays so on purpose: an entry point that nobody set.
    velm_file.entry_point = coff_file.ofh_entrypt();
    velm_file.entry_scn = velm_file.entry_point != 0 ? velm_absolute_entry : std::uint16_t{0};
}

void init_verifyrec() {
    static_cast<velm_verifyrec&>(velm_file) = velm_verifyrec{};
    velm_file.timestamp = static_cast<std::uint32_t>(coff_file.fh_timdat());
}

void init_string_table() {
    if (symbols_only)
        return;
    {
        // Most names will come out of the input's string table; what is not used of the room costs nothing.
        const allocation_scope scope("ERROR: Unable to allocate storage for the string table\n");
        velm_file.strings.reserve(coff_file.strtab_size() + std::size_t{4096});
    }
    add_to_string_list(fn_basename(filename_in));
    velm_file.max_str_len = 0;  // the module's own name never counts as the longest string
}

void init_velm_file() {
    init_filehdr();
    init_verifyrec();
    init_string_table();
    init_reference_tables();
    init_sect_hdrs();
    init_symbol_table();
    if (warn_missing_symbols)
        report_missing_symbols();
    // c2v_symbol_xtbl stays: relocations are translated through it.
    c2v_scn_xtbl = {};
    sym_refd = {};
    scn_refd = {};
}

void cleanup_str_tab() {
    str_table_buf = nullptr;
    velm_file.strings = {};
    velm_file.string_offsets.clear();
}

void cleanup_im_n_relocs() {
    velm_file.packets = {};
}

void cleanup_sect_hdrs() {
    velm_file.sections = std::vector<velm_scnhdr>();
}

void cleanup_symbols() {
    velm_file.symbols = {};
}

void cleanup_velm() {
    cleanup_str_tab();
    cleanup_im_n_relocs();
    cleanup_sect_hdrs();
    cleanup_symbols();
    cleanup_entries_lists();
    c2v_symbol_xtbl = {};
    release_filename_out();
}

// The module in memory: everything that the writer will write, except contents, which stay in the input until then.
//
// Flat tables, each in the order of the file, each record beginning with its bytes in the file.
#ifndef MODFORGE_CONVERT_VELM_FILE_H
#define MODFORGE_CONVERT_VELM_FILE_H

#include <cstdint>
#include <vector>

#include "coff/coff_file.h"
#include "containers/name_index.h"
#include "format/module_format.h"
#include "format/reloc_record.h"

/// The relocations of one section, in the order of the COFF file, with a cursor that packet cutting moves.
struct velm_reloc_table {
    std::uint32_t nreloc;       ///< number of records
    std::uint32_t reloc_start;  ///< cursor: first record not yet placed in a packet
    reloc_record* reloc_table;  ///< nreloc records, or null when there are none; the COFF section's own
};

/// The kinds of sections, in the order in which they lie in the module.
enum class scn_group : std::uint8_t {
    loaded,      ///< no copy section, with contents or relocated
    other,       ///< no copy section, neither
    init_table,  ///< copy section with initialisation tables; the last one of the input comes first
    copy,        ///< any other copy section
};

/// A kept section. Begins with its record in the file; the rest lives in memory only.
struct velm_scnhdr : velm_scnhdr_record {
    std::int64_t contents;  ///< where they begin in the input, bytes from the start of its stream; -1 for none
    const unsigned char*
        raw_data;              ///< the contents in memory, the COFF section's own; null while they are in the input
    velm_reloc_table relocs;   ///< in COFF order
    const char* coff_name;     ///< owned by the COFF section
    std::uint32_t coff_scnum;  ///< counts from 1
    std::uint16_t wordsz;      ///< bits of one address unit
    scn_group group;
    bool field_passes_packet;  ///< some packet took a relocation whose field reaches past the packet's end
};
using scnhdrlist_entry = velm_scnhdr;

/// A kept symbol: its index in the module is its place in the table.
using velm_symbol = velm_symbol_record;

/// A piece of a section's contents with the relocations inside it: as many as the packet holds, from where the packet
/// before it ends.
struct image_packet {
    std::uint32_t data_size;  ///< bytes of contents, padding not counted
    std::uint32_t nreloc;
};

/// The one module of a run. Header and verification record come first, as they lie in the file.
class velm_file : public velm_filehdr, public velm_verifyrec {
public:
    velm_file();
    ~velm_file();
    velm_file(const velm_file&) = delete;
    velm_file& operator=(const velm_file&) = delete;

    std::vector<char> strings;          ///< the string table, strtab_size bytes
    std::vector<velm_scnhdr> sections;  ///< group by group
    std::vector<velm_symbol> symbols;
    std::vector<image_packet> packets;  ///< of the first section with contents, of the second ...; npackets of each
    name_index string_offsets;          ///< finds in `strings`
};

/// What c2v_symbol_xtbl holds for a symbol that is not in the module.
inline constexpr std::uint16_t no_velm_symbol = 0xFFFF;

extern COFF_FILE coff_file;                         ///< the input
extern class velm_file velm_file;                   ///< the module
extern std::vector<std::uint16_t> c2v_scn_xtbl;     ///< COFF section number to module's; 0: dropped
extern std::vector<std::uint16_t> c2v_symbol_xtbl;  ///< COFF symbol index to module's; no_velm_symbol: dropped
extern std::vector<std::uint8_t> sym_refd;          ///< by COFF symbol index: some relocation uses it
extern std::vector<std::uint8_t> scn_refd;          ///< by COFF section number: some kept symbol lies in it

/// Builds the whole model from coff_file, the options and the entries files; only packets and checksums are left for
/// later. A fault in the input ends the run with a message.
void init_velm_file();

/// Fills the file header from the COFF header; the counts start at 0.
void init_filehdr();
/// Takes over the time stamp; the checksums start at 0.
void init_verifyrec();
/// Puts the input's base name first into the string table, unless only symbols are wanted.
void init_string_table();

/// Frees the model, the entries and the output name, in the order of the steps below.
void cleanup_velm();
void cleanup_str_tab();
void cleanup_im_n_relocs();
void cleanup_sect_hdrs();
void cleanup_symbols();

#endif

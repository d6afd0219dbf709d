// The module in memory: everything that the writer will write, and who owns it.
//
// The lists hold plain pointers in the order of the file; the pools behind them own the records. So an early end of the
// run frees everything, however far the model had come.
#ifndef MODFORGE_CONVERT_VELM_FILE_H
#define MODFORGE_CONVERT_VELM_FILE_H

#include <cstdint>
#include <memory>
#include <vector>

#include "coff/coff_file.h"
#include "containers/name_index.h"
#include "containers/record_pool.h"
#include "containers/slist.h"
#include "format/module_format.h"
#include "format/reloc_record.h"

/// One name of the module's string table.
struct string_entry {
    const char* name;      ///< not owned
    std::uint32_t offset;  ///< bytes from the start of the table
};

/// The relocations of one section, in the order of the COFF file, with a cursor that packet cutting moves.
struct velm_reloc_table {
    std::uint32_t nreloc;        ///< number of records
    std::uint32_t reloc_start;   ///< cursor: first record not yet placed in a packet
    reloc_record** reloc_table;  ///< nreloc pointers, or null when there are none; owned by the module model
};

/// A kept section. Begins with its record in the file; the rest lives in memory only.
struct velm_scnhdr : velm_scnhdr_record {
    const unsigned char* raw_data;  ///< contents, owned by the COFF section; null when there are none to carry
    velm_reloc_table relocs;        ///< in COFF order
    const char* coff_name;          ///< owned by the COFF section
    std::uint16_t wordsz;           ///< bits of one address unit
    std::uint32_t coff_scnum;       ///< counts from 1
    bool field_passes_packet;       ///< some packet took a relocation whose field reaches past the packet's end

    std::unique_ptr<reloc_record[]> reloc_storage;    ///< owns what relocs points to
    std::unique_ptr<reloc_record*[]> reloc_pointers;  ///< owns relocs.reloc_table
};
using scnhdrlist_entry = velm_scnhdr;

/// A kept symbol. Begins with its record in the file.
struct velm_symbol : velm_symbol_record {
    const char* coff_name;  ///< owned by the COFF symbol table
    std::uint32_t index;    ///< position in the module's symbol table, from 0
};

/// A piece of a section's contents and the relocations inside it. Begins with its header in the file.
struct image_packet : velm_packet_header {
    std::unique_ptr<std::uint32_t[]> data;  ///< data_size bytes, zero bytes up to a multiple of 4
    SLIST relocs;                           ///< reloc_record*, owned by the section's relocation table
};

/// The one module of a run. Header and verification record come first, as they lie in the file.
class velm_file : public velm_filehdr, public velm_verifyrec {
public:
    velm_file();
    ~velm_file();
    velm_file(const velm_file&) = delete;
    velm_file& operator=(const velm_file&) = delete;

    SLIST strings;          ///< string_entry*, in order of addition
    SLIST loaded_sections;  ///< velm_scnhdr*: not copy sections, with contents or relocated
    SLIST other_sections;   ///< velm_scnhdr*: not copy sections, neither
    SLIST copy_sections;    ///< velm_scnhdr*: copy sections, initialisation tables first
    SLIST symbols;          ///< velm_symbol*, in index order
    SLIST packets;          ///< SLIST* of image_packet*, one list per section with contents

    record_pool<string_entry> string_pool;
    record_pool<velm_scnhdr> section_pool;
    record_pool<velm_symbol> symbol_pool;
    record_pool<image_packet> packet_pool;
    record_pool<SLIST> packet_list_pool;
    name_index string_offsets;  ///< finds in `strings` without walking it
    std::unique_ptr<std::uint32_t[]> string_table;

    /// The three groups of sections, in the order of the file.
    SLIST* const section_groups[3] = {&loaded_sections, &other_sections, &copy_sections};
};

extern COFF_FILE coff_file;                        ///< the input
extern class velm_file velm_file;                  ///< the module
extern std::vector<std::uint16_t> c2v_scn_xtbl;    ///< COFF section number to module's; 0: dropped
extern std::vector<velm_symbol*> c2v_symbol_xtbl;  ///< COFF symbol index to module symbol; null: dropped
extern std::vector<std::uint8_t> sym_refd;         ///< by COFF symbol index: some relocation uses it
extern std::vector<std::uint8_t> scn_refd;         ///< by COFF section number: some kept symbol lies in it

/// Builds the whole model from coff_file, the options and the entries files; only packets, the string table's buffer
/// and checksums are left for later. A fault in the input ends the run with a message.
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

/// How many bytes the input justifies for one kind of table whose parts may overlap in the file: without a bound, a
/// file of 2 MB could ask for gigabytes.
std::uint64_t proportionate_size();

#endif

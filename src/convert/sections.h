// Which sections of the input become sections of the module, in which order, with which flags and relocations.
#ifndef MODFORGE_CONVERT_SECTIONS_H
#define MODFORGE_CONVERT_SECTIONS_H

#include "convert/velm_file.h"

class COFF_SECTION;

/// Whether the section goes into the module. A memory width that does not exist, where the size in bytes is needed,
/// ends the run.
bool keep_section(COFF_SECTION* scn);

/// Builds c2v_scn_xtbl and the section headers, puts these into the order of the module, numbers and names them.
void init_sect_hdrs();

/// Computes hdr->flags. May make ".cinit" a copy section in the input itself; counts the relocated sections.
void init_sect_flags(velm_scnhdr* hdr, COFF_SECTION* scn);

/// Takes the section's relocations, types 0x5000 to 0x5002 left out, over into hdr->relocs.
void init_sect_relocs(COFF_SECTION* scn, scnhdrlist_entry* hdr);

#endif

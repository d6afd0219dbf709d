// Writes the finished model as a binary module or as C-style text.
#ifndef MODFORGE_OUTPUT_VELM_WRITER_H
#define MODFORGE_OUTPUT_VELM_WRITER_H

#include <cstdio>

/// Writes the whole module into filename_out. Returns the result of closing the file, 0; what cannot be written ends
/// the run with a message, and a partly written file stays.
int write_velm();

/// Writes `size` * `count` bytes, a multiple of 4, in the mode of the run: as they are, or each 32-bit word in host
/// order as text. Goes through a buffer: what `stream` has received is complete only after write_velm().
void write_data(const void* buf, unsigned size, unsigned count, std::FILE* stream);

void write_section_headers(std::FILE* stream);
void write_symbol_table(std::FILE* stream);
/// Every image packet: header, padded data, relocation records. The contents come out of the input while this writes,
/// and the packets' checksums with them.
void write_im_n_relocs(std::FILE* stream);

/// Prints the names of the exported symbols of the module on standard output. No option asks for it yet.
void dump_exported_symbols_list();

#endif

// Fills in the checksums of the finished model.
#ifndef MODFORGE_PACKETS_MODULE_CHECKSUMS_H
#define MODFORGE_PACKETS_MODULE_CHECKSUMS_H

/// Computes every checksum of velm_file, in the one order in which they depend on each other. Nothing that they cover
/// may change afterwards.
void build_checksums();

void build_string_table_checksum();
void build_sect_hdr_checksum();
void build_symbol_table_checksum();
/// One checksum for each image packet.
void build_packet_checksum();

#endif

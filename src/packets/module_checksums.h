// Fills in the checksums of the finished model.
#ifndef MODFORGE_PACKETS_MODULE_CHECKSUMS_H
#define MODFORGE_PACKETS_MODULE_CHECKSUMS_H

#include <cstdint>

#include "convert/velm_file.h"

/// Computes every checksum of velm_file but those of the packets, in the one order in which they depend on each other.
/// Nothing that they cover may change afterwards.
void build_checksums();

void build_string_table_checksum();
void build_sect_hdr_checksum();
void build_symbol_table_checksum();

/// The checksum of a packet, whose contents come by when it is written: `contents_sum` is the sum of their words,
/// padding included, and `relocs` the packet's first record.
std::uint32_t build_packet_checksum(const image_packet& packet, std::uint32_t contents_sum, const reloc_record* relocs);

#endif

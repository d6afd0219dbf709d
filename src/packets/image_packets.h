// Lays the module out and cuts the contents of its sections into image packets.
#ifndef MODFORGE_PACKETS_IMAGE_PACKETS_H
#define MODFORGE_PACKETS_IMAGE_PACKETS_H

#include <cstdint>

#include "convert/velm_file.h"

/// The running offset in the output file, bytes; only grows. Behind the last packet it is the file's length.
extern std::uint32_t cur_byte_offset;

/// Bytes of a packet's contents in the module, zero bytes up to a multiple of 4 included.
constexpr std::uint32_t padded_size(const image_packet& packet) {
    return (packet.data_size + 3) & ~std::uint32_t{3};
}

/// Completes the model: file offsets, packets, string table, checksums. A module of 4 GiB or more, and a section that
/// cannot be cut, end the run.
void build_velm();

/// Makes the packets of every section with contents, in the order of the file.
void build_image_n_reloc_packets();

/// Makes the packets of one section, whose contents are there.
void split_up_section(scnhdrlist_entry* entry);

#endif

// Places the relocations of a section in its image packets and rewrites them for the module.
#ifndef MODFORGE_PACKETS_RELOC_LIST_H
#define MODFORGE_PACKETS_RELOC_LIST_H

#include <cstdint>

#include "convert/velm_file.h"
#include "format/address_units.h"

/// The address of an untranslated record, in bytes.
inline std::int32_t get_reloc_addr(const reloc_record* rec, int width) {
    return AUtobyte(static_cast<std::int32_t>(rec->r_vaddr), width);
}

/// Translates one record in place: its address becomes `offset_in_packet` (bytes), in address units of `width` bits;
/// its COFF symbol becomes the module's. A symbol that is not in the module ends the run.
void xlate_reloc(reloc_record* rec, std::int32_t offset_in_packet, int width);

/// Moves the table's cursor, which is on a record at `byte_addr`, back to the first of the records before it that share
/// this address. Stops at `low` - 1 when every record from `low` on shares it. Reads no record below `low`.
void find_first_reloc(velm_reloc_table* table, std::int32_t byte_addr, int width, std::int32_t low);

/// Decides which relocations lie in the packet that starts `packet_start` bytes into the section, and translates them:
/// they are those from where the table's cursor was to where it is then. `*packet_size`, the proposed length in bytes,
/// shrinks so that no relocated field crosses the packet's end; 0 or less when that leaves nothing. Returns the number
/// of records.
std::int32_t build_reloc_list(scnhdrlist_entry* entry, std::int32_t packet_start, std::int32_t* packet_size);

/// Reverses the bytes of `*word` in place and returns the result.
std::uint32_t swap4(std::uint32_t* word);

#endif

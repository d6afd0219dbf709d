// Cuts the contents of sections into image packets.
//
// Packets are counted in bytes of contents; positions inside relocation records in address units. Everything is laid
// out before a byte is written: a section header holds the file offset of its first packet.
#include "packets/image_packets.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "convert/options.h"
#include "convert/string_table.h"
#include "format/address_units.h"
#include "msg/allocation.h"
#include "msg/error_exit.h"
#include "packets/module_checksums.h"
#include "packets/reloc_list.h"

std::uint32_t cur_byte_offset;

namespace {

constexpr std::uint64_t padded(std::uint64_t bytes) {
    return (bytes + 3) & ~std::uint64_t{3};
}

/// Adds `bytes` to the running offset. An offset that its 32 bits cannot hold ends the run.
void advance_offset(std::uint64_t bytes) {
    const std::uint64_t offset = cur_byte_offset + bytes;
    if (offset > UINT32_MAX)
        error_exit("ERROR: The module would have 4 GiB or more\n");
    cur_byte_offset = static_cast<std::uint32_t>(offset);
}

/// Whether some relocation lies below the section's start or below the one before it.
bool out_of_order(const scnhdrlist_entry& entry) {
    const auto base = static_cast<std::uint32_t>(AUtobyte(static_cast<std::int32_t>(entry.vaddr), entry.wordsz));
    std::int32_t last = 0;  // bytes from the start of the section
    for (std::uint32_t i = 0; i < entry.relocs.nreloc; ++i) {
        const auto addr = static_cast<std::uint32_t>(get_reloc_addr(entry.relocs.reloc_table[i], entry.wordsz));
        const auto off = static_cast<std::int32_t>(addr - base);
        if (off < last)
            return true;
        last = off;
    }
    return false;
}

SLIST* new_packet_list() {
    const allocation_scope scope("ERROR: Unable to allocate image and reloc list\n");
    return velm_file.packet_list_pool.make();
}

image_packet* new_packet() {
    const allocation_scope scope("ERROR: Unable to allocate image entry\n");
    return velm_file.packet_pool.make();
}

void fill_packet(image_packet& packet, const unsigned char* source, std::uint32_t size) {
    const std::size_t words = padded(size) / 4;
    packet.data = std::make_unique_for_overwrite<std::uint32_t[]>(words);
    packet.data[words - 1] = 0;
    std::memcpy(packet.data.get(), source, size);
    packet.data_size = size;
}

/// Cuts the packet that starts `start` bytes into the section, out of at most `remaining` bytes, and lays it out.
image_packet* cut_packet(scnhdrlist_entry* entry, std::int32_t start, std::int32_t remaining) {
    image_packet* packet = new_packet();
    ++entry->npackets;
    std::int32_t size = std::min(remaining, image_packet_size);
    {
        const allocation_scope scope("ERROR: Unable to allocate reloc list\n");
        packet->nreloc = static_cast<std::uint32_t>(build_reloc_list(entry, start, &size, &packet->relocs));
    }
    if (size <= 0)
        error_exit("ERROR: Cannot cut section %s at byte %d: a relocated field leaves no packet\n", entry->coff_name,
                   start);
    fill_packet(*packet, entry->raw_data + start, static_cast<std::uint32_t>(size));
    advance_offset(sizeof(velm_packet_header) + padded(packet->data_size) +
                   sizeof(reloc_record) * std::uint64_t{packet->nreloc});
    return packet;
}

void layout_before_packets() {
    cur_byte_offset = velm_strtab_offset;
    advance_offset(padded(velm_file.strtab_size));
    advance_offset(sizeof(velm_scnhdr_record) * std::uint64_t{velm_file.nscns});
    advance_offset(sizeof(velm_symbol_record) * std::uint64_t{velm_file.nsyms});
}

}  // namespace

void build_velm() {
    layout_before_packets();
    if (!symbols_only)
        build_image_n_reloc_packets();
    string_table_create();
    build_checksums();
}

void build_image_n_reloc_packets() {
    for (SLIST* group : velm_file.section_groups) {
        for (velm_scnhdr* section : items<velm_scnhdr>(*group)) {
            if (!section->raw_data)
                continue;
            section->first_packet = cur_byte_offset;
            split_up_section(section);
            // Only now: placing the relocations needed the real load address.
            if (group == &velm_file.copy_sections)
                section->paddr = section->vaddr = 0;
        }
    }
}

void split_up_section(scnhdrlist_entry* entry) {
    SLIST* packets = new_packet_list();
    // Asked first: cutting turns addresses into offsets.
    bool suspicious = out_of_order(*entry);
    const std::int32_t length = AUtobyte(static_cast<std::int32_t>(entry->size), entry->wordsz);
    for (std::int32_t start = 0; start < length;) {
        image_packet* packet = cut_packet(entry, start, length - start);
        packets->append(packet);
        start += static_cast<std::int32_t>(packet->data_size);
    }
    velm_file.packets.append(packets);
    suspicious |= entry->field_passes_packet || entry->relocs.reloc_start < entry->relocs.nreloc;
    if (suspicious)
        std::fprintf(stderr, "WARNING: Section %s: relocations out of order or outside its packets\n",
                     entry->coff_name);
}

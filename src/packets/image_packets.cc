// Cuts the contents of sections into image packets.
//
// Packets are counted in bytes of contents; positions inside relocation records in address units. Everything is laid
// out before a byte is written: a section header holds the file offset of its first packet. Sizes and relocations are
// enough for that; the contents stay in the input until they are written.
#include "packets/image_packets.h"

#include <algorithm>
#include <cstdio>

#include "convert/options.h"
#include "convert/string_table.h"
#include "format/address_units.h"
#include "msg/allocation.h"
#include "msg/error_exit.h"
#include "packets/module_checksums.h"
#include "packets/reloc_list.h"

std::uint32_t cur_byte_offset;

namespace {

/// Bytes of contents that the section's packets carry.
std::int32_t length_of(const scnhdrlist_entry& entry) {
    return AUtobyte(static_cast<std::int32_t>(entry.size), entry.wordsz);
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
        const auto addr = static_cast<std::uint32_t>(get_reloc_addr(&entry.relocs.reloc_table[i], entry.wordsz));
        const auto off = static_cast<std::int32_t>(addr - base);
        if (off < last)
            return true;
        last = off;
    }
    return false;
}

/// Makes room for the packets that the sizes of the sections lead to; relocated fields may cut more of them.
void reserve_packets() {
    const allocation_scope scope("ERROR: Unable to allocate image and reloc list\n");
    std::size_t count = 0;
    for (const velm_scnhdr& section : velm_file.sections) {
        if (section.contents >= 0)
            count += static_cast<std::size_t>((length_of(section) - 1) / image_packet_size + 1);
    }
    velm_file.packets.reserve(count);
}

void add_packet(const image_packet& packet) {
    const allocation_scope scope("ERROR: Unable to allocate image entry\n");
    velm_file.packets.push_back(packet);
}

/// Cuts the packet that starts `start` bytes into the section, out of at most `remaining` bytes, and lays it out.
/// Returns its size in bytes of contents.
std::int32_t cut_packet(scnhdrlist_entry* entry, std::int32_t start, std::int32_t remaining) {
    ++entry->npackets;
    std::int32_t size = std::min(remaining, image_packet_size);
    const auto nreloc = static_cast<std::uint32_t>(build_reloc_list(entry, start, &size));
    if (size <= 0)
        error_exit("ERROR: Cannot cut section %s at byte %d: a relocated field leaves no packet\n", entry->coff_name,
                   start);
    const image_packet packet = {static_cast<std::uint32_t>(size), nreloc};
    add_packet(packet);
    advance_offset(sizeof(velm_packet_header) + padded_size(packet) + sizeof(reloc_record) * std::uint64_t{nreloc});
    return size;
}

void layout_before_packets() {
    cur_byte_offset = velm_strtab_offset;
    advance_offset((velm_file.strtab_size + std::uint64_t{3}) & ~std::uint64_t{3});
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
    reserve_packets();
    for (velm_scnhdr& section : velm_file.sections) {
        if (section.contents < 0)
            continue;
        section.first_packet = cur_byte_offset;
        split_up_section(&section);
        // Only now: placing the relocations needed the real load address.
        if (section.group == scn_group::init_table || section.group == scn_group::copy)
            section.paddr = section.vaddr = 0;
    }
}

void split_up_section(scnhdrlist_entry* entry) {
    // Asked first: cutting turns addresses into offsets.
    bool suspicious = out_of_order(*entry);
    const std::int32_t length = length_of(*entry);
    for (std::int32_t start = 0; start < length;)
        start += cut_packet(entry, start, length - start);
    suspicious |= entry->field_passes_packet || entry->relocs.reloc_start < entry->relocs.nreloc;
    if (suspicious)
        std::fprintf(stderr, "WARNING: Section %s: relocations out of order or outside its packets\n",
                     entry->coff_name);
}

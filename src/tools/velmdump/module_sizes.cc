// Every byte of a section's packets counted under one head.
#include "tools/velmdump/module_sizes.h"

#include <algorithm>

size_shares& size_shares::operator+=(const size_shares& other) {
    code += other.code;
    data += other.data;
    bss += other.bss;
    relocs += other.relocs;
    packets += other.packets;
    return *this;
}

std::uint64_t memory_bytes(const section_place& section) {
    return std::max(section.contents_size,
                    std::uint64_t{section.header.size} * (static_cast<unsigned>(section.width) / 8U));
}

size_shares sizes_of(const velm_module& module, const section_place& section) {
    size_shares shares;
    const bool is_code = (section.header.flags & velm_scn_type_mask) == velm_scn_code;
    (is_code ? shares.code : shares.data) = section.contents_size;
    shares.bss = memory_bytes(section) - section.contents_size;
    shares.relocs = section.nreloc * sizeof(reloc_record);
    for (const packet_place& packet : module.packets(section))
        shares.packets += sizeof(velm_packet_header) + packet.padded_size() - packet.header.data_size;
    return shares;
}

size_shares sizes_of(const velm_module& module) {
    size_shares shares;
    for (const section_place& section : module.sections)
        shares += sizes_of(module, section);
    return shares;
}

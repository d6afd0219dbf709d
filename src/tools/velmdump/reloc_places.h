// Where the relocations of a section lie.
#ifndef MODFORGE_TOOLS_VELMDUMP_RELOC_PLACES_H
#define MODFORGE_TOOLS_VELMDUMP_RELOC_PLACES_H

#include <cstdint>
#include <vector>

#include "tools/velmdump/velm_module.h"

struct reloc_place {
    const packet_place& packet;
    reloc_record record;    ///< its r_vaddr counts from the start of the packet
    std::uint64_t offset;   ///< from the start of the section, address units; never wraps
    std::uint32_t address;  ///< run address of the place, which wraps as the target's addresses do
};

/// Calls `visit` with the reloc_place of each relocation, in the order of the module.
template <typename VISIT>
void for_each_reloc(const velm_module& module, const section_place& section, const packet_place& packet,
                    std::uint64_t packet_start, VISIT visit) {
    const std::uint64_t start = packet_start / (static_cast<unsigned>(section.width) / 8U);
    for (std::uint32_t i = 0; i < packet.header.nreloc; ++i) {
        const reloc_record record = module.reloc(packet, i);
        const std::uint64_t offset = start + record.r_vaddr;
        visit(reloc_place{packet, record, offset, static_cast<std::uint32_t>(section.header.paddr + offset)});
    }
}

template <typename VISIT> void for_each_reloc(const velm_module& module, const section_place& section, VISIT visit) {
    std::uint64_t start = 0;  // bytes from the start of the section
    for (const packet_place& packet : module.packets(section)) {
        for_each_reloc(module, section, packet, start, visit);
        start += packet.header.data_size;
    }
}

/// How many relocations refer to each symbol of the module.
std::vector<std::uint64_t> uses_of_symbols(const velm_module& module);

#endif

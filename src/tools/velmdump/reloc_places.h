// Where the relocations of a section lie.
#ifndef MODFORGE_TOOLS_VELMDUMP_RELOC_PLACES_H
#define MODFORGE_TOOLS_VELMDUMP_RELOC_PLACES_H

#include <cstdint>
#include <vector>

#include "tools/velmdump/velm_module.h"

struct reloc_place {
    const packet_place& packet;
    reloc_record record;    ///< its r_vaddr counts from the start of the packet
    std::int64_t offset;    ///< from the start of the section, address units; negative when it lies before it
    std::uint32_t address;  ///< run address of the place
};

/// Calls `visit` with the reloc_place of each relocation, in the order of the module.
template <typename VISIT>
void for_each_reloc(const velm_module& module, const section_place& section, const packet_place& packet,
                    std::uint64_t packet_start, VISIT visit) {
    for (std::uint32_t i = 0; i < packet.header.nreloc; ++i) {
        const reloc_record record = module.reloc(packet, i);
        const std::int64_t offset = section.place(record, packet_start);
        visit(reloc_place{packet, record, offset, section.run_address(offset)});
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

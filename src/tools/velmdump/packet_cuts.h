// Where a converter would have cut the contents of sections into packets.
#ifndef MODFORGE_TOOLS_VELMDUMP_PACKET_CUTS_H
#define MODFORGE_TOOLS_VELMDUMP_PACKET_CUTS_H

#include <cstddef>
#include <cstdint>
#include <vector>

class finding_list;

/// The packets of one section as they are. Bytes from the start of the section.
struct section_cuts {
    struct packet {
        std::uint64_t offset;  ///< in the file
        std::int64_t start;
        std::uint32_t size;
        std::size_t first_reloc;  ///< index into relocs
    };
    struct field {
        std::int32_t place;
        std::uint32_t bytes;  ///< of the container that the loader rewrites
    };

    std::vector<packet> packets;
    std::vector<field> relocs;
};

/// Takes section after section and keeps the packet sizes that explain every cut. A packet is full, or the last of its
/// section, or ends before a relocated field that would not fit.
class packet_cuts {
public:
    packet_cuts();

    /// Whether there is still a packet size that explains every packet so far. If not, says so once.
    void explain(const section_cuts& section, finding_list& report);

private:
    std::vector<std::int64_t> sizes_;  ///< that explain everything so far; ascending
};

#endif

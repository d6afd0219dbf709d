// The size that was asked for is not on record: it is a multiple of 4 from 300 to 1024. The first packet that a field did
// not cut tells it; before that, only a few sizes explain a cut that lies less than a field below them.
#include "tools/velmdump/packet_cuts.h"

#include <algorithm>
#include <iterator>

#include "format/limits.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/findings.h"

namespace {

/// What a packet takes: its length in bytes, and the relocations before the one at `end`.
struct cut {
    std::int64_t size;
    std::size_t end;
};

using fields = std::vector<section_cuts::field>;

/// The first of the relocations that share the place of `index`, but none before `first`.
std::size_t group_of(const fields& relocs, std::size_t index, std::size_t first) {
    const std::int64_t place = relocs[index].place;
    while (index > first && relocs[index - 1].place == place)
        --index;
    return index;
}

/// Cuts a packet at `start` that may have `size` bytes. A field that does not fit ends it there; an end at an odd byte
/// goes back one more, and the group of fields before is looked at again.
cut cut_packet(const fields& relocs, std::size_t first, std::int64_t start, std::int64_t size) {
    std::size_t at = first;
    while (at < relocs.size()) {
        const std::int64_t offset = relocs[at].place - start;
        if (offset >= size)
            break;
        if (offset + relocs[at].bytes - 1 < size) {
            ++at;
            continue;
        }
        size = offset;
        if (size % 2 == 0)
            break;
        --size;
        at = group_of(relocs, at, first);
        if (at == first)
            break;
        at = group_of(relocs, at - 1, first);
    }
    return {size, at};
}

}  // namespace

packet_cuts::packet_cuts() {
    for (std::int64_t size = min_packet_size; size <= max_packet_size; size += 4)
        sizes_.push_back(size);
}

void packet_cuts::explain(const section_cuts& section, finding_list& report) {
    for (auto packet = section.packets.begin(); packet != section.packets.end() && !sizes_.empty(); ++packet) {
        const auto next = std::next(packet);
        const bool last = next == section.packets.end();
        const std::size_t end = last ? section.relocs.size() : next->first_reloc;
        // All sizes from what is left on cut alike.
        const std::int64_t left = section.packets.back().start + section.packets.back().size - packet->start;
        const auto explains = [&](std::int64_t size) {
            const cut own = cut_packet(section.relocs, packet->first_reloc, packet->start, size);
            return own.size == packet->size && own.end == end;
        };
        const auto large = std::lower_bound(sizes_.begin(), sizes_.end(), left);
        std::vector<std::int64_t> good;
        std::copy_if(std::lower_bound(sizes_.begin(), large, packet->size), large, std::back_inserter(good), explains);
        if (large != sizes_.end() && explains(left))
            good.insert(good.end(), large, sizes_.end());
        sizes_ = std::move(good);
        if (sizes_.empty())
            report.error(packet->offset, "packet of %s with %s: no packet size explains this cut",
                         counted(packet->size, "byte").c_str(),
                         counted(end - packet->first_reloc, "relocation").c_str());
    }
}

// Decides where a packet ends.
//
// A packet may not end inside a relocated field, so the end is pulled back to the field. An end at an odd byte goes back
// one byte more, whatever the memory width; then fields that lay wholly inside may cross it, and they are looked at
// again. The cursor never goes below where this packet began: records before it are translated already, their r_vaddr
// is an offset and no address any more.
#include "packets/reloc_list.h"

#include <cstdio>
#include <cstdlib>

#include "format/address_units.h"
#include "format/reloc_types.h"
#include "msg/end_run.h"

namespace {

/// Differences and sums of addresses wrap at 32 bits.
std::int32_t wrapping_add(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

std::int32_t wrapping_sub(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

/// The scan over the relocations of one packet.
class packet_scan {
public:
    packet_scan(scnhdrlist_entry* entry, std::int32_t packet_start, std::int32_t packet_size)
        : table_(&entry->relocs), width_(entry->wordsz),
          origin_(wrapping_add(AUtobyte(static_cast<std::int32_t>(entry->vaddr), width_), packet_start)),
          first_(cursor()), size_(packet_size) {}

    /// Moves the cursor behind the last record of the packet and settles the packet's size.
    void run() {
        while (cursor() < static_cast<std::int32_t>(table_->nreloc)) {
            const std::int32_t off = offset_of(record());
            if (off >= size_)
                return;
            if (last_byte(off, record()) < size_) {
                ++table_->reloc_start;
                continue;
            }
            size_ = off;
            if ((size_ & 1) == 0)
                return;  // the crossing field and all after it go to later packets
            --size_;
            if (!go_back(off))
                return;
        }
    }

    std::int32_t first() const { return first_; }
    std::int32_t size() const { return size_; }
    std::int32_t cursor() const { return static_cast<std::int32_t>(table_->reloc_start); }

    /// Bytes from the start of the packet to the field of an untranslated record.
    std::int32_t offset_of(const reloc_record* rec) const { return wrapping_sub(get_reloc_addr(rec, width_), origin_); }

    /// The last byte of the container of the field of `rec`, which lies at byte `off`; `off` - 1 without a container,
    /// which wraps for the lowest offset of all: such a record crosses every end.
    static std::int32_t last_byte(std::int32_t off, const reloc_record* rec) {
        const int stop =
            is_field_reloc(rec->r_type) ? rec->r_field.r_wordsz : reloc_stop(rec->r_type, reloc_size(rec->r_type));
        return wrapping_sub(wrapping_add(off, stop >> 3), 1);
    }

private:
    const reloc_record* record() const { return &table_->reloc_table[table_->reloc_start]; }

    /// After a cut at the odd offset `off`, where the cursor is: back to the first record of the preceding address
    /// group. False when there is none in this packet.
    bool go_back(std::int32_t off) {
        if (cursor() == first_)
            return false;
        find_first_reloc(table_, wrapping_add(off, origin_), width_, first_);
        if (cursor() <= first_) {
            table_->reloc_start = static_cast<std::uint32_t>(first_);
            return false;
        }
        --table_->reloc_start;
        find_first_reloc(table_, get_reloc_addr(record(), width_), width_, first_);
        if (cursor() < first_)  // the preceding group begins the packet
            table_->reloc_start = static_cast<std::uint32_t>(first_);
        return true;
    }

    velm_reloc_table* table_;
    int width_;
    std::int32_t origin_;  ///< byte address of the packet's start
    std::int32_t first_;   ///< where the cursor was at the start
    std::int32_t size_;
};

}  // namespace

std::int32_t get_reloc_addr(const reloc_record* rec, int width) {
    return AUtobyte(static_cast<std::int32_t>(rec->r_vaddr), width);
}

void xlate_reloc(reloc_record* rec, std::int32_t offset_in_packet, int width) {
    rec->r_vaddr = static_cast<std::uint32_t>(bytetoAU(offset_in_packet, width));
    if (!is_sym_reloc(rec->r_type, rec->r_symndx))
        return;
    const std::uint16_t symbol = c2v_symbol_xtbl[rec->r_symndx];
    if (symbol == no_velm_symbol) {
        std::fputs("Internal Error in translating symbols\n", stdout);  // not standard error, on purpose
        end_run(EXIT_FAILURE);
    }
    rec->r_symndx = symbol;
}

void find_first_reloc(velm_reloc_table* table, std::int32_t byte_addr, int width, std::int32_t low) {
    std::int32_t compared = byte_addr;
    while (compared == byte_addr) {
        --table->reloc_start;
        if (static_cast<std::int32_t>(table->reloc_start) < low)
            return;
        compared = get_reloc_addr(&table->reloc_table[table->reloc_start], width);
    }
    ++table->reloc_start;
}

std::int32_t build_reloc_list(scnhdrlist_entry* entry, std::int32_t packet_start, std::int32_t* packet_size) {
    packet_scan scan(entry, packet_start, *packet_size);
    scan.run();
    *packet_size = scan.size();
    for (std::int32_t i = scan.first(); i < scan.cursor(); ++i) {
        reloc_record* rec = &entry->relocs.reloc_table[i];
        const std::int32_t off = scan.offset_of(rec);
        entry->field_passes_packet |= packet_scan::last_byte(off, rec) >= scan.size();
        xlate_reloc(rec, off, entry->wordsz);
    }
    return scan.cursor() - scan.first();
}

std::uint32_t swap4(std::uint32_t* word) {
    const std::uint32_t w = *word;
    return *word = w << 24 | (w & 0xFF00U) << 8 | (w >> 8 & 0xFF00U) | w >> 24;
}

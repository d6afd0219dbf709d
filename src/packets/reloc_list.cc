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
#include "format/coff_records.h"
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
          first_(static_cast<std::int32_t>(table_->reloc_start)), cursor_(first_), size_(packet_size) {}

    /// Moves the cursor behind the last record of the packet and settles the packet's size.
    void run() {
        const auto count = static_cast<std::int32_t>(table_->nreloc);
        while (cursor_ < count) {
            const std::int32_t off = offset_of(record());
            if (off >= size_)
                break;
            if (last_byte(off, record()) < size_) {
                ++cursor_;
                continue;
            }
            size_ = off;
            if ((size_ & 1) == 0)
                break;  // the crossing field and all after it go to later packets
            --size_;
            if (!go_back(off))
                break;
        }
        table_->reloc_start = static_cast<std::uint32_t>(cursor_);
    }

    std::int32_t size() const { return size_; }

    /// Whether some record of the packet was taken before a cut that runs through its field.
    bool field_passes_end() const {
        for (std::int32_t i = first_; i < cursor_; ++i) {
            const reloc_record& rec = table_->reloc_table[i];
            if (last_byte(offset_of(rec), rec) >= size_)
                return true;
        }
        return false;
    }

    /// Translates the records of the packet. Returns their number.
    std::int32_t translate() const {
        for (std::int32_t i = first_; i < cursor_; ++i) {
            reloc_record& rec = table_->reloc_table[i];
            translate_record(rec, offset_of(rec), width_);
        }
        return cursor_ - first_;
    }

    static void translate_record(reloc_record& rec, std::int32_t offset_in_packet, int width) {
        rec.r_vaddr = static_cast<std::uint32_t>(bytetoAU(offset_in_packet, width));
        if (!is_sym_reloc(rec.r_type, rec.r_symndx))
            return;
        const std::uint16_t symbol = c2v_symbol_xtbl[rec.r_symndx];
        if (symbol == no_velm_symbol)
            end_on_lost_symbol();
        rec.r_symndx = symbol;
    }

private:
    [[noreturn]] static void end_on_lost_symbol() {
        std::fputs("Internal Error in translating symbols\n", stdout);  // not standard error, on purpose
        end_run(EXIT_FAILURE);
    }

    const reloc_record& record() const { return table_->reloc_table[cursor_]; }

    /// Bytes from the start of the packet to the field of an untranslated record.
    std::int32_t offset_of(const reloc_record& rec) const {
        return wrapping_sub(get_reloc_addr(&rec, width_), origin_);
    }

    /// The last byte of the container of the field of `rec`, which lies at byte `off`; `off` - 1 without a container,
    /// which wraps for the lowest offset of all: such a record crosses every end.
    static std::int32_t last_byte(std::int32_t off, const reloc_record& rec) {
        return wrapping_sub(wrapping_add(off, static_cast<std::int32_t>(container_bytes(rec))), 1);
    }

    /// After a cut at the odd offset `off`, where the cursor is: back to the first record of the preceding address
    /// group. False when there is none in this packet.
    bool go_back(std::int32_t off) {
        if (cursor_ == first_)
            return false;
        go_to_first_at(wrapping_add(off, origin_));
        if (cursor_ <= first_) {
            cursor_ = first_;
            return false;
        }
        --cursor_;
        go_to_first_at(get_reloc_addr(&record(), width_));
        if (cursor_ < first_)  // the preceding group begins the packet
            cursor_ = first_;
        return true;
    }

    void go_to_first_at(std::int32_t byte_addr) {
        table_->reloc_start = static_cast<std::uint32_t>(cursor_);
        find_first_reloc(table_, byte_addr, width_, first_);
        cursor_ = static_cast<std::int32_t>(table_->reloc_start);
    }

    velm_reloc_table* table_;
    int width_;
    std::int32_t origin_;  ///< byte address of the packet's start
    std::int32_t first_;   ///< where the cursor was at the start
    std::int32_t cursor_;  ///< the table's, while the scan runs
    std::int32_t size_;
};

}  // namespace

void xlate_reloc(reloc_record* rec, std::int32_t offset_in_packet, int width) {
    packet_scan::translate_record(*rec, offset_in_packet, width);
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
    if (scan.size() != *packet_size)
        entry->field_passes_packet |= scan.field_passes_end();
    *packet_size = scan.size();
    return scan.translate();
}

std::uint32_t swap4(std::uint32_t* word) {
    return *word = swapped(*word);
}

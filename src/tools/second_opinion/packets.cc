// Offsets are in bytes here, and computed with 32 bits that wrap, as on the target.
#include "tools/second_opinion/packets.h"

#include <algorithm>
#include <limits>
#include <string>

#include "tools/second_opinion/facts.h"
#include "tools/second_opinion/refusal.h"

namespace second_opinion {
namespace {

i32 wrapping_difference(i32 a, i32 b) {
    return static_cast<i32>(static_cast<u32>(a) - static_cast<u32>(b));
}

/// Bytes that the field of a relocation takes from its address on.
u32 extent(const relocation& reloc) {
    return (has_descriptor(reloc.type) ? reloc.descriptor[2] : container_bits(reloc.type)) >> 3;
}

/// The relocations of one section that may go into packets, in the order of the file.
class field_list {
public:
    field_list(const coff_input& input, const section& scn) {
        const i32 base = units_to_bytes(scn.vaddr, scn.width);
        fields_.reserve(scn.nreloc);
        for (u32 i = 0; i < scn.nreloc; ++i) {
            const relocation reloc = input.relocation_at(scn, i);
            if (!is_internal(reloc.type))
                add({.place = wrapping_difference(units_to_bytes(reloc.vaddr, scn.width), base),
                     .index = i,
                     .extent = extent(reloc)});
        }
    }

    [[nodiscard]] i32 count() const { return static_cast<i32>(fields_.size()); }
    [[nodiscard]] u32 index(i32 i) const { return at(i).index; }
    /// From a place in the section to the field.
    [[nodiscard]] i32 offset(i32 i, i32 start) const { return wrapping_difference(at(i).place, start); }
    /// Likewise, to its last byte: the one before the field if it has no bytes.
    [[nodiscard]] i32 last_byte(i32 i, i32 start) const {
        return static_cast<i32>(static_cast<u32>(offset(i, start)) + at(i).extent - 1);
    }

    [[nodiscard]] bool is_ascending() const {
        i32 last = 0;
        return std::all_of(fields_.begin(), fields_.end(), [&last](const field& f) {
            const bool good = f.place >= last;
            last = f.place;
            return good;
        });
    }

    /// The first field that does not go into the packet at `start`, whose first one is `first`; may lower `size`.
    [[nodiscard]] i32 end_of_packet(i32 start, i32 first, i32& size) const {
        i32 cursor = first;
        while ((cursor = behind_inner_stretches(cursor, start, size)) < count()) {
            const i32 field_start = offset(cursor, start);
            if (field_start >= size)
                break;
            if (last_byte(cursor, start) < size) {
                ++cursor;
                continue;
            }
            size = field_start;
            if ((size & 1) == 0)
                break;
            --size;  // then fields before it may cross the end
            cursor = first_of_group(cursor, first);
            if (cursor == first)
                break;
            cursor = first_of_group(cursor - 1, first);
        }
        return cursor;
    }

private:
    struct field {
        i32 place;      ///< bytes from the start of the section
        u32 index;      ///< among all relocations of the section
        u32 extent;     ///< bytes
        i32 group = 0;  ///< the first field from which on all up to this one share an address
    };
    /// So many fields whose places are known as a whole, to step over them at once.
    static constexpr i32 stretch_length = 64;
    struct stretch {
        i64 least, greatest;  ///< first byte of a field, last byte of a field; from the start of the section
    };

    void add(field added) {
        const i32 i = count();
        added.group = i != 0 && at(i - 1).place == added.place ? at(i - 1).group : i;
        fields_.push_back(added);
        const i64 last = std::max(i64{added.place}, i64{added.place} + added.extent - 1);
        if (i % stretch_length == 0)
            stretches_.push_back({added.place, last});
        stretches_.back().least = std::min(stretches_.back().least, i64{added.place});
        stretches_.back().greatest = std::max(stretches_.back().greatest, last);
    }

    [[nodiscard]] const field& at(i32 i) const { return fields_[static_cast<std::size_t>(i)]; }
    [[nodiscard]] i32 first_of_group(i32 i, i32 low) const { return std::max(low, at(i).group); }

    /// Steps over stretches that lie wholly in the packet, where nothing wraps.
    [[nodiscard]] i32 behind_inner_stretches(i32 cursor, i32 start, i32 size) const {
        while (cursor % stretch_length == 0 && cursor < count()) {
            const stretch& next = stretches_[static_cast<std::size_t>(cursor / stretch_length)];
            if (next.least - start <= std::numeric_limits<i32>::min() || next.greatest - start >= size)
                break;
            cursor = std::min(cursor + stretch_length, count());
        }
        return cursor;
    }

    std::vector<field> fields_;
    std::vector<stretch> stretches_;
};

class cutter {
public:
    cutter(module_section& scn, const coff_input& input, const selection& selected, const conversion_request& request,
           made_module& module)
        : scn_(scn), input_(input), selected_(selected), request_(request), fields_(input, *scn.from), module_(module) {
    }

    bool cut() {
        const i32 length = units_to_bytes(scn_.from->size, scn_.from->width);
        bool odd = !fields_.is_ascending();
        i32 cursor = 0;
        for (i32 start = 0; start < length; ++scn_.packets) {
            const i32 first = cursor;
            i32 size = std::min(length - start, request_.packet_size);
            cursor = fields_.end_of_packet(start, first, size);
            for (i32 i = first; i < cursor; ++i)
                odd |= fields_.last_byte(i, start) >= size;
            if (size <= 0) {
                check_relocations(first, cursor);
                refuse("section " + std::to_string(scn_.from->number) + " cannot be cut at byte " +
                       std::to_string(start) + ": a relocated field leaves no packet");
            }
            append_packet(start, size, first, cursor);
            start += size;
        }
        scn_.placed = static_cast<u32>(cursor);
        return odd || cursor < fields_.count();
    }

private:
    static refusal untranslatable() {
        return {.why = "a relocation refers to a symbol that no module can have",
                .out = "Internal Error in translating symbols\n"};
    }

    [[nodiscard]] bool has_untranslatable(i32 first, i32 cursor) const {
        for (i32 i = first; i < cursor; ++i) {
            const relocation reloc = input_.relocation_at(*scn_.from, fields_.index(i));
            if (refers_to_symbol(reloc.type, reloc.symndx) && selected_.module_index(reloc.symndx) == no_symbol)
                return true;
        }
        return false;
    }

    void append_packet(i32 start, i32 size, i32 first, i32 cursor) {
        const auto padded = static_cast<std::size_t>(size + 3) / 4 * 4;
        const auto count = static_cast<u32>(cursor - first);
        const std::size_t length = packet_header_size + padded + std::size_t{relocation_record_size} * count;
        const u64 packet = module_.size;
        module_.size += length;
        if (module_.size > request_.most_bytes)
            throw too_long();
        if (module_.data == nullptr)
            return check_relocations(first, cursor);
        module_.data->resize(module_.size);
        u8* const head = &(*module_.data)[packet];
        put_word(head, count, request_.order);
        put_word(head + 4, static_cast<u32>(size), request_.order);
        std::copy_n(input_.at(u64{scn_.from->scnptr} + static_cast<u32>(start)), size, head + packet_header_size);
        u8* record = head + packet_header_size + padded;
        for (i32 i = first; i < cursor; ++i, record += relocation_record_size)
            put_relocation(record, i, start);
        put_word(head + 8, ~sum_of_words(head, length, request_.order), request_.order);
    }

    void check_relocations(i32 first, i32 cursor) const {
        if (has_untranslatable(first, cursor))
            throw untranslatable();
    }

    void put_relocation(u8* record, i32 i, i32 start) const {
        const relocation reloc = input_.relocation_at(*scn_.from, fields_.index(i));
        u32 word = reloc.symndx;
        if (refers_to_symbol(reloc.type, reloc.symndx)) {
            word = selected_.module_index(reloc.symndx);
            if (word == no_symbol)
                throw untranslatable();
        }
        const i32 offset = bytes_to_units(fields_.offset(i, start), scn_.from->width);
        put_word(record, static_cast<u32>(offset), request_.order);
        if (has_descriptor(reloc.type))
            std::copy_n(reloc.descriptor.begin(), 3, record + 4);  // the fourth byte stays zero
        else
            put_word(record + 4, word, request_.order);
        put_half(record + 8, has_displacement(reloc.type) ? reloc.disp : u16{0}, request_.order);
        put_half(record + 10, reloc.type, request_.order);
    }

    module_section& scn_;
    const coff_input& input_;
    const selection& selected_;
    const conversion_request& request_;
    field_list fields_;
    made_module& module_;
};

}  // namespace

bool append_packets(module_section& scn, const coff_input& input, const selection& selected,
                    const conversion_request& request, made_module& module) {
    return cutter(scn, input, selected, request, module).cut();
}

}  // namespace second_opinion

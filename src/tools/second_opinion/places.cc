// From an offset to words: walks the module's records up to the one that holds it.
#include "tools/second_opinion/places.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

namespace second_opinion {
namespace {

struct field {
    u32 size;
    const char* name;
};

constexpr field header_fields[] = {
    {4, "string table size"}, {4, "entry point"},    {4, "byte-order word"}, {4, "loader string size"},
    {2, "symbol count"},      {2, "longest string"}, {2, "section count"},   {2, "relocatable section count"},
    {2, "reserved"},          {2, "target id"},      {2, "file flags"},      {2, "entry section"},
    {4, "header checksum"}};
constexpr field verification_fields[] = {{4, "time stamp"},
                                         {4, "section header checksum"},
                                         {4, "string table checksum"},
                                         {4, "symbol checksum"},
                                         {4, "verification checksum"}};
constexpr field section_fields[] = {{4, "name"}, {4, "run address"}, {4, "load address"}, {4, "size"},
                                    {2, "page"}, {2, "flags"},       {4, "first packet"}, {4, "packet count"}};
constexpr field symbol_fields[] = {{4, "name"}, {4, "value"}, {2, "section"}, {2, "storage class"}};
constexpr field packet_fields[] = {{4, "relocation count"}, {4, "data size"}, {4, "packet checksum"}};
constexpr field relocation_fields[] = {{4, "r_vaddr"}, {4, "r_symndx"}, {2, "r_disp"}, {2, "r_type"}};

class finder {
public:
    finder(const bytes& module, byte_order order, u64 offset) : module_(module), order_(order), offset_(offset) {}

    [[nodiscard]] place find() const {
        const u64 sections = tables_start + word(0);
        const u64 symbols = sections + u64{section_record_size} * half(20);
        const u64 packets = symbols + u64{symbol_record_size} * half(16);
        if (offset_ < module_header_size)
            return in_record(0, header_fields, "file header");
        if (offset_ < tables_start)
            return in_record(module_header_size, verification_fields, "verification record");
        if (offset_ < sections)
            return in_strings(sections);
        if (offset_ < symbols) {
            const auto number = static_cast<u32>((offset_ - sections) / section_record_size);
            return in_record(sections + u64{section_record_size} * number, section_fields, section_title(number));
        }
        if (offset_ < packets) {
            const u64 record = symbols + (offset_ - symbols) / symbol_record_size * symbol_record_size;
            return in_record(record, symbol_fields, symbol_title((record - symbols) / symbol_record_size, record));
        }
        return in_packets(sections);
    }

private:
    [[nodiscard]] u32 word(u64 at) const { return get_word(&module_[at], order_); }
    [[nodiscard]] u16 half(u64 at) const { return get_half(&module_[at], order_); }

    [[nodiscard]] std::string string_at(u64 at) const {
        const auto* const text = reinterpret_cast<const char*>(&module_[at]);
        return {text, strnlen(text, std::min<u64>(60, module_.size() - at))};
    }

    [[nodiscard]] place in_record(u64 record, std::span<const field> fields, const std::string& title) const {
        u64 at = record;
        const field* in = fields.data();
        for (; offset_ >= at + in->size; ++in)
            at += in->size;
        return {at, at + in->size, true, title + ": " + in->name};
    }

    [[nodiscard]] place in_strings(u64 end) const {
        u64 start = offset_;
        while (start > tables_start && module_[start - 1] != 0)
            --start;
        const u64 length = strnlen(reinterpret_cast<const char*>(&module_[start]), end - start) + 1;
        return {start, start + length, false, "string table: \"" + string_at(start) + '"'};
    }

    [[nodiscard]] std::string section_title(u32 number) const {
        const u64 record = tables_start + word(0) + u64{section_record_size} * number;
        return "section " + std::to_string(number + 1) + " (" + string_at(tables_start + word(record)) + ')';
    }

    [[nodiscard]] std::string symbol_title(u64 number, u64 record) const {
        const std::string title = "symbol " + std::to_string(number);
        return word(record) == no_name ? title : title + " (" + string_at(tables_start + word(record)) + ')';
    }

    [[nodiscard]] place in_packets(u64 sections) const {
        u64 at = 0;
        for (u32 number = 0; number < half(20); ++number) {
            const u64 record = sections + u64{section_record_size} * number;
            u64 start = 0;
            at = word(record + 20);
            for (u32 packet = 0; packet < word(record + 24); ++packet) {
                const u64 data_end = at + packet_header_size + (u64{word(at + 4)} + 3) / 4 * 4;
                const u64 end = data_end + u64{relocation_record_size} * word(at);
                if (offset_ < end)
                    return in_packet(at, data_end, start,
                                     section_title(number) + ", packet " + std::to_string(packet + 1));
                start += word(at + 4);
                at = end;
            }
        }
        return {module_.size(), module_.size(), false, "the end"};
    }

    /// `start`: bytes of the section's contents before this packet.
    [[nodiscard]] place in_packet(u64 packet, u64 data_end, u64 start, const std::string& title) const {
        const u64 data = packet + packet_header_size;
        if (offset_ < data)
            return in_record(packet, packet_fields, title);
        if (offset_ >= data_end) {
            const u64 number = (offset_ - data_end) / relocation_record_size;
            return in_record(data_end + relocation_record_size * number, relocation_fields,
                             title + ", relocation " + std::to_string(number));
        }
        const u64 padding = data + word(packet + 4);
        if (offset_ >= padding)
            return {padding, data_end, false, title + ": padding"};
        return {offset_, padding, false,
                title + ": byte " + std::to_string(start + offset_ - data) + " of the contents"};
    }

    const bytes& module_;
    byte_order order_;
    u64 offset_;
};

}  // namespace

place place_of(const bytes& module, byte_order order, u64 offset) {
    return finder(module, order, offset).find();
}

}  // namespace second_opinion

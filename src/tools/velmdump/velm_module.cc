// Takes the records out of the bytes, as far as the file holds them, and finds the packets.
#include "tools/velmdump/velm_module.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "format/reloc_types.h"
#include "format/targets.h"
#include "tools/velmdump/module_bytes.h"

namespace {

packet_place packet_at(const module_bytes& raw, std::uint64_t offset) {
    return {offset, {raw.word(offset), raw.word(offset + 4), raw.word(offset + 8)}};
}

}  // namespace

packet_range::iterator::iterator(const module_bytes& raw, std::uint64_t offset, std::uint32_t left)
    : raw_(&raw), left_(left) {
    if (left_ != 0)
        packet_ = packet_at(raw, offset);
}

packet_range::iterator& packet_range::iterator::operator++() {
    if (--left_ != 0)
        packet_ = packet_at(*raw_, packet_.end());
    return *this;
}

packet_range::iterator packet_range::iterator::operator++(int) {
    const iterator before = *this;
    ++*this;
    return before;
}

velm_module::velm_module(module_bytes bytes) : raw(std::move(bytes)) {
    if (!raw.why_no_module.empty())
        return;
    has_header = true;
    read_header();
    strtab_size = std::min<std::uint64_t>(header.strtab_size, size() - velm_strtab_offset);
    read_sections();
    read_symbols();
    read_packets();
}

void velm_module::read_header() {
    header = {raw.word(0),  raw.word(4),  raw.word(8),  raw.word(12), raw.half(16), raw.half(18), raw.half(20),
              raw.half(22), raw.half(24), raw.half(26), raw.half(28), raw.half(30), raw.word(32)};
    verify = {raw.word(36), raw.word(40), raw.word(44), raw.word(48), raw.word(52)};
}

void velm_module::read_sections() {
    std::uint64_t at = section_headers();
    for (unsigned i = 0; i < header.nscns && fits(at, sizeof(velm_scnhdr_record)); ++i) {
        const velm_scnhdr_record record = {raw.word(at),      raw.word(at + 4),  raw.word(at + 8),  raw.word(at + 12),
                                           raw.half(at + 16), raw.half(at + 18), raw.word(at + 20), raw.word(at + 24)};
        sections.push_back({at, record});
        at += sizeof record;
    }
}

void velm_module::read_symbols() {
    std::uint64_t at = symbol_records();
    for (unsigned i = 0; i < header.nsyms && fits(at, sizeof(velm_symbol_record)); ++i) {
        symbols.push_back(
            {raw.word(at), raw.word(at + 4), static_cast<std::int16_t>(raw.half(at + 8)), raw.half(at + 10)});
        at += sizeof(velm_symbol_record);
    }
    tables_end = symbol_records() + sizeof(velm_symbol_record) * std::uint64_t{header.nsyms};
}

void velm_module::read_packets() {
    packets_end = tables_end;
    for (section_place& section : sections) {
        std::uint64_t at = section.header.first_packet;
        // Packets that overlap earlier ones are none: so no file has more packets than its size explains.
        if (at < packets_end)
            at = size();
        for (std::uint32_t i = 0; i < section.header.npackets && fits(at, sizeof(velm_packet_header)); ++i) {
            const packet_place packet = packet_at(raw, at);
            if (packet.end() > size())
                break;
            ++section.packets_in_file;
            section.contents_size += packet.header.data_size;
            section.nreloc += packet.header.nreloc;
            packets_end = at = packet.end();
        }
        section.width = width_of(section);
    }
}

int velm_module::width_of(const section_place& section) const {
    for (const int width : {8, 16, 32}) {
        if (section.contents_size != 0 &&
            std::uint64_t{section.header.size} * (static_cast<unsigned>(width) / 8U) == section.contents_size)
            return width;
    }
    const int width = target_width(header.target_id);
    return width != 0 ? width : 8;
}

std::string_view velm_module::string(std::uint32_t offset) const {
    if (offset >= strtab_size)
        return {};
    const auto* start = reinterpret_cast<const char*>(&raw.bytes[velm_strtab_offset + offset]);
    return {start, strnlen(start, strtab_size - offset)};
}

packet_place velm_module::packet(std::uint64_t offset) const {
    return packet_at(raw, offset);
}

reloc_record velm_module::reloc(const packet_place& packet, std::uint32_t i) const {
    const std::size_t at = packet.relocs() + sizeof(reloc_record) * std::size_t{i};
    reloc_record record{};
    record.r_vaddr = raw.word(at);
    record.r_disp = raw.half(at + 8);
    record.r_type = raw.half(at + 10);
    if (is_field_reloc(record.r_type))  // single bytes: they have no order
        std::copy_n(&raw.bytes[at + 4], 4, reinterpret_cast<unsigned char*>(&record.r_field));
    else
        record.r_symndx = raw.word(at + 4);
    return record;
}

std::vector<unsigned char> velm_module::contents(const section_place& section) const {
    std::vector<unsigned char> bytes;
    bytes.reserve(section.contents_size);
    for (const packet_place& packet : packets(section)) {
        const auto start = raw.bytes.begin() + static_cast<std::ptrdiff_t>(packet.data());
        bytes.insert(bytes.end(), start, start + packet.header.data_size);
    }
    return bytes;
}

bool velm_module::symbols_only() const {
    return header.entry_point == 0 && header.entry_scn == 0 &&
           std::all_of(sections.begin(), sections.end(), [](const section_place& section) {
               return (section.header.flags & (velm_scn_relocated | velm_scn_has_data)) == 0 &&
                      section.header.npackets == 0;
           });
}

#include "tools/velmdump/packet_checks.h"

#include "format/address_units.h"
#include "format/reloc_types.h"
#include "tools/velmdump/check_report.h"
#include "tools/velmdump/velm_module.h"

namespace {

constexpr std::uint32_t most_data = 1024;

/// Where the field of a relocation ends, bytes from the start of its packet.
std::int64_t field_end(const reloc_record& rec, int width) {
    const int stop = is_field_reloc(rec.r_type) ? rec.r_field.r_wordsz : reloc_stop(rec.r_type, reloc_size(rec.r_type));
    return std::int64_t{AUtobyte(static_cast<std::int32_t>(rec.r_vaddr), width)} + (stop >> 3);
}

void check_reloc(const velm_module& module, const reloc_record& rec, std::uint64_t at, check_report& report) {
    if (is_internal_reloc(rec.r_type))
        report.error(at, "relocation type 0x%04X is never part of a module", rec.r_type);
    if (is_sym_reloc(rec.r_type, rec.r_symndx) && !is_field_reloc(rec.r_type) && rec.r_symndx >= module.header.nsyms)
        report.error(at + 4, "relocation refers to symbol %u of %u", rec.r_symndx, module.header.nsyms);
    if (is_field_reloc(rec.r_type) && rec.r_field.unused != 0)
        report.error(at + 7, "unused byte of a field relocation is not zero");
    if (!has_displacement(rec.r_type) && rec.r_disp != 0)
        report.error(at + 8, "relocation type 0x%04X has no displacement, but 0x%04X stands there", rec.r_type,
                     rec.r_disp);
}

/// Remembers the place of the relocation before, across the packets of a section.
struct order_watch {
    std::int64_t packet_start = 0;  ///< bytes from the start of the section
    std::int64_t last = 0;
};

void check_relocs(const velm_module& module, const section_place& section, const packet_place& packet,
                  order_watch& watch, check_report& report) {
    std::uint64_t at = packet.relocs();
    for (std::uint32_t i = 0; i < packet.header.nreloc; ++i, at += sizeof(reloc_record)) {
        const reloc_record rec = module.reloc(packet, i);
        check_reloc(module, rec, at, report);
        const std::int64_t in_packet = AUtobyte(static_cast<std::int32_t>(rec.r_vaddr), section.width);
        if (in_packet < 0 || field_end(rec, section.width) > packet.header.data_size)
            report.warning(at, "relocated field reaches past its packet");
        if (watch.packet_start + in_packet < watch.last)
            report.warning(at, "relocation out of order");
        watch.last = watch.packet_start + in_packet;
    }
}

void check_packet(const velm_module& module, const packet_place& packet, bool last, check_report& report) {
    const std::uint32_t size = packet.header.data_size;
    if (module.raw.sum(packet.offset, packet.end() - packet.offset) != 0xFFFFFFFFU)
        report.error(packet.offset + 8, "packet checksum 0x%08X is wrong", packet.header.checksum);
    if (size == 0 || size > most_data)
        report.error(packet.offset + 4, "packet of %u bytes of data", size);
    else if (!last && size % 2 != 0)
        report.error(packet.offset + 4, "packet of %u bytes, an odd number, is not the last of its section", size);
    for (std::uint64_t i = packet.data() + size; i < packet.relocs(); ++i) {
        if (module.raw.bytes[i] != 0)
            report.error(i, "padding byte of a packet is not zero");
    }
}

void check_section_size(const section_place& section, check_report& report) {
    if (section.packets_in_file != section.header.npackets) {
        report.error(section.offset + 24, "%u packets, but only %u lie where they belong", section.header.npackets,
                     section.packets_in_file);
    } else if (section.contents_size !=
               std::uint64_t{section.header.size} * (static_cast<unsigned>(section.width) / 8U)) {
        report.error(section.offset + 12, "packets of %llu bytes do not add up to a size of %u units",
                     static_cast<unsigned long long>(section.contents_size), section.header.size);
    }
}

}  // namespace

void check_packets(const velm_module& module, check_report& report) {
    std::uint64_t expected = module.tables_end;
    for (const section_place& section : module.sections) {
        if (section.header.npackets == 0) {
            if (section.header.first_packet != 0)
                report.error(section.offset + 20, "offset of a first packet, but no packets");
            continue;
        }
        if (section.header.first_packet != expected)
            report.error(section.offset + 20, "first packet at 0x%X, but it belongs at 0x%llX",
                         section.header.first_packet, static_cast<unsigned long long>(expected));
        order_watch watch;
        std::uint32_t number = 0;
        for (const packet_place& packet : module.packets(section)) {
            check_packet(module, packet, ++number == section.packets_in_file, report);
            check_relocs(module, section, packet, watch, report);
            watch.packet_start += packet.header.data_size;
            expected = packet.end();
        }
        check_section_size(section, report);
    }
    if (expected < module.size())
        report.error(expected, "%llu bytes behind the end of the module",
                     static_cast<unsigned long long>(module.size() - expected));
    else if (expected > module.size())
        report.error(module.size(), "the file ends before the module, at byte %llu of %llu",
                     static_cast<unsigned long long>(module.size()), static_cast<unsigned long long>(expected));
}

// Sums the records of the model as they will lie in the file.
#include "packets/module_checksums.h"

#include <array>
#include <bit>

#include "convert/options.h"
#include "convert/velm_file.h"
#include "format/checksum.h"

namespace {

/// Sum of the first `words` words of a record of the file.
template <typename RECORD> std::uint32_t sum_record(const RECORD& record, int words = sizeof(RECORD) / 4) {
    const auto image = std::bit_cast<std::array<std::uint32_t, sizeof(RECORD) / 4>>(record);
    return sum_values(image.data(), words);
}

std::uint32_t sum_packet(image_packet& packet) {
    std::uint32_t sum = sum_record<velm_packet_header>(packet, 2);  // the checksum itself is left out
    sum += sum_values(packet.data.get(), static_cast<int>((packet.data_size + 3) / 4));
    for (const reloc_record* rec : items<reloc_record>(packet.relocs))
        sum += sum_record(*rec);
    return sum;
}

}  // namespace

void build_checksums() {
    velm_file.header_checksum = ~sum_record<velm_filehdr>(velm_file, 8);
    build_string_table_checksum();
    build_sect_hdr_checksum();
    build_symbol_table_checksum();
    if (!symbols_only)
        build_packet_checksum();
    velm_file.verifyrec_checksum = ~sum_record<velm_verifyrec>(velm_file, 4);
}

void build_string_table_checksum() {
    velm_file.strtab_checksum =
        calculate_checksum(velm_file.string_table.get(), static_cast<int>(velm_file.strtab_size / 4));
}

void build_sect_hdr_checksum() {
    std::uint32_t sum = 0;
    for (SLIST* group : velm_file.section_groups)
        for (const velm_scnhdr* hdr : items<velm_scnhdr>(*group))
            sum += sum_record<velm_scnhdr_record>(*hdr);
    velm_file.scnhdr_checksum = ~sum;
}

void build_symbol_table_checksum() {
    std::uint32_t sum = 0;
    for (const velm_symbol* sym : items<velm_symbol>(velm_file.symbols))
        sum += sum_record<velm_symbol_record>(*sym);
    velm_file.symtab_checksum = ~sum;
}

void build_packet_checksum() {
    for (SLIST* packets : items<SLIST>(velm_file.packets)) {
        for (image_packet* packet : items<image_packet>(*packets))
            packet->checksum = ~sum_packet(*packet);
    }
}

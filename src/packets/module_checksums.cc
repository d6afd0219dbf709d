// Sums the records of the model as they will lie in the file.
#include "packets/module_checksums.h"

#include "format/checksum.h"

namespace {

/// Sum of the words of a record of the file up to its checksum, which is its last one.
template <typename RECORD> std::uint32_t sum_before_checksum(const RECORD& record) {
    return sum_words(&record, sizeof(RECORD) / 4 - 1);
}

}  // namespace

void build_checksums() {
    velm_file.header_checksum = ~sum_before_checksum<velm_filehdr>(velm_file);
    build_string_table_checksum();
    build_sect_hdr_checksum();
    build_symbol_table_checksum();
    velm_file.verifyrec_checksum = ~sum_before_checksum<velm_verifyrec>(velm_file);
}

void build_string_table_checksum() {
    velm_file.strtab_checksum = ~sum_words(velm_file.strings.data(), velm_file.strings.size() / 4);
}

void build_sect_hdr_checksum() {
    std::uint32_t sum = 0;
    for (const velm_scnhdr_record& record : velm_file.sections)
        sum += sum_words(&record, sizeof record / 4);
    velm_file.scnhdr_checksum = ~sum;
}

void build_symbol_table_checksum() {
    velm_file.symtab_checksum =
        ~sum_words(velm_file.symbols.data(), velm_file.symbols.size() * sizeof(velm_symbol) / 4);
}

std::uint32_t build_packet_checksum(const image_packet& packet, std::uint32_t contents_sum,
                                    const reloc_record* relocs) {
    const std::uint32_t header_sum = packet.nreloc + packet.data_size;
    return ~(header_sum + contents_sum + sum_words(relocs, packet.nreloc * (sizeof(reloc_record) / 4)));
}

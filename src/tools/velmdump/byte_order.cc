// Which bytes of a module are numbers, and how wide: told once for each record, as the widths of its fields in file order.
#include "tools/velmdump/byte_order.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <string_view>

#include "format/reloc_types.h"

namespace {

// '4' and '2': a number of so many bytes. 'b': four single bytes.
constexpr std::string_view header_fields = "4444222222224";
constexpr std::string_view verification_fields = "44444";
constexpr std::string_view section_fields = "44442244";
constexpr std::string_view symbol_fields = "4422";
constexpr std::string_view packet_fields = "444";
constexpr std::string_view reloc_fields = "4422";
constexpr std::string_view field_reloc_fields = "4b22";

class turner {
public:
    turner(const velm_module& module, bool big_endian) : module_(module), turn_(module.raw.big_endian != big_endian) {
        result_.bytes = module.raw.bytes;
        result_.big_endian = big_endian;
    }

    module_bytes turned() {
        turn_records();
        // From the inside out: the sum of the verification record covers three others.
        for (const section_place& section : module_.sections)
            for (const packet_place& packet : module_.packets(section))
                put_packet_sum(packet);
        constexpr std::size_t verification = sizeof(velm_filehdr);
        constexpr std::size_t own_sum = verification + offsetof(velm_verifyrec, verifyrec_checksum);
        put_sum(verification + offsetof(velm_verifyrec, scnhdr_checksum), module_.section_headers(),
                module_.symbol_records());
        put_sum(verification + offsetof(velm_verifyrec, strtab_checksum), velm_strtab_offset,
                module_.section_headers());
        put_sum(verification + offsetof(velm_verifyrec, symtab_checksum), module_.symbol_records(), module_.tables_end);
        put_sum(offsetof(velm_filehdr, header_checksum), 0, offsetof(velm_filehdr, header_checksum));
        put_sum(own_sum, verification, own_sum);
        return std::move(result_);
    }

private:
    void turn_records() {
        if (!turn_)
            return;
        turn_record(turn_record(0, header_fields), verification_fields);
        std::size_t at = module_.section_headers();
        for (std::size_t i = 0; i < module_.sections.size(); ++i)
            at = turn_record(at, section_fields);
        for (std::size_t i = 0; i < module_.symbols.size(); ++i)
            at = turn_record(at, symbol_fields);
        for (const section_place& section : module_.sections)
            for (const packet_place& packet : module_.packets(section))
                turn_packet(packet);
    }

    void turn_packet(const packet_place& packet) {
        turn_record(packet.offset, packet_fields);
        std::size_t at = packet.relocs();
        for (std::uint32_t i = 0; i < packet.header.nreloc; ++i) {
            const std::uint16_t type = module_.raw.half(at + offsetof(reloc_record, r_type));
            at = turn_record(at, is_field_reloc(type) ? field_reloc_fields : reloc_fields);
        }
    }

    /// Turns each number of the record at `at`; returns where the record ends.
    std::size_t turn_record(std::size_t at, std::string_view fields) {
        for (const char field : fields) {
            const std::size_t size = field == '2' ? 2 : 4;
            if (field != 'b')
                std::reverse(&result_.bytes[at], &result_.bytes[at] + size);
            at += size;
        }
        return at;
    }

    /// Puts at `place` what brings the words in [from, to) to 0xFFFFFFFF.
    void put_sum(std::size_t place, std::size_t from, std::size_t to) {
        put_word(place, ~result_.sum(from, to - from));
    }

    void put_packet_sum(const packet_place& packet) {
        const std::size_t place = packet.offset + offsetof(velm_packet_header, checksum);
        put_word(place, ~(result_.sum(packet.offset, offsetof(velm_packet_header, checksum)) +
                          result_.sum(packet.data(), packet.end() - packet.data())));
    }

    void put_word(std::size_t place, std::uint32_t word) {
        for (unsigned i = 0; i < 4; ++i)
            result_.bytes[place + i] = static_cast<unsigned char>(word >> 8 * (result_.big_endian ? 3 - i : i));
    }

    const velm_module& module_;
    const bool turn_;
    module_bytes result_;
};

}  // namespace

module_bytes in_byte_order(const velm_module& module, bool big_endian) {
    return turner(module, big_endian).turned();
}

void print_as_text(const module_bytes& module, std::FILE* out) {
    for (std::size_t at = 0; at + 4 <= module.bytes.size(); at += 4) {
        char line[16] = "0x";
        char* end = std::to_chars(line + 2, line + sizeof line, module.word(at), 16).ptr;
        if (at + 8 <= module.bytes.size())
            *end++ = ',';
        *end++ = '\n';
        std::fwrite(line, 1, static_cast<std::size_t>(end - line), out);
    }
}

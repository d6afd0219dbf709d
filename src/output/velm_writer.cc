// Writes the records of the model front to back; decides nothing.
//
// The file is opened in place, never renamed or removed: it may be a device, a pipe or a link.
#include "output/velm_writer.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "coff/coff_section.h"
#include "convert/options.h"
#include "convert/string_table.h"
#include "convert/velm_file.h"
#include "format/address_units.h"
#include "format/checksum.h"
#include "format/limits.h"
#include "msg/error_exit.h"
#include "msg/patient_io.h"
#include "output/same_file.h"
#include "packets/image_packets.h"
#include "packets/module_checksums.h"

namespace {

/// What is on its way to the output file.
struct {
    char bytes[1 << 16];
    std::size_t used = 0;
    bool first_word = true;  ///< of the text
} staged;

void cannot_write() {
    error_exit("ERROR: Cannot write to file %s\n", filename_out);
}

void write_through(const char* bytes, std::size_t size, std::FILE* stream) {
    if (write_bytes(bytes, size, stream) != size)
        cannot_write();
}

void flush_staged(std::FILE* stream) {
    const std::size_t size = staged.used;
    staged.used = 0;
    write_through(staged.bytes, size, stream);
}

/// Room for `size` bytes, at most a page, which the caller fills.
char* stage(std::size_t size, std::FILE* stream) {
    if (sizeof staged.bytes - staged.used < size)
        flush_staged(stream);
    char* place = staged.bytes + staged.used;
    staged.used += size;
    return place;
}

void write_binary(const char* bytes, std::size_t size, std::FILE* stream) {
    if (size >= sizeof staged.bytes) {
        flush_staged(stream);
        write_through(bytes, size, stream);
    } else if (size != 0) {
        std::memcpy(stage(size, stream), bytes, size);
    }
}

/// Most characters of a word in the text: ",\n0x" and eight digits.
constexpr std::size_t most_text = 12;

/// Writes the hexadecimal digits of `word`, without leading zeros, to `text`, where there is room for eight characters.
/// Returns the end of the digits. All digits at once, each in a byte, since text takes far longer than binary.
char* put_hex(char* text, std::uint32_t word) {
    std::uint64_t digits = word;
    digits = (digits << 16 | digits) & 0x0000FFFF0000FFFFU;
    digits = (digits << 8 | digits) & 0x00FF00FF00FF00FFU;
    digits = (digits << 4 | digits) & 0x0F0F0F0F0F0F0F0FU;
    const int leading_zeros = std::countl_zero(word | 1) / 4;
    digits <<= 8 * leading_zeros;
    const std::uint64_t letters = (digits + 0x0606060606060606U) >> 4 & 0x0101010101010101U;
    digits += 0x3030303030303030U + letters * ('a' - '0' - 10);
    if constexpr (std::endian::native == std::endian::little)  // the first digit is the highest byte
        digits = std::uint64_t{swapped(static_cast<std::uint32_t>(digits))} << 32 |
                 swapped(static_cast<std::uint32_t>(digits >> 32));
    std::memcpy(text, &digits, sizeof digits);
    return text + 8 - leading_zeros;
}

/// Writes words as text, each but the first of the whole file behind ",\n".
void write_text(const char* bytes, std::size_t size, std::FILE* stream) {
    constexpr char before_digits[] = {',', '\n', '0', 'x'};
    for (std::size_t words = size / 4; words > 0;) {
        if (sizeof staged.bytes - staged.used < most_text)
            flush_staged(stream);
        const std::size_t fitting = std::min(words, (sizeof staged.bytes - staged.used) / most_text);
        char* const start = staged.bytes + staged.used;
        char* text = start;
        for (std::size_t k = 0; k < fitting; ++k, bytes += 4) {
            std::uint32_t word;
            std::memcpy(&word, bytes, sizeof word);
            std::memcpy(text, before_digits, sizeof before_digits);
            text = put_hex(text + sizeof before_digits, word);
        }
        if (staged.first_word) {
            text -= 2;
            std::memmove(start, start + 2, static_cast<std::size_t>(text - start));
            staged.first_word = false;
        }
        staged.used = static_cast<std::size_t>(text - staged.bytes);
        words -= fitting;
    }
}

/// Writes records of the file that lie side by side.
template <typename RECORD> void write_records(const RECORD* records, std::size_t count, std::FILE* stream) {
    const auto* bytes = reinterpret_cast<const char*>(records);
    if (hex_output_mode)
        write_text(bytes, count * sizeof(RECORD), stream);
    else
        write_binary(bytes, count * sizeof(RECORD), stream);
}

COFF_SECTION* input_of(const velm_scnhdr& section) {
    return coff_file.get_section(static_cast<std::int16_t>(section.coff_scnum));
}

/// `size` bytes of the contents of `section` from byte `start` on, until the next call.
const unsigned char* contents_of(const velm_scnhdr& section, std::uint32_t start, std::uint32_t size) {
    if (section.raw_data)
        return section.raw_data + start;
    const auto length = static_cast<std::uint32_t>(AUtobyte(static_cast<std::int32_t>(section.size), section.wordsz));
    const unsigned char* const contents = coff_file.contents_at(section.contents + start, size, length - start);
    if (!contents)
        input_of(section)->end_on_unread_contents();
    return contents;
}

/// The input is gone once it is opened as output: all that is wanted of it has to be in memory by then.
void take_leave_of_input() {
    for (velm_scnhdr& section : velm_file.sections) {
        if (section.contents >= 0)
            section.raw_data = input_of(section)->raw_data();
    }
    std::fprintf(stderr, "WARNING: Output file %s is the input file\n", filename_out);
}

/// Writes a packet, given its contents and its first relocation.
void write_packet(const image_packet& packet, const unsigned char* contents, const reloc_record* relocs,
                  std::FILE* stream) {
    velm_packet_header header = {packet.nreloc, packet.data_size, 0};
    const std::uint32_t padded = padded_size(packet);
    const std::size_t size = sizeof header + padded;
    char text_source[sizeof header + max_packet_size];
    char* const image = hex_output_mode ? text_source : stage(size, stream);
    char* const data = image + sizeof header;
    std::uint32_t sum = copy_and_sum(data, contents, packet.data_size / 4);
    if (padded != packet.data_size) {
        const std::uint32_t whole = packet.data_size & ~std::uint32_t{3};
        std::uint32_t last = 0;
        std::memcpy(&last, contents + whole, packet.data_size - whole);
        sum += copy_and_sum(data + whole, &last, 1);
    }
    header.checksum = build_packet_checksum(packet, sum, relocs);
    std::memcpy(image, &header, sizeof header);
    if (hex_output_mode)
        write_text(image, size, stream);
    write_records(relocs, packet.nreloc, stream);
}

}  // namespace

int write_velm() {
    // The output first: one that is not there yet is no other file.
    if (is_same_file(filename_out, filename_in))
        take_leave_of_input();
    for (const char* name : items<const char>(entries_files_list)) {
        if (is_same_file(filename_out, name))
            std::fprintf(stderr, "WARNING: Output file %s is an entries file\n", filename_out);
    }
    std::FILE* stream = std::fopen(filename_out, hex_output_mode ? "w" : "wb");
    if (!stream)
        error_exit("ERROR: Unable to open file %s\n", filename_out);
    std::setvbuf(stream, nullptr, _IONBF, 0);  // everything comes in pieces of 64 KiB already
    staged.used = 0;
    staged.first_word = true;
    write_records<velm_filehdr>(&velm_file, 1, stream);
    write_records<velm_verifyrec>(&velm_file, 1, stream);
    write_data(str_table_buf, 1, velm_file.strtab_size, stream);
    write_section_headers(stream);
    write_symbol_table(stream);
    if (!symbols_only)
        write_im_n_relocs(stream);
    if (hex_output_mode)
        *stage(1, stream) = '\n';
    flush_staged(stream);
    if (std::fclose(stream) != 0)
        cannot_write();
    return 0;
}

void write_data(const void* buf, unsigned size, unsigned count, std::FILE* stream) {
    write_records(static_cast<const char*>(buf), std::size_t{size} * count, stream);
}

void write_section_headers(std::FILE* stream) {
    for (const velm_scnhdr_record& record : velm_file.sections)
        write_records(&record, 1, stream);
}

void write_symbol_table(std::FILE* stream) {
    write_records(velm_file.symbols.data(), velm_file.symbols.size(), stream);
}

void write_im_n_relocs(std::FILE* stream) {
    const image_packet* packet = velm_file.packets.data();
    for (const velm_scnhdr& section : velm_file.sections) {
        const reloc_record* relocs = section.relocs.reloc_table;
        std::uint32_t start = 0;
        for (std::uint32_t left = section.npackets; left > 0; --left, ++packet) {
            write_packet(*packet, contents_of(section, start, packet->data_size), relocs, stream);
            start += packet->data_size;
            relocs += packet->nreloc;
        }
    }
}

void dump_exported_symbols_list() {
    std::fputs("EXPORTED SYMBOLS LIST \n", stdout);
    std::fputs("=====================\n\n", stdout);
    for (const velm_symbol& sym : velm_file.symbols) {
        if (sym.storage_class != velm_local_class && sym.section != 0)
            std::printf("%s\n", str_table_buf + sym.name_offset);
    }
    std::fputs("\n\n", stdout);
}

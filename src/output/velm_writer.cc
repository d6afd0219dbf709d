// Writes the records of the model front to back; decides nothing.
//
// The file is opened in place, never renamed or removed: it may be a device, a pipe or a link.
#include "output/velm_writer.h"

#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include "convert/options.h"
#include "convert/string_table.h"
#include "convert/velm_file.h"
#include "msg/error_exit.h"

namespace {

/// What is on its way to the output file. One record at a time, stdio costs more than the copy.
struct {
    char bytes[1 << 16];
    std::size_t used = 0;
} staged;

void cannot_write() {
    error_exit("ERROR: Cannot write to file %s\n", filename_out);
}

void write_through(const char* bytes, std::size_t size, std::FILE* stream) {
    if (std::fwrite(bytes, 1, size, stream) != size)
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

/// Writes "0x%x" of `word` to `text`. Returns the end of the text.
char* put_hex(char* text, std::uint32_t word) {
    *text++ = '0';
    *text++ = 'x';
    int shift = 28;
    while (shift > 0 && word >> shift == 0)
        shift -= 4;
    for (; shift >= 0; shift -= 4)
        *text++ = "0123456789abcdef"[word >> shift & 0xF];
    return text;
}

/// Words as text, each but the first of the whole file behind ",\n".
void write_text(const char* bytes, std::size_t size, std::FILE* stream) {
    static bool first_word = true;
    for (std::size_t at = 0; at + 4 <= size; at += 4) {
        std::uint32_t word = 0;
        std::memcpy(&word, bytes + at, 4);
        char line[16];
        char* end = line;
        if (!first_word) {
            *end++ = ',';
            *end++ = '\n';
        }
        first_word = false;
        end = put_hex(end, word);
        const auto length = static_cast<std::size_t>(end - line);
        std::memcpy(stage(length, stream), line, length);
    }
}

/// Writes one record of the file, of which `record` may be the beginning of something longer.
template <typename RECORD> void write_record(const RECORD& record, std::FILE* stream) {
    write_data(&record, sizeof record, 1, stream);
}

void warn_of_input_as_output() {
    std::error_code none;
    if (std::filesystem::equivalent(filename_in, filename_out, none))
        std::fprintf(stderr, "WARNING: Output file %s is the input file\n", filename_out);
}

void write_packet(image_packet& packet, std::FILE* stream) {
    write_record<velm_packet_header>(packet, stream);
    write_data(packet.data.get(), 4, (packet.data_size + 3) / 4, stream);
    for (const reloc_record* rec : items<reloc_record>(packet.relocs))
        write_record(*rec, stream);
}

}  // namespace

int write_velm() {
    warn_of_input_as_output();
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN);  // a reader that went away is a failed write like any other, with its message
#endif
    std::FILE* stream = std::fopen(filename_out, hex_output_mode ? "w" : "wb");
    if (!stream)
        error_exit("ERROR: Unable to open file %s\n", filename_out);
    std::setvbuf(stream, nullptr, _IONBF, 0);  // everything comes in pieces of 64 KiB already
    write_record<velm_filehdr>(velm_file, stream);
    write_record<velm_verifyrec>(velm_file, stream);
    if (velm_file.strtab_size != 0)
        write_data(str_table_buf, velm_file.strtab_size, 1, stream);
    write_section_headers(stream);
    write_symbol_table(stream);
    if (!symbols_only)
        write_im_n_relocs(stream);
    if (hex_output_mode)
        *stage(1, stream) = '\n';
    flush_staged(stream);
    if (std::fflush(stream) != 0)
        cannot_write();
    if (std::fclose(stream) != 0)
        cannot_write();
    return 0;
}

void write_data(const void* buf, unsigned size, unsigned count, std::FILE* stream) {
    const auto* bytes = static_cast<const char*>(buf);
    const std::size_t total = std::size_t{size} * count;
    if (hex_output_mode)
        write_text(bytes, total, stream);
    else
        write_binary(bytes, total, stream);
}

void write_section_headers(std::FILE* stream) {
    for (SLIST* group : velm_file.section_groups) {
        for (const velm_scnhdr* hdr : items<velm_scnhdr>(*group))
            write_record<velm_scnhdr_record>(*hdr, stream);
    }
}

void write_symbol_table(std::FILE* stream) {
    for (const velm_symbol* sym : items<velm_symbol>(velm_file.symbols))
        write_record<velm_symbol_record>(*sym, stream);
}

void write_im_n_relocs(std::FILE* stream) {
    for (SLIST* packets : items<SLIST>(velm_file.packets)) {
        for (image_packet* packet : items<image_packet>(*packets))
            write_packet(*packet, stream);
    }
}

void dump_exported_symbols_list() {
    std::fputs("EXPORTED SYMBOLS LIST \n", stdout);
    std::fputs("=====================\n\n", stdout);
    for (const velm_symbol* sym : items<velm_symbol>(velm_file.symbols)) {
        if (sym->storage_class != velm_local_class && sym->section != 0)
            std::printf("%s\n", sym->coff_name);
    }
    std::fputs("\n\n", stdout);
}

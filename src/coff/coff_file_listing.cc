// Listings of a file: its headers, then what its sections and symbols list of themselves, then the strings.
#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <string>
#include <utility>

#include "coff/coff_file.h"
#include "coff/listing_text.h"

namespace {

constexpr std::pair<std::uint16_t, const char*> file_flag_names[] = {
    {f_relflg, "RELFLG"}, {f_exec, "EXEC"}, {f_lnno_strip, "LNNO_STRIP"}, {f_lsyms_strip, "LSYMS_STRIP"},
    {f_little, "LITTLE"}, {f_big, "BIG"},   {f_symmerge, "SYMMERGE"},     {f_icode, "ICODE"}};

std::string names_of(std::uint16_t flags) {
    std::string names;
    for (const auto& [bit, name] : file_flag_names) {
        if ((flags & bit) != 0)
            names.append(names.empty() ? "" : " ").append(name);
    }
    return names;
}

std::string bytes_of(std::uint32_t count) {
    return counted(count, "byte");
}

/// What may stand of each name in any case.
constexpr std::uint64_t least_of_name = 255;

/// Characters that names may take in the listing of a file of so many bytes.
std::uint64_t room_for_names(std::int32_t file_length) {
    constexpr std::uint64_t least = std::uint64_t{1} << 22;
    constexpr std::uint64_t most = std::uint64_t{1} << 29;
    return std::min(most, least + 64 * static_cast<std::uint64_t>(file_length));
}

}  // namespace

void COFF_FILE::bound_names() {
    std::uint64_t lines = fh_nsyms();
    for (const auto& section : sections_)
        lines += section ? std::uint64_t{1} + section->sh_nreloc() + section->sh_nlnno() : 0;
    longest_name_ = std::max(least_of_name, room_for_names(file_length_) / std::max(lines, std::uint64_t{1}));
}

void COFF_FILE::dump_header(std::FILE* out) const {
    std::fprintf(out, "COFF file %s\n", printable(label()).c_str());
    std::fprintf(out, "  version 0x%04X, target 0x%04X, time stamp 0x%08X, read %s\n", fh_magic(), fh_target_id(),
                 fh_timdat(), byte_swapped_ ? "in the opposite byte order" : "in host byte order");
    std::fprintf(out, "  flags 0x%04X (%s)\n", fh_flags(), names_of(fh_flags()).c_str());
    std::fprintf(out, "  %s, %u symbol %s at offset %u\n", counted(fh_nscns(), "section").c_str(), fh_nsyms(),
                 fh_nsyms() == 1 ? "entry" : "entries", static_cast<std::uint32_t>(fh_symptr()));
    if (fh_opthdr() == 0)
        return;
    std::fprintf(out, "  optional header of %s: magic 0x%04X, version %d, entry point 0x%08X\n",
                 bytes_of(fh_opthdr()).c_str(), static_cast<std::uint16_t>(ofh_magic()), ofh_vstamp(), ofh_entrypt());
    std::fprintf(out, "    .text %s at 0x%08X, .data %s at 0x%08X, .bss %s\n", bytes_of(opt_hdr_.ofh_tsize).c_str(),
                 opt_hdr_.ofh_text_start, bytes_of(opt_hdr_.ofh_dsize).c_str(), opt_hdr_.ofh_data_start,
                 bytes_of(opt_hdr_.ofh_bsize).c_str());
}

void COFF_FILE::dump(std::FILE* out) {
    dump_header(out);
    for (const auto& section : sections_) {
        if (section)
            section->dump(out);
    }
    symtab_.dump(out);
    dump_strings(out);
}

void COFF_FILE::dump_strings(std::FILE* out) {
    if (!try_load_strings()) {
        std::fputs("No string table\n", out);
        return;
    }
    std::fprintf(out, "String table, %s\n", bytes_of(strtab_size_).c_str());
    for (std::uint32_t offset = strtab_length_word; offset < strtab_size_;) {
        const char* const text = strtab_ + offset;
        const std::size_t length = strnlen(text, strtab_size_ - offset);
        std::fprintf(out, "  %8u%s", offset, length == 0 ? "" : "  ");
        print_to_end(out, {text, length});
        offset += static_cast<std::uint32_t>(length) + 1;
    }
}

void COFF_FILE::dump_xml(std::FILE* out) {
    std::fprintf(out, "<coff_file name=\"%s\" version=\"0x%04X\" target=\"0x%04X\" time_stamp=\"0x%08X\"\n",
                 xml_text(label()).c_str(), fh_magic(), fh_target_id(), fh_timdat());
    std::fprintf(out, "  flags=\"0x%04X\" flag_names=\"%s\" sections=\"%u\" symbol_entries=\"%u\">\n", fh_flags(),
                 names_of(fh_flags()).c_str(), fh_nscns(), fh_nsyms());
    if (fh_opthdr() != 0) {
        std::fprintf(out, "<optional_header size=\"%u\" magic=\"0x%04X\" version=\"%d\" entry_point=\"0x%08X\"\n",
                     fh_opthdr(), static_cast<std::uint16_t>(ofh_magic()), ofh_vstamp(), ofh_entrypt());
        std::fprintf(out,
                     "  text_size=\"%u\" data_size=\"%u\" bss_size=\"%u\" text_start=\"0x%08X\" "
                     "data_start=\"0x%08X\"/>\n",
                     opt_hdr_.ofh_tsize, opt_hdr_.ofh_dsize, opt_hdr_.ofh_bsize, opt_hdr_.ofh_text_start,
                     opt_hdr_.ofh_data_start);
    }
    for (const auto& section : sections_) {
        if (section)
            section->dump_xml(out);
    }
    symtab_.dump_xml(out);
    dump_strings_xml(out);
    std::fputs("</coff_file>\n", out);
}

void COFF_FILE::dump_strings_xml(std::FILE* out) {
    if (!try_load_strings()) {
        std::fputs("<strings size=\"0\"/>\n", out);
        return;
    }
    std::fprintf(out, "<strings size=\"%u\">\n", strtab_size_);
    for (std::uint32_t offset = strtab_length_word; offset < strtab_size_;) {
        const char* const text = strtab_ + offset;
        const std::size_t length = strnlen(text, strtab_size_ - offset);
        std::fprintf(out, "<string offset=\"%u\">", offset);
        print_xml(out, {text, length});
        std::fputs("</string>\n", out);
        offset += static_cast<std::uint32_t>(length) + 1;
    }
    std::fputs("</strings>\n", out);
}

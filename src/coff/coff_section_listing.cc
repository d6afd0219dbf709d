// Listings of a section: header, contents, relocations and line numbers. What the file does not hold is named as
// missing, so that a damaged file can be looked at, too.
#include <algorithm>
#include <string>
#include <utility>

#include "coff/coff_file.h"
#include "coff/coff_section.h"
#include "coff/listing_text.h"
#include "format/reloc_types.h"
#include "msg/user_msg.h"

namespace {

constexpr std::size_t bytes_per_line = 16;
constexpr const char* unlisted_contents = "  contents overlap those of other sections\n";
constexpr const char* unlisted_lines = "  line numbers overlap those of other sections\n";

constexpr std::pair<std::uint32_t, const char*> section_flag_names[] = {
    {s_dummy, "DUMMY"},        {s_noload, "NOLOAD"}, {s_group, "deprecated GROUP"},
    {s_pad, "deprecated PAD"}, {s_copy, "COPY"},     {s_text, "TEXT"},
    {s_data, "DATA"},          {s_bss, "BSS"},       {s_blocked, "BLOCKED"},
    {s_pass, "PASS"},          {s_clink, "CLINK"},   {s_vector, "VECTOR"},
    {s_padded, "PADDED"},      {s_icode, "ICODE"}};

std::string names_of(std::uint32_t flags) {
    std::string names;
    for (const auto& [bit, name] : section_flag_names) {
        if ((flags & bit) != 0)
            names.append(names.empty() ? "" : ", ").append(name);
    }
    return names;
}

/// The name of the symbol with an index; null if there is none.
std::string_view symbol_name(COFF_FILE* file, std::uint32_t index) {
    const char* const name = file ? file->symbol_table()->name_of(index) : nullptr;
    return name ? file->text_of(name) : std::string_view();
}

/// A line of hexadecimal digits; contents can be megabytes long, so it is made in one piece.
void print_hex(std::span<const unsigned char> bytes, const char* before_each, std::FILE* out) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string line;
    for (const unsigned char byte : bytes)
        line.append(before_each).append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
    std::fputs((line + '\n').c_str(), out);
}

/// `place`: of the first byte in the contents.
void print_bytes(std::span<const unsigned char> bytes, std::uint32_t place, std::FILE* out) {
    for (std::size_t at = 0; at < bytes.size(); at += bytes_per_line) {
        std::fprintf(out, "    %08X ", place + static_cast<std::uint32_t>(at));
        print_hex(bytes.subspan(at, std::min(bytes_per_line, bytes.size() - at)), " ", out);
    }
}

void print_bytes_xml(std::span<const unsigned char> bytes, std::FILE* out) {
    for (std::size_t at = 0; at < bytes.size(); at += 2 * bytes_per_line)
        print_hex(bytes.subspan(at, std::min(2 * bytes_per_line, bytes.size() - at)), "", out);
}

/// The relocation at a place of a list, emptied nodes not counted; a place outside it ends the run.
const reloc& reloc_at(const SLIST& relocs, int index, const char* where) {
    int k = 0;
    for (const reloc* entry : items<reloc>(relocs)) {
        if (k++ == index)
            return *entry;
    }
    UMSG.die(where, "there is no relocation %d", index);
}

void print_reloc(const reloc& entry, COFF_FILE* file, std::FILE* out) {
    std::fprintf(out, "    0x%08X  %-10s 0x%04X", entry.r_vaddr, reloc_type_words(entry.r_type).c_str(), entry.r_type);
    if (is_field_reloc(entry.r_type))
        std::fprintf(out, "  %s at bit %u of %u", counted(entry.r_field.r_fieldsz, "bit").c_str(),
                     entry.r_field.r_offset, entry.r_field.r_wordsz);
    else if (is_constant_reloc(entry.r_type))
        std::fprintf(out, "  constant 0x%08X", entry.r_symndx);
    else if (const int bits = reloc_size(entry.r_type); bits != 0)
        std::fprintf(out, "  %s at bit %d of %d", counted(static_cast<unsigned>(bits), "bit").c_str(),
                     reloc_offset(entry.r_type), reloc_stop(entry.r_type, bits));
    if (is_sym_reloc(entry.r_type, entry.r_symndx)) {
        const std::string_view name = symbol_name(file, entry.r_symndx);
        std::fprintf(out, "  symbol %u (%s)", entry.r_symndx,
                     name.data() ? brief(name, COFF_FILE::longest_name(file)).c_str() : "none");
    }
    if (has_displacement(entry.r_type) && entry.r_disp != 0)
        std::fprintf(out, "  displacement 0x%04X", entry.r_disp);
    std::fputc('\n', out);
}

void print_reloc_xml(const reloc& entry, COFF_FILE* file, std::FILE* out) {
    std::fprintf(out, "<relocation address=\"0x%08X\" type=\"0x%04X\" type_name=\"%s\"", entry.r_vaddr, entry.r_type,
                 reloc_type_words(entry.r_type).c_str());
    if (is_field_reloc(entry.r_type))
        std::fprintf(out, " bit_offset=\"%u\" field_bits=\"%u\" container_bits=\"%u\"", entry.r_field.r_offset,
                     entry.r_field.r_fieldsz, entry.r_field.r_wordsz);
    else if (is_constant_reloc(entry.r_type))
        std::fprintf(out, " constant=\"0x%08X\"", entry.r_symndx);
    else if (const int bits = reloc_size(entry.r_type); bits != 0)
        std::fprintf(out, " bit_offset=\"%d\" field_bits=\"%d\" container_bits=\"%d\"", reloc_offset(entry.r_type),
                     bits, reloc_stop(entry.r_type, bits));
    if (is_sym_reloc(entry.r_type, entry.r_symndx)) {
        std::fprintf(out, " symbol=\"%u\"", entry.r_symndx);
        if (const std::string_view name = symbol_name(file, entry.r_symndx); name.data())
            std::fprintf(out, " symbol_name=\"%s\"", brief_xml(name, COFF_FILE::longest_name(file)).c_str());
    }
    if (has_displacement(entry.r_type))
        std::fprintf(out, " displacement=\"0x%04X\"", entry.r_disp);
    std::fputs("/>\n", out);
}

void print_line(const lineno& line, COFF_FILE* file, std::FILE* out) {
    if (line.l_lnno != 0) {
        std::fprintf(out, "    0x%08X  line %u\n", line.l_addr, line.l_lnno);
        return;
    }
    const std::string_view function = symbol_name(file, line.l_addr);
    std::fprintf(out, "    function %u (%s)\n", line.l_addr,
                 !function.data()   ? "none"
                 : function.empty() ? ""
                                    : brief(function, COFF_FILE::longest_name(file)).c_str());
}

void print_line_xml(const lineno& line, std::FILE* out) {
    std::fprintf(out,
                 line.l_lnno ? "<line address=\"0x%08X\" number=\"%u\"/>\n" : "<line function=\"%u\" number=\"%u\"/>\n",
                 line.l_addr, line.l_lnno);
}

}  // namespace

const char* COFF_SECTION::reloc_name(int type) const {
    const char* const name =
        type < 0 || type > UINT16_MAX ? nullptr : reloc_type_name(static_cast<std::uint16_t>(type));
    return name ? name : "other";
}

std::string_view COFF_SECTION::title() const {
    return file_ ? file_->text_of(name_) : name_;
}

void COFF_SECTION::dump_header(std::FILE* out) const {
    std::fprintf(out, "Section %u %s\n", scnum(), brief(title(), COFF_FILE::longest_name(file_)).c_str());
    std::fprintf(out, "  run address 0x%08X, load address 0x%08X, size %s of %s (%s), page %u\n", sh_paddr(),
                 sh_vaddr(), counted(size_in_words(), "unit").c_str(), counted(wordsz(), "bit").c_str(),
                 counted(byte_size(), "byte").c_str(), sh_page());
    std::fprintf(out, "  flags 0x%08X (%s), aligned to %s\n", sh_flags(), names_of(sh_flags()).c_str(),
                 counted(1U << ((sh_flags() & s_align) >> 8), "unit").c_str());
    std::fprintf(out, "  contents at offset %u, %s at offset %u, %s at offset %u\n", sh_scnptr(),
                 counted(sh_nreloc(), "relocation").c_str(), sh_relptr(), counted(sh_nlnno(), "line number").c_str(),
                 sh_lnnoptr());
}

void COFF_SECTION::dump(std::FILE* out) {
    dump_header(out);
    dump_contents(out);
    dump_relocs(out);
    dump_lines(out);
}

void COFF_SECTION::dump_contents(std::FILE* out) {
    if (lists_contents()) {
        std::fputs("  contents\n", out);
        visit_contents(
            [out](std::uint32_t place, std::span<const unsigned char> bytes) { print_bytes(bytes, place, out); });
    } else if (has_contents()) {
        std::fputs(contents_unlisted_ ? unlisted_contents : "  contents are not in the file\n", out);
    }
}

void COFF_SECTION::dump_relocs(std::FILE* out) const {
    if (reloc_list_ ? relocs().size() != 0 : !read_relocs_.empty())
        std::fputs("  relocations\n", out);
    for_each_reloc([this, out](const reloc& entry) { print_reloc(entry, file_, out); });
}

void COFF_SECTION::dump_lines(std::FILE* out) {
    if (sh_nlnno() != 0)
        std::fputs(lines_unlisted_   ? unlisted_lines
                   : lnnos_in_file() ? "  line numbers\n"
                                     : "  line numbers are not in the file\n",
                   out);
    visit_lines([this, out](const lineno& line) { print_line(line, file_, out); });
}

void COFF_SECTION::dump_linenos(int index, std::FILE* out) {
    const lineno_slot* const slot = index < 0 ? nullptr : lnno(static_cast<std::uint32_t>(index));
    if (!slot)
        UMSG.die("COFF_SECTION::dump_linenos", "section %s has no line number %d", name(), index);
    print_line(slot->entry, file_, out);
}

void COFF_SECTION::dump_reloc(int index, std::FILE* out) {
    const reloc& entry = reloc_at(relocs(), index, "COFF_SECTION::dump_reloc");
    print_reloc(entry, file_, out);
}

void COFF_SECTION::dump_xml(std::FILE* out) {
    std::fprintf(out, "<section number=\"%u\" name=\"%s\" run_address=\"0x%08X\" load_address=\"0x%08X\"\n", scnum(),
                 brief_xml(title(), COFF_FILE::longest_name(file_)).c_str(), sh_paddr(), sh_vaddr());
    std::fprintf(out, "  size=\"%u\" unit_bits=\"%u\" bytes=\"%llu\" page=\"%u\" flags=\"0x%08X\" flag_names=\"%s\">\n",
                 size_in_words(), wordsz(), static_cast<unsigned long long>(byte_size()), sh_page(), sh_flags(),
                 names_of(sh_flags()).c_str());
    if (lists_contents()) {
        std::fputs("<contents>\n", out);
        visit_contents([out](std::uint32_t, std::span<const unsigned char> bytes) { print_bytes_xml(bytes, out); });
        std::fputs("</contents>\n", out);
    }
    for_each_reloc([this, out](const reloc& entry) { print_reloc_xml(entry, file_, out); });
    visit_lines([out](const lineno& line) { print_line_xml(line, out); });
    std::fputs("</section>\n", out);
}

void COFF_SECTION::dump_linenos_xml(int index, std::FILE* out) {
    const lineno_slot* const slot = index < 0 ? nullptr : lnno(static_cast<std::uint32_t>(index));
    if (!slot)
        UMSG.die("COFF_SECTION::dump_linenos_xml", "section %s has no line number %d", name(), index);
    print_line_xml(slot->entry, out);
}

void COFF_SECTION::dump_reloc_xml(int index, std::FILE* out) {
    const reloc& entry = reloc_at(relocs(), index, "COFF_SECTION::dump_reloc_xml");
    print_reloc_xml(entry, file_, out);
}

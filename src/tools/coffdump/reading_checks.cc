// In the order in which the file is read: headers, symbols, names, relocations.
#include "tools/coffdump/reading_checks.h"

#include <algorithm>
#include <utility>

#include "coff/listing_text.h"
#include "format/limits.h"
#include "tools/common/text_forms.h"
#include "tools/second_opinion/facts.h"

namespace {

constexpr const char* cut_short = "the file is damaged or was cut short: link again";
constexpr std::uint16_t any_target = 0x0099;

class reading_check {
public:
    reading_check(raw_image& image, const std::string& path, finding_list& findings)
        : image_(image), path_(path), findings_(findings) {}

    bool run() {
        if (!check_file_header())
            return false;
        check_target();
        check_section_headers();
        check_symbols();
        check_names();
        check_relocations();
        return true;
    }

private:
    void error(const std::string& text, const std::string& says, const std::string& way_out,
               unsigned line = __builtin_LINE()) {
        findings_.add({true, path_, text, says, way_out, reading_kinds + line});
    }

    bool check_file_header() {
        if (image_.size() > std::uint64_t{max_coff_file_size}) {
            error("the file has " + std::to_string(image_.size()) + " bytes",
                  ">>   error: " + path_ + ": too long: a file may have " + std::to_string(max_coff_file_size) +
                      " bytes",
                  "strip debug information");
            return false;
        }
        if (!image_.holds(0, sizeof(filehdr))) {
            error("the file has " + counted(image_.size(), "byte") + ", a file header " +
                      std::to_string(sizeof(filehdr)),
                  ">>   error: Failed to read file and/or section headers", cut_short);
            return false;
        }
        if (!image_.is_coff()) {
            error("the file begins with " + hex_digits(first_bytes(4)) + ", a COFF file of version 2 with C200 or 00C2",
                  ">> fatal error: this application only supports COFF version 2",
                  first_bytes(4) == "\x7F"
                                    "ELF"
                      ? "it is an ELF file: have the linker write COFF"
                      : "give the executable that the linker wrote");
            return false;
        }
        return true;
    }

    std::string_view first_bytes(std::size_t count) const {
        return {reinterpret_cast<const char*>(image_.bytes().data()), count};
    }

    void check_target() {
        filehdr header = image_.header();
        if (header.fh_nscns == 0 || !image_.holds(image_.section_at(1), sizeof(scnhdr)) ||
            second_opinion::unit_width(header.fh_target_id) != 0)
            return;
        error("target id " + hex_number(header.fh_target_id) +
                  " in the file header, at offset 0x14, is none that is known",
              "Invalid target type", "the file is damaged, or made for a target that has no loader for modules");
        header.fh_target_id = any_target;
        image_.set_header(header);
    }

    void check_section_headers() {
        filehdr header = image_.header();
        const std::uint64_t first = image_.section_at(1);
        const std::uint64_t there = image_.size() < first ? 0 : (image_.size() - first) / sizeof(scnhdr);
        if (there < header.fh_nscns) {
            error("section header " + std::to_string(there + 1) + " of " + std::to_string(header.fh_nscns) +
                      ", at offset " + hex_number(image_.section_at(static_cast<std::uint32_t>(there) + 1)) +
                      ", runs past the end of the file (" + hex_number(image_.size()) + " bytes)",
                  ">>   error: Failed to read file and/or section headers", cut_short);
            header.fh_nscns = static_cast<std::uint16_t>(there);
        } else if (header.fh_nscns > max_sections) {
            error(std::to_string(header.fh_nscns) + " sections",
                  ">>   error: " + path_ + ": " + std::to_string(header.fh_nscns) + " sections: a file may have " +
                      std::to_string(max_sections),
                  cut_short);
        }
        header.fh_nscns = std::min(header.fh_nscns, max_sections);
        image_.set_header(header);
    }

    void check_symbols() {
        filehdr header = image_.header();
        for (std::uint32_t i = 0; i < header.fh_nsyms; ++i) {
            if (!image_.holds(image_.symbol_at(i), sizeof(syment)))
                return cut_symbols(i, i, ">> fatal error: failed to read symbol table");
            if (image_.symbol(i).n_numaux <= 0)
                continue;
            if (!image_.holds(image_.symbol_at(i + 1), sizeof(syment)))
                return cut_symbols(i, i + 1, ">> fatal error: failed to read auxiliary entry");
            ++i;
        }
    }

    /// The table goes on to `kept`; the entry `missing` is not there.
    void cut_symbols(std::uint32_t kept, std::uint32_t missing, const char* says) {
        filehdr header = image_.header();
        error((missing == kept ? "entry " : "auxiliary entry ") + std::to_string(missing) + " of the " +
                  std::to_string(header.fh_nsyms) + " in the symbol table, at offset " +
                  hex_number(image_.symbol_at(missing)) + ", runs past the end of the file (" +
                  hex_number(image_.size()) + " bytes)",
              says, cut_short);
        header.fh_nsyms = kept;
        image_.set_header(header);
    }

    void check_names() {
        const std::uint16_t sections = image_.header().fh_nscns;
        for (std::uint32_t n = 1; n <= sections; ++n) {
            scnhdr section = image_.section(n);
            if (check_name(section.s_name, image_.section_at(n), "section " + std::to_string(n)))
                image_.put(image_.section_at(n), section);
        }
        for (std::uint32_t i = 0; i < image_.header().fh_nsyms; ++i) {
            syment symbol = image_.symbol(i);
            if (check_name(symbol.n_name, image_.symbol_at(i), "symbol " + std::to_string(i)))
                image_.put(image_.symbol_at(i), symbol);
            i += symbol.n_numaux > 0;
        }
    }

    /// Whether the name was not there, and the field had to be mended.
    bool check_name(char (&field)[8], std::uint64_t at, const std::string& whose) {
        if (image_.name(field, at, 0))
            return false;
        const std::uint32_t offset = name_offset(field);
        const std::string wanted = whose + ", at offset " + hex_number(at) + ", has its name at offset " +
                                   std::to_string(offset) + " of the string table";
        if (image_.strings_size())
            error(wanted + ", where no string lies",
                  ">> fatal error: " + path_ + ": no string at offset " + std::to_string(offset) +
                      " of the string table (" + std::to_string(*image_.strings_size()) + " bytes)",
                  cut_short);
        else if (!std::exchange(strings_told_, true))
            error(wanted + ", and the table, at offset " + hex_number(image_.strings_at()) + ", is not whole",
                  ">> fatal error: " + path_ + ": " + strings_fault(), cut_short);
        std::memcpy(field, "?\0\0\0\0\0\0", sizeof field);
        return true;
    }

    std::string strings_fault() const {
        if (!image_.holds(image_.strings_at(), strtab_length_word))
            return "the file ends before its string table";
        if (image_.strings_length() < strtab_length_word)
            return "the length of the string table is below 4";
        return "the string table runs past the end of the file";
    }

    void check_relocations() {
        std::uint64_t total = 0;
        for (std::uint32_t n = 1; n <= image_.header().fh_nscns; ++n) {
            scnhdr section = image_.section(n);
            const std::uint64_t bytes = std::uint64_t{section.s_nreloc} * sizeof(reloc);
            if (bytes != 0 && !image_.holds(section.s_relptr, bytes)) {
                error("the " + counted(section.s_nreloc, "relocation") + " of " + image_.section_title(n) +
                          ", at offset " + hex_number(section.s_relptr) + ", end at " +
                          hex_number(section.s_relptr + bytes) + ", the file at " + hex_number(image_.size()),
                      ">>   error: " + path_ + ": " + std::to_string(section.s_nreloc) + " relocations of section " +
                          image_.section_name(n) + " at offset " + std::to_string(section.s_relptr) +
                          " run past the end of the file",
                      cut_short);
                section.s_nreloc = relocations_there(section);
                image_.put(image_.section_at(n), section);
            }
            total += std::uint64_t{section.s_nreloc} * sizeof(reloc);
            if (total > second_opinion::memory_limit(image_.size()))
                return refuse_overlap();
        }
    }

    std::uint32_t relocations_there(const scnhdr& section) const {
        return section.s_relptr >= image_.size()
                   ? 0
                   : static_cast<std::uint32_t>((image_.size() - section.s_relptr) / sizeof(reloc));
    }

    void refuse_overlap() {
        std::uint64_t total = 0;
        for (std::uint32_t n = 1; n <= image_.header().fh_nscns; ++n) {
            scnhdr section = image_.section(n);
            total += std::uint64_t{section.s_nreloc} * sizeof(reloc);
            section.s_nreloc = 0;
            image_.put(image_.section_at(n), section);
        }
        error("the relocation tables of the sections overlap: " + std::to_string(total) +
                  " bytes of them in a file of " + std::to_string(image_.size()),
              ">>   error: " + path_ + ": " + std::to_string(total) + " bytes of relocations in a file of " +
                  std::to_string(image_.size()) + " bytes",
              cut_short);
    }

    raw_image& image_;
    const std::string& path_;
    finding_list& findings_;
    bool strings_told_ = false;  // that there is no string table is told once
};

}  // namespace

bool check_reading(raw_image& image, const std::string& path, finding_list& findings) {
    return reading_check(image, path, findings).run();
}

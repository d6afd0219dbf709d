// The summary, then each part that was asked for.
#include "tools/velmdump/show.h"

#include <algorithm>
#include <string>
#include <vector>

#include "coff/listing_text.h"
#include "format/reloc_types.h"
#include "tools/common/file_input.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/hex_dump.h"
#include "tools/velmdump/module_facts.h"
#include "tools/velmdump/module_words.h"
#include "tools/velmdump/words.h"

namespace {

/// Names as listings show them.
std::string label(std::string_view name) {
    return brief(name);
}

/// "sound, 0 errors and 2 warnings".
std::string verdict(const module_file& file) {
    const auto errors = static_cast<std::uint64_t>(
        std::count_if(file.findings.begin(), file.findings.end(), [](const finding& f) { return f.error; }));
    if (file.findings.empty())
        return "sound";
    return std::string(errors == 0 ? "sound, " : "UNSOUND, ") + counted(errors, "error") + " and " +
           counted(file.findings.size() - errors, "warning") + " (velmdump check tells them)";
}

void show_header(const module_file& file, std::FILE* out) {
    const velm_module& module = file.module;
    std::fprintf(out, "VELM module %s (%s, %s-endian writer)\n", input_label(file.path).c_str(),
                 module.raw.text_form ? "text" : "binary", module.raw.big_endian ? "big" : "little");
    std::fprintf(out, "  %-11s  %s\n", "checks", verdict(file).c_str());
    for (const auto& [name, words] : module_facts(module, label))
        std::fprintf(out, "  %-11s  %s\n", name.c_str(), words.c_str());
}

void show_sections(const velm_module& module, std::FILE* out) {
    if (module.sections.empty())
        return;
    std::fputs("  no  run addr    load addr   size        page  packets  relocs  name and flags\n", out);
    unsigned number = 0;
    for (const section_place& section : module.sections) {
        const velm_scnhdr_record& h = section.header;
        std::fprintf(out, "%4u  0x%08X  0x%08X  0x%08X  %4u  %7u  %6llu  %s (%s)\n", ++number, h.paddr, h.vaddr, h.size,
                     h.page, h.npackets, wide(section.nreloc), label(module.name(section)).c_str(),
                     flag_words(h.flags).c_str());
    }
}

void show_symbols(const velm_module& module, std::FILE* out) {
    std::fputs("Symbols\n", out);
    unsigned index = 0;
    for (const velm_symbol_record& symbol : module.symbols)
        std::fprintf(out, "%6u  0x%08X  class %2u  %-20s %s\n", index++, symbol.value, symbol.storage_class,
                     section_words(module, symbol.section, label).c_str(),
                     velm_module::is_named(symbol) ? label(module.name(symbol)).c_str() : "-");
}

void show_strings(const velm_module& module, std::FILE* out) {
    std::fputs("Strings\n", out);
    for (std::uint32_t offset = 0; offset < module.strtab_size;) {
        const std::string_view text = module.string(offset);
        std::fprintf(out, "%8u%s", offset, text.empty() ? "" : "  ");
        print_to_end(out, text);
        offset += static_cast<std::uint32_t>(text.size()) + 1;
    }
}

/// Relocations, a line each. There may be millions: types and names are seldom put into words anew.
class reloc_printer {
public:
    reloc_printer(const velm_module& module, std::FILE* out) : module_(module), out_(out), names_(module) {}

    /// Those of a packet whose data starts `start` bytes into its section.
    void print(const section_place& section, const packet_place& packet, std::uint64_t start) {
        for (std::uint32_t i = 0; i < packet.header.nreloc; ++i) {
            const reloc_record rec = module_.reloc(packet, i);
            const std::int64_t place = section.place(rec, start);
            line_ = "      0x";
            put_hex(section.run_address(place), 8);
            line_ += place < 0 ? "  -0x" : "  +0x";
            put_hex(static_cast<std::uint64_t>(place < 0 ? -place : place), 4);
            put_type(rec);
            put_operand(rec);
            line_.resize(line_.find_last_not_of(' ') + 1);
            line_ += '\n';
            std::fwrite(line_.data(), 1, line_.size(), out_);
        }
    }

private:
    /// The next relocation is mostly of the same type.
    void put_type(const reloc_record& rec) {
        if (rec.r_type != type_ || type_and_field_.empty() || is_field_reloc(rec.r_type)) {
            const std::string field = field_words(rec);
            char type[32];
            std::snprintf(type, sizeof type, "  %-10s", reloc_type_words(rec.r_type).c_str());
            type_ = rec.r_type;
            type_and_field_ = type + (field.empty() ? "" : "  " + field);
        }
        line_ += type_and_field_;
    }

    void put_operand(const reloc_record& rec) {
        if (is_constant_reloc(rec.r_type))
            line_ += "  constant " + hex_word(rec.r_symndx);
        else if (is_sym_reloc(rec.r_type, rec.r_symndx))
            line_.append("  ").append(symbol_label(names_, rec.r_symndx));
        if (rec.r_disp != 0)
            line_ += "  displacement " + hex_number(rec.r_disp);
    }

    void put_hex(std::uint64_t number, int digits) {
        while (digits < 16 && number >> (4 * digits) != 0)
            ++digits;
        while (digits > 0)
            line_ += "0123456789ABCDEF"[number >> (4 * --digits) & 15];
    }

    const velm_module& module_;
    std::FILE* out_;
    std::uint16_t type_ = 0;
    std::string type_and_field_;  ///< of type_
    std::string line_;
    brief_names names_;
};

/// Places are run addresses and offsets in the section, both in address units.
void show_packets(const velm_module& module, bool relocs, std::FILE* out) {
    reloc_printer printer(module, out);
    for (const section_place& section : module.sections) {
        if (section.packets_in_file == 0)
            continue;
        std::fprintf(out, "Packets of %s\n", label(module.name(section)).c_str());
        std::uint64_t start = 0;  // bytes from the start of the section
        unsigned number = 0;
        for (const packet_place& packet : module.packets(section)) {
            const std::uint64_t offset = start / (static_cast<unsigned>(section.width) / 8U);
            std::fprintf(out, "  packet %u at file offset 0x%llX: 0x%08X, +0x%04llX, %s, %s\n", number++,
                         wide(packet.offset), static_cast<std::uint32_t>(section.header.paddr + offset), wide(offset),
                         counted(packet.header.data_size, "byte").c_str(),
                         counted(packet.header.nreloc, "relocation").c_str());
            if (relocs)
                printer.print(section, packet, start);
            start += packet.header.data_size;
        }
    }
}

bool show_contents(const velm_module& module, const std::string& name, std::FILE* out) {
    bool found = name == "*";
    for (const section_place& section : module.sections) {
        if (name != "*" && name != module.name(section))
            continue;
        found = true;
        std::fprintf(out, "Contents of %s\n", label(module.name(section)).c_str());
        print_hex_dump(module, section, out);
    }
    return found;
}

}  // namespace

bool show_module(const module_file& file, const show_options& options, std::FILE* out) {
    const velm_module& module = file.module;
    show_header(file, out);
    show_sections(module, out);
    if (options.symbols)
        show_symbols(module, out);
    if (options.strings)
        show_strings(module, out);
    if (options.packets || options.relocs)
        show_packets(module, options.relocs, out);
    return options.contents.empty() || show_contents(module, options.contents, out);
}

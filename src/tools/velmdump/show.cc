#include "tools/velmdump/show.h"

#include <algorithm>

#include "format/reloc_types.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/checks.h"
#include "tools/velmdump/hex_dump.h"
#include "tools/velmdump/module_facts.h"
#include "tools/velmdump/reloc_places.h"
#include "tools/velmdump/words.h"

namespace {

void show_header(const velm_module& module, const char* path, std::FILE* out) {
    std::fprintf(out, "VELM module %s (%s, %s-endian writer)\n", path, module.raw.text_form ? "text" : "binary",
                 module.raw.big_endian ? "big" : "little");
    const std::vector<finding> findings = check_module(module);
    const auto errors = static_cast<std::uint64_t>(
        std::count_if(findings.begin(), findings.end(), [](const finding& f) { return f.error; }));
    std::fprintf(out, "  %-11s  %s\n", "checks",
                 findings.empty()
                     ? "sound"
                     : (std::string(errors == 0 ? "sound, " : "UNSOUND, ") + counted(errors, "error") + " and " +
                        counted(findings.size() - errors, "warning") + " (velmdump check tells them)")
                           .c_str());
    for (const auto& [name, words] : module_facts(module, printable))
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
                     h.page, h.npackets, static_cast<unsigned long long>(section.nreloc),
                     printable(module.name(section)).c_str(), flag_words(h.flags).c_str());
    }
}

std::string symbol_words(const velm_module& module, std::uint32_t index) {
    if (index >= module.symbols.size())
        return "symbol " + std::to_string(index);
    const velm_symbol_record& symbol = module.symbols[index];
    if (velm_module::is_named(symbol))
        return printable(module.name(symbol));
    char text[64];
    std::snprintf(text, sizeof text, "symbol %u at 0x%08X in ", index, symbol.value);
    return text + section_words(module, symbol.section, printable);
}

void show_symbols(const velm_module& module, std::FILE* out) {
    std::fputs("Symbols\n", out);
    unsigned index = 0;
    for (const velm_symbol_record& symbol : module.symbols)
        std::fprintf(out, "%6u  0x%08X  class %2u  %-20s %s\n", index++, symbol.value, symbol.storage_class,
                     section_words(module, symbol.section, printable).c_str(),
                     velm_module::is_named(symbol) ? printable(module.name(symbol)).c_str() : "-");
}

void show_strings(const velm_module& module, std::FILE* out) {
    std::fputs("Strings\n", out);
    for (std::uint32_t offset = 0; offset < module.strtab_size;) {
        const std::string_view text = module.string(offset);
        std::fprintf(out, "%8u  %s\n", offset, printable(text).c_str());
        offset += static_cast<std::uint32_t>(text.size()) + 1;
    }
}

void show_reloc(const velm_module& module, const reloc_place& place, std::FILE* out) {
    const reloc_record& rec = place.record;
    std::fprintf(out, "      0x%08X  +0x%04llX", place.address, static_cast<unsigned long long>(place.offset));
    const std::string field = field_words(rec);
    const std::string type = type_words(rec.r_type);
    std::string words = field.empty() ? "" : "  " + field;
    if (is_constant_reloc(rec.r_type))
        words += "  constant " + hex_word(rec.r_symndx);
    else if (is_sym_reloc(rec.r_type, rec.r_symndx))
        words += "  " + symbol_words(module, rec.r_symndx);
    if (rec.r_disp != 0)
        words += "  displacement " + hex_number(rec.r_disp);
    if (words.empty())
        std::fprintf(out, "  %s\n", type.c_str());
    else
        std::fprintf(out, "  %-10s%s\n", type.c_str(), words.c_str());
}

/// Places are run addresses and offsets in the section, both in address units.
void show_packets(const velm_module& module, bool relocs, std::FILE* out) {
    for (const section_place& section : module.sections) {
        if (section.packets_in_file == 0)
            continue;
        std::fprintf(out, "Packets of %s\n", printable(module.name(section)).c_str());
        std::uint64_t start = 0;  // bytes from the start of the section
        unsigned number = 0;
        for (const packet_place& packet : module.packets(section)) {
            const std::uint64_t offset = start / (static_cast<unsigned>(section.width) / 8U);
            std::fprintf(out, "  packet %u at file offset 0x%llX: 0x%08X, +0x%04llX, %s, %s\n", number++,
                         static_cast<unsigned long long>(packet.offset),
                         static_cast<std::uint32_t>(section.header.paddr + offset),
                         static_cast<unsigned long long>(offset), counted(packet.header.data_size, "byte").c_str(),
                         counted(packet.header.nreloc, "relocation").c_str());
            if (relocs)
                for_each_reloc(module, section, packet, start,
                               [&](const reloc_place& place) { show_reloc(module, place, out); });
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
        std::fprintf(out, "Contents of %s\n", printable(module.name(section)).c_str());
        print_hex_dump(module, section, out);
    }
    return found;
}

}  // namespace

std::string flag_words(std::uint16_t flags) {
    static const char* const types[] = {"code", "data", "uninitialised", "initialisation table"};
    const unsigned type = flags & velm_scn_type_mask;
    std::string words = type < 4 ? types[type] : "type " + std::to_string(type);
    if ((flags & velm_scn_relocated) != 0)
        words += ", relocated";
    if ((flags & velm_scn_has_data) != 0)
        words += ", contents";
    if ((flags & velm_scn_align_mask) != 0)
        words += ", aligned to 2^" + std::to_string((flags & velm_scn_align_mask) >> 8);
    return words;
}

std::string type_words(std::uint16_t type) {
    const char* name = reloc_type_name(type);
    return name ? name : "type " + std::to_string(type);
}

bool show_module(const velm_module& module, const char* path, const show_options& options, std::FILE* out) {
    show_header(module, path, out);
    show_sections(module, out);
    if (options.symbols)
        show_symbols(module, out);
    if (options.strings)
        show_strings(module, out);
    if (options.packets || options.relocs)
        show_packets(module, options.relocs, out);
    return options.contents.empty() || show_contents(module, options.contents, out);
}

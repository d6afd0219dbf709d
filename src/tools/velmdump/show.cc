#include "tools/velmdump/show.h"

#include <algorithm>

#include "format/reloc_types.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/checks.h"

namespace {

void show_header(const velm_module& module, const char* path, std::FILE* out) {
    const velm_filehdr& h = module.header;
    std::fprintf(out, "VELM module %s (%s, %s-endian writer)\n", path, module.raw.text_form ? "text" : "binary",
                 module.raw.big_endian ? "big" : "little");
    std::fprintf(out, "  target 0x%04X, file flags 0x%04X, time stamp 0x%08X\n", h.target_id, h.flags,
                 module.verify.timestamp);
    if (h.entry_scn == velm_absolute_entry)
        std::fprintf(out, "  entry point 0x%08X, absolute\n", h.entry_point);
    else if (h.entry_scn == 0 && h.entry_point == 0)
        std::fputs("  no entry point\n", out);
    else
        std::fprintf(out, "  entry point 0x%08X in section %u\n", h.entry_point, h.entry_scn);
    std::fprintf(out, "  %llu bytes: %u of strings, %u sections (%u relocated), %u symbols\n",
                 static_cast<unsigned long long>(module.size()), h.strtab_size, h.nscns, h.n_reloc_scns, h.nsyms);
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

void show_counts(const velm_module& module, std::FILE* out) {
    const auto count = [&module](auto property) {
        return static_cast<long>(std::count_if(module.symbols.begin(), module.symbols.end(), property));
    };
    std::fprintf(out, "  symbols: %ld exported, %ld imported, %ld nameless\n",
                 count([&](const velm_symbol_record& s) { return module.is_export(s); }),
                 count([&](const velm_symbol_record& s) { return module.is_import(s); }),
                 count([&](const velm_symbol_record& s) { return !velm_module::is_named(s); }));
    const std::vector<finding> findings = check_module(module);
    const auto errors = std::count_if(findings.begin(), findings.end(), [](const finding& f) { return f.error; });
    if (findings.empty())
        std::fputs("  checks: sound\n", out);
    else
        std::fprintf(out, "  checks: %ld errors, %ld warnings (velmdump check tells them)\n", static_cast<long>(errors),
                     static_cast<long>(findings.size()) - static_cast<long>(errors));
}

std::string section_words(const velm_module& module, int number) {
    if (number > 0 && static_cast<std::size_t>(number) <= module.sections.size())
        return printable(module.name(module.sections[static_cast<std::size_t>(number) - 1]));
    return number == 0 ? "undefined" : number == -1 ? "absolute" : "section " + std::to_string(number);
}

std::string symbol_words(const velm_module& module, std::uint32_t index) {
    if (index >= module.symbols.size())
        return "symbol " + std::to_string(index);
    const velm_symbol_record& symbol = module.symbols[index];
    if (velm_module::is_named(symbol))
        return printable(module.name(symbol));
    char text[64];
    std::snprintf(text, sizeof text, "symbol %u at 0x%08X in ", index, symbol.value);
    return text + section_words(module, symbol.section);
}

void show_symbols(const velm_module& module, std::FILE* out) {
    std::fputs("Symbols\n", out);
    unsigned index = 0;
    for (const velm_symbol_record& symbol : module.symbols)
        std::fprintf(out, "%6u  0x%08X  class %2u  %-20s %s\n", index++, symbol.value, symbol.storage_class,
                     section_words(module, symbol.section).c_str(),
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

void show_reloc(const velm_module& module, const reloc_record& rec, std::FILE* out) {
    std::fprintf(out, "      +0x%04X  %-10s", rec.r_vaddr, type_words(rec.r_type).c_str());
    const int bits = reloc_size(rec.r_type);
    if (is_field_reloc(rec.r_type))
        std::fprintf(out, "  %u bits at bit %u of %u", rec.r_field.r_fieldsz, rec.r_field.r_offset,
                     rec.r_field.r_wordsz);
    else if (bits != 0)
        std::fprintf(out, "  %d bits at bit %d of %d", bits, reloc_offset(rec.r_type), reloc_stop(rec.r_type, bits));
    if (is_constant_reloc(rec.r_type))
        std::fprintf(out, "  constant 0x%08X", rec.r_symndx);
    else if (is_sym_reloc(rec.r_type, rec.r_symndx))
        std::fprintf(out, "  %s", symbol_words(module, rec.r_symndx).c_str());
    if (rec.r_disp != 0)
        std::fprintf(out, "  displacement 0x%04X", rec.r_disp);
    std::fputc('\n', out);
}

void show_packets(const velm_module& module, bool relocs, std::FILE* out) {
    for (const section_place& section : module.sections) {
        if (section.packets_in_file == 0)
            continue;
        std::fprintf(out, "Packets of %s\n", printable(module.name(section)).c_str());
        unsigned long long start = 0;  // bytes from the start of the section
        unsigned number = 0;
        for (const packet_place& packet : module.packets(section)) {
            const unsigned long long end = start + packet.header.data_size;
            std::fprintf(out, "  packet %u at file offset 0x%llX: section bytes 0x%llX to 0x%llX, %u relocations\n",
                         number++, static_cast<unsigned long long>(packet.offset), start, end, packet.header.nreloc);
            for (std::uint32_t i = 0; relocs && i < packet.header.nreloc; ++i)
                show_reloc(module, module.reloc(packet, i), out);
            start = end;
        }
    }
}

void show_bytes(const std::vector<unsigned char>& bytes, std::FILE* out) {
    constexpr std::size_t line = 16;
    for (std::size_t start = 0; start < bytes.size(); start += line) {
        std::fprintf(out, "  %08zX ", start);
        for (std::size_t i = start; i < std::min(start + line, bytes.size()); ++i)
            std::fprintf(out, " %02X", bytes[i]);
        std::fputc('\n', out);
    }
}

bool show_contents(const velm_module& module, const std::string& name, std::FILE* out) {
    bool found = name == "*";
    for (const section_place& section : module.sections) {
        if (name != "*" && name != module.name(section))
            continue;
        found = true;
        std::fprintf(out, "Contents of %s\n", printable(module.name(section)).c_str());
        show_bytes(module.contents(section), out);
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
    show_counts(module, out);
    if (options.symbols)
        show_symbols(module, out);
    if (options.strings)
        show_strings(module, out);
    if (options.packets || options.relocs)
        show_packets(module, options.relocs, out);
    return options.contents.empty() || show_contents(module, options.contents, out);
}

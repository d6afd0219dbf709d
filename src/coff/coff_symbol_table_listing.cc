// Listings of the symbol table.
#include <string>

#include "coff/coff_file.h"
#include "coff/coff_symbol_table.h"
#include "coff/listing_text.h"

namespace {

/// Section 0 and the negative numbers have no section.
std::string_view section_name(const COFF_FILE* file, std::int16_t scnum) {
    const COFF_SECTION* const section = file ? file->get_section(scnum) : nullptr;
    return section ? file->text_of(section->name()) : scnum == 0 ? "undefined" : scnum == -1 ? "absolute" : "none";
}

std::string_view text_of(const COFF_FILE* file, const COFF_SYMBOL& symbol) {
    return file ? file->text_of(symbol.name()) : symbol.name();
}

}  // namespace

void COFF_SYMBOL_TABLE::dump(std::FILE* out) {
    const std::size_t most = COFF_FILE::longest_name(file_);
    std::fprintf(out, "Symbol table, %u %s\n", n_syms(), n_syms() == 1 ? "entry" : "entries");
    for_each_symbol([&](const COFF_SYMBOL& symbol) {
        std::fprintf(out, "  %8u  0x%08X  %-12s type 0x%04X  %s (%s)\n", symbol.coff_index(),
                     static_cast<std::uint32_t>(symbol.value()), sclass_name(static_cast<std::int8_t>(symbol.sclass())),
                     symbol.stype(), brief(text_of(file_, symbol), most).c_str(),
                     brief(section_name(file_, symbol.scnum()), most).c_str());
        symbol.dump_aux(&symbol, out);
    });
}

void COFF_SYMBOL_TABLE::dump_xml(std::FILE* out) {
    const std::size_t most = COFF_FILE::longest_name(file_);
    std::fprintf(out, "<symbols entries=\"%u\">\n", n_syms());
    for_each_symbol([&](const COFF_SYMBOL& symbol) {
        std::fprintf(out, "<symbol index=\"%u\" name=\"%s\" value=\"0x%08X\" section=\"%d\" section_name=\"%s\"",
                     symbol.coff_index(), brief_xml(text_of(file_, symbol), most).c_str(),
                     static_cast<std::uint32_t>(symbol.value()), symbol.scnum(),
                     brief_xml(section_name(file_, symbol.scnum()), most).c_str());
        std::fprintf(out, " type=\"0x%04X\" class=\"%d\" class_name=\"%s\">", symbol.stype(), symbol.sclass(),
                     sclass_name(static_cast<std::int8_t>(symbol.sclass())));
        symbol.dump_aux_xml(&symbol, out);
        std::fputs("</symbol>\n", out);
    });
    std::fputs("</symbols>\n", out);
}

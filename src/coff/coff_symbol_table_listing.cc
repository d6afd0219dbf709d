// Listings of the symbol table.
#include <string>

#include "coff/coff_file.h"
#include "coff/coff_symbol_table.h"
#include "coff/listing_text.h"

namespace {

/// Section 0 and the negative numbers have no section.
std::string section_name(COFF_FILE* file, std::int16_t scnum) {
    const COFF_SECTION* const section = file ? file->get_section(scnum) : nullptr;
    return section ? section->name() : scnum == 0 ? "undefined" : scnum == -1 ? "absolute" : "none";
}

}  // namespace

void COFF_SYMBOL_TABLE::dump(std::FILE* out) {
    std::fprintf(out, "Symbol table, %u %s\n", n_syms(), n_syms() == 1 ? "entry" : "entries");
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(symbols())) {
        std::fprintf(out, "  %8u  0x%08X  %-12s type 0x%04X  %s (%s)\n", symbol->coff_index(),
                     static_cast<std::uint32_t>(symbol->value()),
                     sclass_name(static_cast<std::int8_t>(symbol->sclass())), symbol->stype(),
                     shown_name(symbol->name()).c_str(), shown_name(section_name(file_, symbol->scnum())).c_str());
        symbol->dump_aux(symbol, out);
    }
}

void COFF_SYMBOL_TABLE::dump_xml(std::FILE* out) {
    std::fprintf(out, "<symbols entries=\"%u\">\n", n_syms());
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(symbols())) {
        std::fprintf(out, "<symbol index=\"%u\" name=\"%s\" value=\"0x%08X\" section=\"%d\" section_name=\"%s\"",
                     symbol->coff_index(), xml_text(symbol->name()).c_str(),
                     static_cast<std::uint32_t>(symbol->value()), symbol->scnum(),
                     xml_text(section_name(file_, symbol->scnum()).c_str()).c_str());
        std::fprintf(out, " type=\"0x%04X\" class=\"%d\" class_name=\"%s\">", symbol->stype(), symbol->sclass(),
                     sclass_name(static_cast<std::int8_t>(symbol->sclass())));
        symbol->dump_aux_xml(symbol, out);
        std::fputs("</symbol>\n", out);
    }
    std::fputs("</symbols>\n", out);
}

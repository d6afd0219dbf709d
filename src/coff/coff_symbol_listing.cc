// Listings of the auxiliary entry of a symbol.
#include <cstring>

#include "coff/coff_symbol.h"
#include "coff/listing_text.h"

namespace {

/// The file name in an auxiliary entry, without its padding.
std::size_t file_name_length(const auxent& aux) {
    return strnlen(reinterpret_cast<const char*>(aux.bytes), aux_size);
}

}  // namespace

void COFF_SYMBOL::dump_aux(const COFF_SYMBOL* symbol, std::FILE* out) const {
    const auxent* const aux = symbol->aux();
    if (!aux)
        return;
    std::fputs("            ", out);
    if (symbol->form() == aux_form::file)
        std::fprintf(out, " file %s",
                     shown_name({reinterpret_cast<const char*>(aux->bytes), file_name_length(*aux)}).c_str());
    for (const aux_field& field : aux_fields(symbol->form()))
        std::fprintf(out, " %s %u", field.name, aux->value(field));
    std::fputc('\n', out);
}

void COFF_SYMBOL::dump_aux_xml(const COFF_SYMBOL* symbol, std::FILE* out) const {
    const auxent* const aux = symbol->aux();
    if (!aux)
        return;
    std::fputs("<auxiliary", out);
    if (symbol->form() == aux_form::file)
        std::fprintf(out, " file=\"%s\"",
                     xml_text(reinterpret_cast<const char*>(aux->bytes), file_name_length(*aux)).c_str());
    for (const aux_field& field : aux_fields(symbol->form()))
        std::fprintf(out, " %s=\"%u\"", field.name, aux->value(field));
    std::fputs("/>", out);
}

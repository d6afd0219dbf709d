// Words for flags, sections, symbols and relocations, for listings and messages alike.
#include "tools/velmdump/module_words.h"

#include <algorithm>
#include <cstdio>

#include "format/module_format.h"
#include "format/reloc_types.h"
#include "tools/common/text_forms.h"

const std::string& brief_names::at(std::uint32_t name_offset) {
    std::string& known = known_[name_offset];
    if (known.empty())
        known = brief(module_.string(name_offset));
    return known;
}

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

std::string section_label(brief_names& names, int number) {
    const std::vector<section_place>& sections = names.module().sections;
    if (number > 0 && static_cast<std::size_t>(number) <= sections.size())
        return names.at(sections[static_cast<std::size_t>(number) - 1].header.name_offset);
    return number == 0 ? "undefined" : number == -1 ? "absolute" : "section " + std::to_string(number);
}

std::string symbol_label(brief_names& names, std::uint32_t index, index_words indices) {
    if (index >= names.module().symbols.size())
        return "symbol " + std::to_string(index);
    const velm_symbol_record& symbol = names.module().symbols[index];
    if (velm_module::is_named(symbol))
        return names.at(symbol.name_offset);
    char text[64];
    std::snprintf(text, sizeof text, "0x%08X in ", symbol.value);
    const std::string own = indices == index_words::with ? "symbol " + std::to_string(index) + " at " : "";
    return own + text + section_label(names, symbol.section);
}

std::string field_words(const reloc_record& rec) {
    const int bits = reloc_size(rec.r_type);
    char text[64] = "";
    if (is_field_reloc(rec.r_type))
        std::snprintf(text, sizeof text, "%s at bit %u of %u", counted(rec.r_field.r_fieldsz, "bit").c_str(),
                      rec.r_field.r_offset, rec.r_field.r_wordsz);
    else if (bits != 0)
        std::snprintf(text, sizeof text, "%s at bit %d of %d", counted(static_cast<unsigned>(bits), "bit").c_str(),
                      reloc_offset(rec.r_type), reloc_stop(rec.r_type, bits));
    return text;
}

std::string reloc_operand_words(brief_names& names, const reloc_record& rec, index_words indices) {
    char text[80] = "";
    if (is_field_reloc(rec.r_type))
        return field_words(rec);
    std::string words;
    if (is_constant_reloc(rec.r_type)) {
        std::snprintf(text, sizeof text, "constant 0x%08X", rec.r_symndx);
        words = text;
    } else if (is_sym_reloc(rec.r_type, rec.r_symndx)) {
        words = symbol_label(names, rec.r_symndx, indices);
    } else if (rec.r_symndx != no_symbol) {
        std::snprintf(text, sizeof text, "word 0x%08X", rec.r_symndx);
        words = text;
    }
    if (rec.r_disp == 0)
        return words;
    std::snprintf(text, sizeof text, "%sdisplacement 0x%04X", words.empty() ? "" : ", ", rec.r_disp);
    return words + text;
}

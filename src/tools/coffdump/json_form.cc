#include "tools/coffdump/json_form.h"

#include <cstring>
#include <string>
#include <string_view>

#include "coff/coff_file.h"
#include "coff/coff_section.h"
#include "coff/coff_symbol.h"
#include "coff/coff_symbol_table.h"
#include "format/reloc_types.h"
#include "tools/common/json_text.h"
#include "tools/common/text_forms.h"

namespace {

json file_header(COFF_FILE& input) {
    return {{"version_id", input.fh_magic()},     {"sections", input.fh_nscns()},
            {"time_stamp", input.fh_timdat()},    {"symbol_table", static_cast<std::uint32_t>(input.fh_symptr())},
            {"symbol_entries", input.fh_nsyms()}, {"optional_header_size", input.fh_opthdr()},
            {"flags", input.fh_flags()},          {"target_id", input.fh_target_id()}};
}

json optional_header(COFF_FILE& input) {
    if (input.fh_opthdr() == 0)
        return nullptr;
    return {{"magic", input.ofh_magic()},
            {"version_stamp", input.ofh_vstamp()},
            {"text_size", static_cast<std::uint32_t>(input.ofh_tsize())},
            {"data_size", static_cast<std::uint32_t>(input.ofh_dsize())},
            {"bss_size", static_cast<std::uint32_t>(input.ofh_bsize())},
            {"entry_point", input.ofh_entrypt()},
            {"text_start", static_cast<std::uint32_t>(input.ofh_text_start())},
            {"data_start", static_cast<std::uint32_t>(input.ofh_data_start())}};
}

json relocation(COFF_FILE& input, COFF_SECTION& section, const reloc& entry) {
    json object = {{"address", entry.r_vaddr}, {"type", entry.r_type}, {"type_name", section.reloc_name(entry.r_type)}};
    if (is_field_reloc(entry.r_type)) {
        object["field_offset"] = entry.r_field.r_offset;
        object["field_size"] = entry.r_field.r_fieldsz;
        object["container_size"] = entry.r_field.r_wordsz;
    } else if (const int bits = reloc_size(entry.r_type); bits != 0) {
        object["field_offset"] = reloc_offset(entry.r_type);
        object["field_size"] = bits;
        object["container_size"] = reloc_stop(entry.r_type, bits);
    }
    if (is_sym_reloc(entry.r_type, entry.r_symndx)) {
        object["symbol"] = entry.r_symndx;
        if (const SLIST::NODE* node = input.symbol_table()->find_sym(entry.r_symndx))
            put_name(object, "symbol_name", static_cast<const COFF_SYMBOL*>(node->data)->name());
    } else if (is_constant_reloc(entry.r_type)) {
        object["constant"] = entry.r_symndx;
    }
    if (has_displacement(entry.r_type))
        object["displacement"] = entry.r_disp;
    return object;
}

json section_object(COFF_FILE& input, COFF_SECTION& section) {
    json object = {{"number", section.scnum()}};
    put_name(object, "name", section.name());
    object.update(json{{"run_address", section.sh_paddr()},
                       {"load_address", section.sh_vaddr()},
                       {"size", section.size_in_words()},
                       {"width", section.wordsz()},
                       {"page", section.sh_page()},
                       {"flags", section.sh_flags()},
                       {"contents_at", section.sh_scnptr()}});
    object["relocations"] = json::array();
    for (const reloc* entry : items<reloc>(*section.get_reloc_list()))
        object["relocations"].push_back(relocation(input, section, *entry));
    object["lines"] = json::array();
    for (std::uint32_t i = 0; section.lnnos_in_file() && i < section.sh_nlnno(); ++i) {
        const lineno& line = section.lnno(i)->entry;
        object["lines"].push_back({{line.l_lnno == 0 ? "symbol" : "address", line.l_addr}, {"line", line.l_lnno}});
    }
    if (section.has_contents() && section.contents_in_file())
        object["contents"] = hex_digits({reinterpret_cast<const char*>(section.raw_data()), section.byte_size()});
    return object;
}

json auxiliary(COFF_SYMBOL& symbol) {
    const auxent& aux = *symbol.aux();
    json object = json::object();
    if (symbol.form() == aux_form::file) {
        const auto* name = reinterpret_cast<const char*>(aux.bytes);
        put_name(object, "file", std::string(name, strnlen(name, aux_size)));
    }
    for (const aux_field& field : aux_fields(symbol.form()))
        object[field.name] = aux.value(field);
    return object;
}

json symbol_object(COFF_FILE& input, COFF_SYMBOL& symbol) {
    json object = {{"index", symbol.coff_index()}};
    put_name(object, "name", symbol.name());
    object["value"] = static_cast<std::uint32_t>(symbol.value());
    object["section"] = symbol.scnum();
    if (COFF_SECTION* section = symbol.scnum() > 0 ? input.get_section(symbol.scnum()) : nullptr)
        put_name(object, "section_name", section->name());
    object["type"] = symbol.stype();
    object["class"] = symbol.sclass();
    object["class_name"] = input.symbol_table()->sclass_name(static_cast<std::int8_t>(symbol.sclass()));
    if (symbol.has_aux())
        object["auxiliary"] = auxiliary(symbol);
    return object;
}

}  // namespace

void print_json(COFF_FILE& input, const char* path, std::FILE* out) {
    json document;
    put_name(document, "file", path);
    document["byte_swapped"] = input.byte_swapped();
    document["file_header"] = file_header(input);
    document["optional_header"] = optional_header(input);
    document["sections"] = json::array();
    for (int n = 1; n <= input.fh_nscns(); ++n)
        document["sections"].push_back(section_object(input, *input.get_section(static_cast<std::int16_t>(n))));
    document["symbols"] = json::array();
    SLIST::NODE* node = input.symbol_table()->first_sym();
    for (; node; node = node->mylist()->next(node))
        document["symbols"].push_back(symbol_object(input, *static_cast<COFF_SYMBOL*>(node->data)));
    print_json(document, out);
}

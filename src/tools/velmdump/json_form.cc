#include "tools/velmdump/json_form.h"

#include <string>
#include <string_view>

#include "format/reloc_types.h"
#include "tools/common/json_text.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/checks.h"
#include "tools/velmdump/show.h"

namespace {

json header_object(const velm_module& module) {
    const velm_filehdr& h = module.header;
    return {{"string_table_size", h.strtab_size},
            {"entry_point", h.entry_point},
            {"byte_order_word", h.byte_order_mark},
            {"loader_string_size", h.scn_name_size},
            {"symbols", h.nsyms},
            {"longest_string", h.max_str_len},
            {"sections", h.nscns},
            {"relocated_sections", h.n_reloc_scns},
            {"target_id", h.target_id},
            {"flags", h.flags},
            {"entry_section", h.entry_scn},
            {"checksum", h.header_checksum}};
}

json verification_object(const velm_verifyrec& v) {
    return {{"time_stamp", v.timestamp},
            {"section_header_checksum", v.scnhdr_checksum},
            {"string_table_checksum", v.strtab_checksum},
            {"symbol_table_checksum", v.symtab_checksum},
            {"checksum", v.verifyrec_checksum}};
}

json reloc_object(const reloc_record& rec) {
    json object = {{"offset", rec.r_vaddr}, {"type", rec.r_type}};
    if (const char* name = reloc_type_name(rec.r_type))
        object["type_name"] = name;
    if (is_field_reloc(rec.r_type)) {
        object["field"] = {
            {"offset", rec.r_field.r_offset}, {"size", rec.r_field.r_fieldsz}, {"container", rec.r_field.r_wordsz}};
    } else if (is_sym_reloc(rec.r_type, rec.r_symndx)) {
        object["symbol"] = rec.r_symndx;
    } else {
        object["value"] = rec.r_symndx;
    }
    object["displacement"] = rec.r_disp;
    return object;
}

json section_object(const velm_module& module, const section_place& section) {
    const velm_scnhdr_record& h = section.header;
    json object = json::object();
    put_name(object, "name", module.name(section));
    object.update(json{{"run_address", h.paddr},
                       {"load_address", h.vaddr},
                       {"size", h.size},
                       {"page", h.page},
                       {"flags", h.flags},
                       {"flag_words", flag_words(h.flags)},
                       {"width", section.width},
                       {"first_packet", h.first_packet}});
    object["packets"] = json::array();
    for (const packet_place& packet : module.packets(section)) {
        json relocs = json::array();
        for (std::uint32_t i = 0; i < packet.header.nreloc; ++i)
            relocs.push_back(reloc_object(module.reloc(packet, i)));
        const auto* data = reinterpret_cast<const char*>(&module.raw.bytes[packet.data()]);
        object["packets"].push_back({{"offset", packet.offset},
                                     {"checksum", packet.header.checksum},
                                     {"data", hex_digits({data, packet.header.data_size})},
                                     {"relocations", std::move(relocs)}});
    }
    return object;
}

json symbol_object(const velm_module& module, const velm_symbol_record& symbol) {
    json object = json::object();
    if (velm_module::is_named(symbol))
        put_name(object, "name", module.name(symbol));
    else
        object["name"] = nullptr;
    object["value"] = symbol.value;
    object["section"] = symbol.section;
    object["class"] = symbol.storage_class;
    return object;
}

}  // namespace

void print_json(const velm_module& module, const char* path, std::FILE* out) {
    json document = json::object();
    put_name(document, "file", path);
    document["form"] = module.raw.text_form ? "text" : "binary";
    document["byte_order"] = module.raw.big_endian ? "big" : "little";
    document["size"] = module.size();
    document["header"] = header_object(module);
    document["verification"] = verification_object(module.verify);
    document["sections"] = json::array();
    for (const section_place& section : module.sections)
        document["sections"].push_back(section_object(module, section));
    document["symbols"] = json::array();
    for (const velm_symbol_record& symbol : module.symbols)
        document["symbols"].push_back(symbol_object(module, symbol));
    document["findings"] = json::array();
    for (const finding& f : check_module(module))
        document["findings"].push_back(
            {{"severity", f.error ? "error" : "warning"}, {"offset", f.offset}, {"text", f.text}});
    print_json(document, out);
}

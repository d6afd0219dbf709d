// Every record of a module as an object, in the order of the file, written while it is read.
#include "tools/velmdump/json_form.h"

#include <string_view>

#include "format/reloc_types.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/module_words.h"
#include "tools/velmdump/string_checks.h"

namespace {

class module_printer {
public:
    module_printer(const velm_module& module, json_writer& json) : module_(module), json_(json) {}

    void put_header() {
        const velm_filehdr& h = module_.header;
        json_.begin_object("header");
        json_.member("string_table_size", h.strtab_size);
        json_.member("entry_point", h.entry_point);
        json_.member("byte_order_word", h.byte_order_mark);
        json_.member("loader_string_size", h.scn_name_size);
        json_.member("symbols", h.nsyms);
        json_.member("longest_string", h.max_str_len);
        json_.member("sections", h.nscns);
        json_.member("relocated_sections", h.n_reloc_scns);
        json_.member("target_id", h.target_id);
        json_.member("flags", h.flags);
        json_.member("entry_section", h.entry_scn);
        json_.member("checksum", h.header_checksum);
        json_.end_object();
    }

    void put_verification() {
        const velm_verifyrec& v = module_.verify;
        json_.begin_object("verification");
        json_.member("time_stamp", v.timestamp);
        json_.member("section_header_checksum", v.scnhdr_checksum);
        json_.member("string_table_checksum", v.strtab_checksum);
        json_.member("symbol_table_checksum", v.symtab_checksum);
        json_.member("checksum", v.verifyrec_checksum);
        json_.end_object();
    }

    void put_strings() {
        json_.begin_array("strings");
        for (std::uint32_t offset = 0; offset < module_.strtab_size;) {
            const std::string_view text = module_.string(offset);
            json_.begin_object();
            json_.member("offset", offset);
            json_.name("text", text);
            json_.end_object();
            offset += static_cast<std::uint32_t>(text.size()) + 1;
        }
        json_.end_array();
    }

    void put_sections() {
        json_.begin_array("sections");
        int number = 0;
        for (const section_place& section : module_.sections)
            put_section(section, ++number);
        json_.end_array();
    }

    void put_symbols() {
        json_.begin_array("symbols");
        std::uint32_t index = 0;
        for (const velm_symbol_record& symbol : module_.symbols) {
            json_.begin_object();
            json_.member("index", index++);
            if (velm_module::is_named(symbol))
                put_name(module_.name(symbol));
            else
                json_.null("name");
            json_.member("name_offset", symbol.name_offset);
            json_.member("value", symbol.value);
            json_.member("section", symbol.section);
            json_.member("class", symbol.storage_class);
            json_.end_object();
        }
        json_.end_array();
    }

private:
    void put_name(std::string_view name) {
        json_.name("name", name.substr(0, longest_json_name));
        if (name.size() > longest_json_name)
            json_.member("name_length", name.size());
    }

    void put_section(const section_place& section, int number) {
        const velm_scnhdr_record& h = section.header;
        json_.begin_object();
        json_.member("number", number);
        put_name(module_.name(section));
        json_.member("name_offset", h.name_offset);
        json_.member("run_address", h.paddr);
        json_.member("load_address", h.vaddr);
        json_.member("size", h.size);
        json_.member("page", h.page);
        json_.member("flags", h.flags);
        json_.member("flag_words", flag_words(h.flags));
        json_.member("width", section.width);
        json_.member("first_packet", h.first_packet);
        json_.member("packet_count", h.npackets);
        json_.member("contents_size", section.contents_size);
        json_.member("relocation_count", section.nreloc);
        json_.begin_array("packets");
        std::uint64_t start = 0;
        for (const packet_place& packet : module_.packets(section)) {
            put_packet(section, packet, start);
            start += packet.header.data_size;
        }
        json_.end_array();
        json_.end_object();
    }

    void put_packet(const section_place& section, const packet_place& packet, std::uint64_t start) {
        json_.begin_object();
        json_.member("offset", packet.offset);
        json_.member("end", packet.end());
        json_.member("section_offset", start);
        json_.member("data_size", packet.header.data_size);
        json_.member("relocation_count", packet.header.nreloc);
        json_.member("checksum", packet.header.checksum);
        json_.hex("data", {module_.raw.bytes.data() + packet.data(), packet.header.data_size});
        json_.begin_array("relocations");
        for (std::uint32_t i = 0; i < packet.header.nreloc; ++i)
            put_reloc(section, module_.reloc(packet, i), start);
        json_.end_array();
        json_.end_object();
    }

    void put_reloc(const section_place& section, const reloc_record& rec, std::uint64_t packet_start) {
        const std::int64_t place = section.place(rec, packet_start);
        json_.begin_object();
        json_.member("offset", rec.r_vaddr);
        json_.member("section_offset", place);
        json_.member("address", section.run_address(place));
        json_.member("type", rec.r_type);
        if (const char* name = reloc_type_name(rec.r_type))
            json_.member("type_name", name);
        if (is_field_reloc(rec.r_type))
            put_field(rec.r_field.r_offset, rec.r_field.r_fieldsz, rec.r_field.r_wordsz);
        else if (const int bits = reloc_size(rec.r_type); bits != 0)
            put_field(reloc_offset(rec.r_type), bits, reloc_stop(rec.r_type, bits));
        if (!is_field_reloc(rec.r_type))
            json_.member(is_sym_reloc(rec.r_type, rec.r_symndx) ? "symbol" : "value", rec.r_symndx);
        json_.member("displacement", rec.r_disp);
        json_.end_object();
    }

    void put_field(int offset, int size, int container) {
        json_.begin_object("field");
        json_.member("offset", offset);
        json_.member("size", size);
        json_.member("container", container);
        json_.end_object();
    }

    const velm_module& module_;
    json_writer& json_;
};

}  // namespace

void put_findings(json_writer& json, const std::vector<finding>& findings) {
    for (const finding& f : findings) {
        json.begin_object();
        json.member("severity", severity_word(f.error));
        json.member("offset", f.offset);
        if (f.line != 0)
            json.member("line", f.line);
        json.member("text", f.text);
        json.end_object();
    }
}

void print_json(const module_file& file, std::FILE* out) {
    const velm_module& module = file.module;
    json_writer json(out);
    module_printer printer(module, json);
    json.begin_object();
    json.name("file", file.path);
    json.member("form", module.raw.text_form ? "text" : "binary");
    json.member("byte_order", module.raw.big_endian ? "big" : "little");
    json.member("size", module.size());
    json.member("sound", file.sound());
    json.begin_array("findings");
    put_findings(json, file.findings);
    json.end_array();
    if (begins_with_module_name(module))
        json.name("module_name", module.string(0));
    else
        json.null("module_name");
    printer.put_header();
    printer.put_verification();
    printer.put_strings();
    printer.put_sections();
    printer.put_symbols();
    json.end_object();
}

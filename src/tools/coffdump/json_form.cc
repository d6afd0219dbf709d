// The document is printed piece by piece, so that no large file has to fit into memory twice.
#include "tools/coffdump/json_form.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "coff/coff_file.h"
#include "coff/coff_section.h"
#include "coff/coff_symbol.h"
#include "coff/coff_symbol_table.h"
#include "format/reloc_types.h"
#include "tools/coffdump/input_file.h"
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

json relocation(COFF_FILE& input, const reloc& entry) {
    json object = {{"address", entry.r_vaddr}, {"type", entry.r_type}};
    if (const char* const name = reloc_type_name(entry.r_type))
        object["type_name"] = name;
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

/// The members of a list, one a line, while they come.
class json_list {
public:
    json_list(const char* name, std::FILE* out) : out_(out) { std::fprintf(out_, ",\n\"%s\": [", name); }
    ~json_list() { std::fputs("\n]", out_); }
    json_list(const json_list&) = delete;
    json_list& operator=(const json_list&) = delete;

    void add(const json& member) {
        begin_member();
        print_piece(member, out_);
    }
    /// Whoever calls this prints the member.
    void begin_member() {
        std::fputs(empty_ ? "\n" : ",\n", out_);
        empty_ = false;
    }

    static void print_piece(const json& piece, std::FILE* out) {
        std::fputs(piece.dump(-1, ' ', false, json::error_handler_t::replace).c_str(), out);
    }

private:
    std::FILE* out_;
    bool empty_ = true;
};

json section_facts(COFF_SECTION& section) {
    json object = {{"number", section.scnum()}};
    put_name(object, "name", section.name());
    object.update(json{{"run_address", section.sh_paddr()},
                       {"load_address", section.sh_vaddr()},
                       {"size", section.size_in_words()},
                       {"width", section.wordsz()},
                       {"page", section.sh_page()},
                       {"flags", section.sh_flags()},
                       {"contents_at", section.sh_scnptr()},
                       {"relocations_at", section.sh_relptr()},
                       {"relocation_count", section.sh_nreloc()},
                       {"lines_at", section.sh_lnnoptr()},
                       {"line_count", section.sh_nlnno()}});
    return object;
}

void print_contents(COFF_SECTION& section, std::FILE* out) {
    constexpr std::size_t bite = 65536;
    const auto* const contents = reinterpret_cast<const char*>(section.raw_data());
    std::fputs(",\n\"contents\": \"", out);
    for (std::size_t at = 0; at < section.byte_size(); at += bite)
        std::fputs(hex_digits({contents + at, std::min<std::size_t>(bite, section.byte_size() - at)}).c_str(), out);
    std::fputc('"', out);
}

void print_section(COFF_FILE& input, COFF_SECTION& section, std::FILE* out) {
    std::string facts = section_facts(section).dump(-1, ' ', false, json::error_handler_t::replace);
    facts.pop_back();  // the brace: the object goes on
    std::fputs(facts.c_str(), out);
    {
        json_list relocations("relocations", out);
        for (const reloc* entry : items<reloc>(*section.get_reloc_list()))
            relocations.add(relocation(input, *entry));
    }
    {
        json_list lines("lines", out);
        for (std::uint32_t i = 0; section.lnnos_in_file() && i < section.sh_nlnno(); ++i) {
            const lineno& line = section.lnno(i)->entry;
            lines.add({{line.l_lnno == 0 ? "symbol" : "address", line.l_addr}, {"line", line.l_lnno}});
        }
    }
    if (section.has_contents() && section.contents_in_file())
        print_contents(section, out);
    std::fputc('}', out);
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
    if (symbol.aux())
        object["auxiliary"] = auxiliary(symbol);
    return object;
}

void print_strings(COFF_FILE& input, std::FILE* out) {
    json_list strings("strings", out);
    if (!input.try_load_strings())
        return;
    const std::string_view table = input.strtab_bytes();
    for (std::size_t offset = strtab_length_word; offset < table.size();) {
        const std::string_view text = table.substr(offset, table.find('\0', offset) - offset);
        json object = {{"offset", offset}};
        put_name(object, "string", text);
        strings.add(object);
        offset += text.size() + 1;
    }
}

}  // namespace

void print_json(COFF_FILE& input, const char* path, std::FILE* out) {
    json head;
    put_name(head, "file", path);
    head["byte_swapped"] = input.byte_swapped();
    head["file_header"] = file_header(input);
    head["optional_header"] = optional_header(input);
    std::string text = head.dump(1, ' ', false, json::error_handler_t::replace);
    text.resize(text.size() - 2);  // the line break and the brace: the document goes on
    std::fputs(text.c_str(), out);
    {
        json_list sections("sections", out);
        for_each_section(input, [&](COFF_SECTION& section) {
            sections.begin_member();
            print_section(input, section, out);
        });
    }
    {
        json_list symbols("symbols", out);
        for (COFF_SYMBOL* symbol : items<COFF_SYMBOL>(input.symbol_table()->symbols()))
            symbols.add(symbol_object(input, *symbol));
    }
    print_strings(input, out);
    std::fputs("\n}\n", out);
}

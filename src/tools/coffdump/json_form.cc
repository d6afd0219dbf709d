// Everything is printed as it is read: there may be millions of relocations.
#include "tools/coffdump/json_form.h"

#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "coff/coff_file.h"
#include "coff/coff_section.h"
#include "coff/coff_symbol.h"
#include "coff/coff_symbol_table.h"
#include "format/reloc_types.h"
#include "tools/coffdump/input_file.h"
#include "tools/common/json_writer.h"

namespace {

/// Prints a file.
class image_printer {
public:
    image_printer(COFF_FILE& input, std::FILE* out) : input_(input), json_(out) {}

    void print(const char* path) {
        json_.begin_object();
        json_.name("file", path);
        json_.member("byte_swapped", input_.byte_swapped());
        put_file_header();
        put_optional_header();
        json_.begin_array("sections");
        for_each_section(input_, [this](COFF_SECTION& section) { put_section(section); });
        json_.end_array();
        json_.begin_array("symbols");
        input_.symbol_table()->for_each_symbol([this](const COFF_SYMBOL& symbol) { put_symbol(symbol); });
        json_.end_array();
        json_.begin_array("strings");
        put_strings();
        json_.end_array();
        json_.end_object();
    }

private:
    void put_file_header() {
        json_.begin_object("file_header");
        json_.member("version_id", input_.fh_magic());
        json_.member("sections", input_.fh_nscns());
        json_.member("time_stamp", input_.fh_timdat());
        json_.member("symbol_table", static_cast<std::uint32_t>(input_.fh_symptr()));
        json_.member("symbol_entries", input_.fh_nsyms());
        json_.member("optional_header_size", input_.fh_opthdr());
        json_.member("flags", input_.fh_flags());
        json_.member("target_id", input_.fh_target_id());
        json_.end_object();
    }

    void put_optional_header() {
        if (input_.fh_opthdr() == 0)
            return json_.null("optional_header");
        json_.begin_object("optional_header");
        json_.member("magic", input_.ofh_magic());
        json_.member("version_stamp", input_.ofh_vstamp());
        json_.member("text_size", static_cast<std::uint32_t>(input_.ofh_tsize()));
        json_.member("data_size", static_cast<std::uint32_t>(input_.ofh_dsize()));
        json_.member("bss_size", static_cast<std::uint32_t>(input_.ofh_bsize()));
        json_.member("entry_point", input_.ofh_entrypt());
        json_.member("text_start", static_cast<std::uint32_t>(input_.ofh_text_start()));
        json_.member("data_start", static_cast<std::uint32_t>(input_.ofh_data_start()));
        json_.end_object();
    }

    void put_section(COFF_SECTION& section) {
        json_.begin_object();
        json_.member("number", section.scnum());
        put_name("name", section.title());
        json_.member("run_address", section.sh_paddr());
        json_.member("load_address", section.sh_vaddr());
        json_.member("size", section.size_in_words());
        json_.member("width", section.wordsz());
        json_.member("page", section.sh_page());
        json_.member("flags", section.sh_flags());
        json_.member("contents_at", section.sh_scnptr());
        json_.member("relocations_at", section.sh_relptr());
        json_.member("relocation_count", section.sh_nreloc());
        json_.member("lines_at", section.sh_lnnoptr());
        json_.member("line_count", section.sh_nlnno());
        json_.begin_array("relocations");
        section.for_each_reloc([this](const reloc& entry) { put_relocation(entry); });
        json_.end_array();
        put_lines(section);
        if (section.lists_contents()) {
            json_.begin_hex("contents");
            section.visit_contents(
                [this](std::uint32_t, std::span<const unsigned char> bytes) { json_.put_digits(bytes); });
            json_.end_hex();
        }
        json_.end_object();
    }

    /// A name stands once more in every symbol and relocation that it belongs to: a long one is cut there.
    void put_name(const std::string& key, std::string_view name) {
        const std::string_view front = brief_front(name, COFF_FILE::longest_name(&input_));
        json_.name(key, front);
        if (front.size() < name.size())
            json_.member(key + "_length", name.size());
    }

    void put_lines(COFF_SECTION& section) {
        json_.begin_array("lines");
        section.visit_lines([this](const lineno& line) {
            json_.begin_object();
            json_.member(line.l_lnno == 0 ? "symbol" : "address", line.l_addr);
            json_.member("line", line.l_lnno);
            json_.end_object();
        });
        json_.end_array();
    }

    void put_relocation(const reloc& entry) {
        json_.begin_object();
        json_.member("address", entry.r_vaddr);
        json_.member("type", entry.r_type);
        if (const char* const name = reloc_type_name(entry.r_type))
            json_.member("type_name", name);
        if (is_field_reloc(entry.r_type))
            put_field(entry.r_field.r_offset, entry.r_field.r_fieldsz, entry.r_field.r_wordsz);
        else if (const int bits = reloc_size(entry.r_type); bits != 0)
            put_field(reloc_offset(entry.r_type), bits, reloc_stop(entry.r_type, bits));
        if (is_sym_reloc(entry.r_type, entry.r_symndx)) {
            json_.member("symbol", entry.r_symndx);
            if (const char* const name = input_.symbol_table()->name_of(entry.r_symndx))
                put_name("symbol_name", input_.text_of(name));
        } else if (is_constant_reloc(entry.r_type)) {
            json_.member("constant", entry.r_symndx);
        }
        if (has_displacement(entry.r_type))
            json_.member("displacement", entry.r_disp);
        json_.end_object();
    }

    void put_field(int offset, int size, int container) {
        json_.member("field_offset", offset);
        json_.member("field_size", size);
        json_.member("container_size", container);
    }

    void put_symbol(const COFF_SYMBOL& symbol) {
        json_.begin_object();
        json_.member("index", symbol.coff_index());
        put_name("name", input_.text_of(symbol.name()));
        json_.member("value", static_cast<std::uint32_t>(symbol.value()));
        json_.member("section", symbol.scnum());
        if (COFF_SECTION* section = symbol.scnum() > 0 ? input_.get_section(symbol.scnum()) : nullptr)
            put_name("section_name", section->title());
        json_.member("type", symbol.stype());
        json_.member("class", symbol.sclass());
        json_.member("class_name", input_.symbol_table()->sclass_name(static_cast<std::int8_t>(symbol.sclass())));
        if (symbol.aux())
            put_auxiliary(symbol);
        json_.end_object();
    }

    void put_auxiliary(const COFF_SYMBOL& symbol) {
        const auxent& aux = *symbol.aux();
        json_.begin_object("auxiliary");
        if (symbol.form() == aux_form::file) {
            const auto* name = reinterpret_cast<const char*>(aux.bytes);
            json_.name("file", std::string_view(name, strnlen(name, aux_size)));
        }
        for (const aux_field& field : aux_fields(symbol.form()))
            json_.member(field.name, aux.value(field));
        json_.end_object();
    }

    void put_strings() {
        if (!input_.try_load_strings())
            return;
        const std::string_view table = input_.strtab_bytes();
        for (std::size_t offset = strtab_length_word; offset < table.size();) {
            const std::string_view text = table.substr(offset, table.find('\0', offset) - offset);
            json_.begin_object();
            json_.member("offset", offset);
            json_.name("string", text);
            json_.end_object();
            offset += text.size() + 1;
        }
    }

    COFF_FILE& input_;
    json_writer json_;
};

}  // namespace

void print_json(COFF_FILE& input, const char* path, std::FILE* out) {
    image_printer(input, out).print(path);
}

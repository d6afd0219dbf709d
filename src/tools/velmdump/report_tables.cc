// Which columns each table has, and what of a module goes into them.
#include "tools/velmdump/report_tables.h"

#include <algorithm>
#include <vector>

#include "coff/listing_text.h"
#include "format/reloc_types.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/module_facts.h"
#include "tools/velmdump/module_sizes.h"
#include "tools/velmdump/reloc_places.h"
#include "tools/velmdump/report_table.h"
#include "tools/velmdump/show.h"
#include "tools/velmdump/words.h"

namespace {

/// Names as the page has them. However many symbols share long names, the page stays in proportion to its module.
class page_names {
public:
    explicit page_names(const velm_module& module) : module_(module) {}

    std::string operator()(std::string_view name) {
        constexpr std::size_t longest = 512;
        constexpr std::size_t shortened = 64;
        constexpr std::size_t plenty = std::size_t{8} << 20;
        std::string text = drawn_name(name, used_ < plenty ? longest : shortened);
        used_ += text.size();
        return text;
    }
    std::string section(int number) {
        if (number > 0 && static_cast<std::size_t>(number) <= module_.sections.size())
            return (*this)(module_.name(module_.sections[static_cast<std::size_t>(number) - 1]));
        return section_words(module_, number, page_name);
    }
    /// A nameless symbol by its place.
    std::string symbol(std::uint32_t index) {
        if (index >= module_.symbols.size())
            return "symbol " + std::to_string(index);
        const velm_symbol_record& symbol = module_.symbols[index];
        return velm_module::is_named(symbol) ? (*this)(module_.name(symbol))
                                             : section(symbol.section) + " " + hex_word(symbol.value);
    }

private:
    const velm_module& module_;
    std::size_t used_ = 0;
};

/// Prints the relocations one by one, up to the limit of the page.
class reloc_rows {
public:
    reloc_rows(const velm_module& module, report_table& table)
        : module_(module), table_(table), names_(module), symbol_texts_(module.symbols.size(), unknown) {}

    void add(const section_place& section) {
        if (rows_ == most_report_rows)
            return;
        const std::size_t section_text = table_.text_number(names_(module_.name(section)));
        for_each_reloc(module_, section, [&](const reloc_place& reloc) {
            if (rows_ == most_report_rows)
                return;
            ++rows_;
            table_.begin_row();
            table_.known_text(section_text);
            table_.number(reloc.address);
            table_.number(reloc.offset);
            add_meaning(reloc.record);
        });
    }

private:
    static constexpr std::size_t unknown = ~std::size_t{0};

    void add_meaning(const reloc_record& rec) {
        table_.text(reloc_type_words(rec.r_type));
        table_.text(field_words(rec));
        if (is_constant_reloc(rec.r_type))
            table_.text("constant " + hex_word(rec.r_symndx));
        else if (!is_sym_reloc(rec.r_type, rec.r_symndx))
            table_.empty_cell();
        else
            table_.known_text(symbol_text(rec.r_symndx));
        if (has_displacement(rec.r_type))
            table_.number(rec.r_disp);
        else
            table_.empty_cell();
    }

    std::size_t symbol_text(std::uint32_t index) {
        if (index >= symbol_texts_.size())
            return table_.text_number(names_.symbol(index));
        if (symbol_texts_[index] == unknown)
            symbol_texts_[index] = table_.text_number(names_.symbol(index));
        return symbol_texts_[index];
    }

    const velm_module& module_;
    report_table& table_;
    page_names names_;
    std::vector<std::size_t> symbol_texts_;  ///< numbers of texts, each made when it is needed first
    std::uint64_t rows_ = 0;
};

}  // namespace

void print_findings_table(const module_file& file, const std::string& id, std::FILE* out) {
    report_table table(out, id + "-findings", "findings",
                       {{"Offset", "hexn"}, {"Severity", "text"}, {"Finding", "text"}});
    std::uint64_t rows = 0;
    for (const finding& f : file.findings) {
        if (rows++ == most_report_rows)
            break;
        table.begin_row();
        table.number(f.offset);
        table.text(severity_word(f.error));
        table.text(f.text);
    }
    table.finish();
}

void print_sections_table(const velm_module& module, const std::string& id, std::FILE* out) {
    report_table table(out, id + "-sections", "sections",
                       {{"No", "count"},
                        {"Name", "text"},
                        {"Kind", "text"},
                        {"Run address", "hex"},
                        {"Load address", "hex"},
                        {"Size in units", "hexn"},
                        {"Unit bits", "count"},
                        {"Page", "count"},
                        {"Bytes", "count"},
                        {"Packets", "count"},
                        {"Relocations", "count"}});
    page_names names(module);
    std::uint64_t number = 0;
    for (const section_place& section : module.sections) {
        const velm_scnhdr_record& h = section.header;
        table.begin_row();
        table.number(++number);
        table.text(names(module.name(section)));
        table.text(flag_words(h.flags));
        for (const std::uint32_t value : {h.paddr, h.vaddr, h.size})
            table.number(value);
        table.number(static_cast<unsigned>(section.width));
        table.number(h.page);
        table.number(memory_bytes(section));
        table.number(h.npackets);
        table.number(section.nreloc);
    }
    table.finish();
}

void print_symbols_table(const velm_module& module, const std::string& id, std::FILE* out) {
    report_table table(out, id + "-symbols", "symbols",
                       {{"No", "count"},
                        {"Name", "text"},
                        {"Kind", "text"},
                        {"Value", "hex"},
                        {"Section", "text"},
                        {"Class", "count"},
                        {"Uses by relocations", "count"}});
    page_names names(module);
    const std::vector<std::uint64_t> uses = uses_of_symbols(module);
    for (std::uint32_t i = 0; i < module.symbols.size(); ++i) {
        const velm_symbol_record& symbol = module.symbols[i];
        table.begin_row();
        table.number(i);
        if (velm_module::is_named(symbol))
            table.text(names(module.name(symbol)));
        else
            table.empty_cell();
        table.text(module.is_export(symbol) ? "export" : module.is_import(symbol) ? "import" : "nameless");
        table.number(symbol.value);
        table.text(names.section(symbol.section));
        table.number(symbol.storage_class);
        table.number(uses[i]);
    }
    table.finish();
}

void print_relocs_table(const velm_module& module, const std::string& id, std::FILE* out) {
    report_table table(out, id + "-relocations", "relocations",
                       {{"Section", "text"},
                        {"Address", "hex"},
                        {"Offset in section", "hexn"},
                        {"Type", "text"},
                        {"Field", "text"},
                        {"Refers to", "text"},
                        {"Displacement", "hexn"}});
    reloc_rows rows(module, table);
    for (const section_place& section : module.sections)
        rows.add(section);
    table.finish();
}

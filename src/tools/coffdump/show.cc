// The summary, and the parts that are asked for; the class library lists each.
#include "tools/coffdump/show.h"

#include <functional>

#include "coff/coff_file.h"
#include "coff/coff_section.h"
#include "coff/coff_symbol.h"
#include "coff/coff_symbol_table.h"
#include "coff/listing_text.h"
#include "tools/coffdump/input_file.h"
#include "tools/coffdump/options.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"

namespace {

std::string shown_title(const COFF_FILE& input, const COFF_SECTION& section) {
    return brief(section.title(), COFF_FILE::longest_name(&input));
}

void list_section_table(COFF_FILE& input, std::FILE* out) {
    std::fputs("  no  run addr    load addr   size        unit  relocs  lines   flags       name\n", out);
    for_each_section(input, [&](COFF_SECTION& section) {
        std::fprintf(out, "%4u  0x%08X  0x%08X  0x%08X  %4u  %6u  %5u   0x%08X  %s\n", section.scnum(),
                     section.sh_paddr(), section.sh_vaddr(), section.size_in_words(), section.wordsz(),
                     section.sh_nreloc(), section.sh_nlnno(), section.sh_flags(), shown_title(input, section).c_str());
    });
}

void list_symbol_counts(COFF_FILE& input, std::FILE* out) {
    unsigned long symbols = 0;
    unsigned long defined = 0;
    unsigned long undefined = 0;
    unsigned long absolute = 0;
    input.symbol_table()->for_each_symbol([&](const COFF_SYMBOL& symbol) {
        ++symbols;
        if (symbol.sclass() != C_EXT && symbol.sclass() != C_EXTLAB)
            return;
        if (symbol.scnum() == 0)
            ++undefined;
        else if (symbol.scnum() < 0)
            ++absolute;
        else
            ++defined;
    });
    std::fprintf(out, "%s; external: %lu in sections, %lu absolute, %lu undefined\n",
                 counted(symbols, "symbol").c_str(), defined, absolute, undefined);
}

void list_title(const COFF_FILE& input, const COFF_SECTION& section, std::FILE* out) {
    std::fprintf(out, "Section %u %s\n", section.scnum(), shown_title(input, section).c_str());
}

bool list_contents(COFF_FILE& input, const std::string& name, std::FILE* out) {
    bool found = name == "*";
    for_each_section(input, [&](COFF_SECTION& section) {
        if (name != "*" && name != section.name())
            return;
        found = true;
        list_title(input, section, out);
        section.dump_contents(out);
    });
    if (!found)
        complain("no section is named %s", printable(name).c_str());
    return found;
}

}  // namespace

void list_summary(COFF_FILE& input, std::FILE* out) {
    input.dump_header(out);
    list_section_table(input, out);
    list_symbol_counts(input, out);
}

bool list_parts(COFF_FILE& input, const coffdump_options& options, std::FILE* out) {
    if (options.headers) {
        input.dump_header(out);
        for_each_section(input, [out](COFF_SECTION& section) { section.dump_header(out); });
    }
    if (options.sections)
        list_section_table(input, out);
    if (!options.contents.empty() && !list_contents(input, options.contents, out))
        return false;
    if (options.relocs)
        for_each_section(input, [&](COFF_SECTION& section) {
            list_title(input, section, out);
            section.dump_relocs(out);
        });
    if (options.lines)
        for_each_section(input, [&](COFF_SECTION& section) {
            list_title(input, section, out);
            section.dump_lines(out);
        });
    if (options.symbols)
        input.symbol_table()->dump(out);
    if (options.strings)
        input.dump_strings(out);
    return true;
}

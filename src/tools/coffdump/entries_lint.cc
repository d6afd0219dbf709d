// Follows the converter's questions: names first, then prefixes in their order, then the symbol's section. An entry that
// is never the first to answer is shadowed.
#include "tools/coffdump/entries_lint.h"

#include <cstdio>
#include <map>
#include <set>
#include <string_view>

#include "coff/coff_file.h"
#include "coff/coff_section.h"
#include "coff/coff_symbol.h"
#include "coff/coff_symbol_table.h"
#include "format/limits.h"
#include "format/reloc_record.h"
#include "format/reloc_types.h"
#include "tools/common/file_input.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"

namespace {

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

placed_entry make_entry(const std::string& file, unsigned long line, unsigned long column, const std::string& text) {
    placed_entry entry;
    entry.file = file;
    entry.line = line;
    entry.column = column;
    entry.optional = text[0] == '-';
    entry.text = text;
    entry.name = text.substr(entry.optional);
    const char marker = entry.name.empty() ? '\0' : entry.name[0];
    if (marker == '^')
        entry.kind = placed_entry::prefix;
    else if (marker == '@')
        entry.kind = placed_entry::export_section;
    else if (marker == '!')
        entry.kind = placed_entry::excluded_section;
    if (entry.kind != placed_entry::symbol)
        entry.name.erase(0, 1);
    return entry;
}

/// What the converter knows about a symbol when it asks whether it is an entry.
struct candidate {
    std::string_view name;
    COFF_SECTION* section;  ///< null: undefined, absolute, or a section that does not exist
    int sclass;
    bool defined;
    bool referenced;  ///< some relocation uses it
};

/// Why the module will not show the symbol under its name although an entry asks for it; empty when it will.
std::string obstacle_of(const candidate& symbol) {
    if (symbol.name == "__DLStart")
        return "is the entry point, which travels without a name";
    if (!is_accepted_class(symbol.sclass))
        return "has a storage class that no module holds";
    if (symbol.sclass == C_STAT)
        return "is static, and static symbols have no name in a module";
    if (!symbol.defined)
        return "is undefined: it is imported, not exported";
    if (!is_external_class(symbol.sclass) && !symbol.referenced)
        return "is not external and no relocation uses it";
    return {};
}

/// The entries by what they are asked for.
class entry_book {
public:
    explicit entry_book(std::vector<placed_entry>& entries) {
        for (placed_entry& entry : entries) {
            auto& known = by_text_[entry.kind];
            const auto [place, added] = known.emplace(entry.name, &entry);
            if (!added)
                entry.first = place->second;
            else if (entry.kind == placed_entry::prefix)
                prefixes_.push_back(&entry);
        }
    }

    /// The entries that apply to the symbol, the one that answers first.
    std::vector<placed_entry*> all_for(const candidate& symbol) {
        std::vector<placed_entry*> result;
        add(result, placed_entry::symbol, symbol.name);
        for (placed_entry* entry : prefixes_) {
            if (symbol.name.substr(0, entry->name.size()) == entry->name)
                result.push_back(entry);
        }
        if (symbol.section)
            add(result, placed_entry::export_section, symbol.section->name());
        return result;
    }

    /// The entries that exclude a section of this name.
    std::vector<placed_entry*> all_excluding(std::string_view name) {
        std::vector<placed_entry*> result;
        for (;;) {
            add(result, placed_entry::excluded_section, name);
            const std::size_t colon = name.rfind(':');
            if (colon == std::string_view::npos)
                return result;
            name = name.substr(0, colon);
        }
    }

private:
    void add(std::vector<placed_entry*>& result, placed_entry::kind_type kind, std::string_view name) {
        const auto found = by_text_[kind].find(name);
        if (found != by_text_[kind].end())
            result.push_back(found->second);
    }

    std::map<placed_entry::kind_type, std::map<std::string, placed_entry*, std::less<>>> by_text_;
    std::vector<placed_entry*> prefixes_;
};

std::set<std::uint32_t> referenced_symbols(COFF_FILE& input) {
    std::set<std::uint32_t> result;
    for (int n = 1; n <= input.fh_nscns(); ++n) {
        for (const reloc* rec : items<reloc>(*input.get_section(static_cast<std::int16_t>(n))->get_reloc_list())) {
            if (is_sym_reloc(rec->r_type, rec->r_symndx))
                result.insert(rec->r_symndx);
        }
    }
    return result;
}

void count(const std::vector<placed_entry*>& applying, const std::string& obstacle, bool exported) {
    for (std::size_t i = 0; i < applying.size(); ++i) {
        placed_entry& entry = *applying[i];
        ++entry.matches;
        if (entry.kind == placed_entry::symbol && entry.exports == 0)
            entry.obstacle = obstacle;
        if (i == 0) {
            ++entry.decides;
            entry.exports += exported;
        }
    }
}

const char* what(const placed_entry& entry) {
    static const char* const names[] = {"symbol", "prefix", "section", "excluded section"};
    return names[entry.kind];
}

/// The complaint about the entry, empty when there is none.
std::string complaint(const placed_entry& entry, const char* input_name) {
    const std::string named = std::string(what(entry)) + " '" + entry.name + "' ";
    if (entry.first) {
        const std::string place =
            entry.first->file + ":" + std::to_string(entry.first->line) + ":" + std::to_string(entry.first->column);
        if (entry.first->optional != entry.optional)
            return named + "is listed with another qualifier at " + place;
        return named + "is listed already at " + place;
    }
    if (entry.matches == 0)
        return entry.optional ? "" : named + "matches nothing in " + input_name;
    if (!entry.obstacle.empty() && entry.exports == 0)
        return named + entry.obstacle;
    if (entry.decides == 0)
        return named + "is shadowed: other entries answer for everything that it matches";
    return "";
}

}  // namespace

bool read_entries(const std::string& file, std::vector<placed_entry>& entries) {
    const auto bytes = read_whole(file);
    if (!bytes)
        return false;
    const std::string text(bytes->begin(), bytes->end());
    unsigned long line = 1;
    std::size_t line_start = 0;
    for (std::size_t at = 0; at < text.size();) {
        if (is_blank(text[at])) {
            if (text[at++] == '\n') {
                ++line;
                line_start = at;
            }
        } else if (text[at] == '#') {
            at = std::min(text.find('\n', at), text.size());
        } else {
            const std::size_t start = at;
            while (at < text.size() && !is_blank(text[at]))
                ++at;
            if (at - start > max_entry_length) {
                complain("%s:%lu: an entry has more than 255 characters", printable(file).c_str(), line);
                return false;
            }
            entries.push_back(make_entry(file, line, start - line_start + 1, text.substr(start, at - start)));
        }
    }
    return true;
}

void apply_entries(COFF_FILE& input, std::vector<placed_entry>& entries) {
    entry_book book(entries);
    const std::set<std::uint32_t> referenced = referenced_symbols(input);
    SLIST::NODE* node = input.symbol_table()->first_sym();
    for (; node; node = node->mylist()->next(node)) {
        auto* sym = static_cast<COFF_SYMBOL*>(node->data);
        candidate symbol{sym->name(), nullptr, sym->sclass(), sym->scnum() != 0,
                         referenced.count(sym->coff_index()) != 0};
        if (sym->scnum() > 0)
            symbol.section = input.get_section(sym->scnum());
        const std::string obstacle = obstacle_of(symbol);
        // A symbol of a debugging class is nobody's match, unless an entry names it outright.
        std::vector<placed_entry*> applying = book.all_for(symbol);
        if (!is_accepted_class(symbol.sclass) && (applying.empty() || applying[0]->kind != placed_entry::symbol))
            continue;
        count(applying, obstacle, obstacle.empty());
    }
    for (int n = 1; n <= input.fh_nscns(); ++n)
        count(book.all_excluding(input.get_section(static_cast<std::int16_t>(n))->name()), "", false);
}

unsigned long report_entries(const std::vector<placed_entry>& entries, const char* input_name, std::FILE* out) {
    unsigned long warnings = 0;
    for (const placed_entry& entry : entries) {
        const std::string text = complaint(entry, input_name);
        if (text.empty())
            continue;
        std::fprintf(out, "%s:%lu:%lu: warning: %s\n", entry.file.c_str(), entry.line, entry.column, text.c_str());
        ++warnings;
    }
    for (const placed_entry& entry : entries) {
        const bool excludes = entry.kind == placed_entry::excluded_section;
        const unsigned long number = excludes ? entry.decides : entry.exports;
        std::fprintf(out, "%s:%lu:%lu: %s %s %lu %s%s\n", entry.file.c_str(), entry.line, entry.column,
                     entry.text.c_str(), excludes ? "excludes" : "exports", number, excludes ? "section" : "symbol",
                     number == 1 ? "" : "s");
    }
    return warnings;
}

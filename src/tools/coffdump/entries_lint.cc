// What the module exports, and by which entry, is the conversion's answer. Which entries apply besides, and never get to
// answer, is found here: by name first, then the prefixes in their order, then the symbol's section.
#include "tools/coffdump/entries_lint.h"

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <unordered_map>

#include "tools/coffdump/near_names.h"
#include "tools/common/text_forms.h"
#include "tools/second_opinion/facts.h"

namespace {

namespace so = second_opinion;

/// The section of the input in which a symbol lies, null when there is none.
const so::section* section_of(const so::account& told, const so::symbol& symbol) {
    const auto number = static_cast<std::size_t>(symbol.scnum);
    return symbol.scnum > 0 && number <= told.input->sections.size() ? &told.input->sections[number - 1] : nullptr;
}

bool is_left_out(const so::account& told, const so::symbol& symbol) {
    const so::section* const section = section_of(told, symbol);
    return section && !told.in_module(*section);
}

const char* why_left_out(so::section_fate fate) {
    switch (fate) {
    case so::section_fate::dummy:
        return "a dummy section";
    case so::section_fate::not_loaded:
        return "a section that is not loaded";
    case so::section_fate::excluded:
        return "excluded by an entry";
    default:
        return "empty";
    }
}

/// Why the module will not show the symbol under its name although an entry applies to it; empty when it will.
std::string obstacle_of(const so::account& told, std::size_t k) {
    const so::symbol& symbol = told.input->symbols[k];
    if (symbol.sclass == so::nameless_class && symbol.scnum != 0)
        return "is static, and static symbols have no name in a module";
    switch (told.symbols[k].fate) {
    case so::symbol_fate::exported:
        if (is_left_out(told, symbol)) {
            const so::section& section = *section_of(told, symbol);
            return "lies in " + std::string(section.name) + ", which the module leaves out (" +
                   why_left_out(told.sections[section.number - 1].fate) + "): it is imported, not exported";
        }
        return {};
    case so::symbol_fate::imported:
    case so::symbol_fate::undefined:
        return "is undefined: it is imported, not exported";
    case so::symbol_fate::nameless:
        return "is the entry point, which travels without a name";
    case so::symbol_fate::class_unkept:
        return "has a storage class that no module holds";
    case so::symbol_fate::not_external:
        return "is not external and no relocation uses it";
    default:
        return {};
    }
}

/// The entries by what they are asked for.
class entry_book {
public:
    explicit entry_book(std::vector<placed_entry>& entries) {
        for (placed_entry& entry : entries) {
            by_name_start_.emplace(entry.name.data(), &entry);
            const auto [place, added] = by_text_[entry.kind].emplace(entry.name, &entry);
            if (!added)
                entry.first = place->second;
            else if (entry.kind == placed_entry::prefix)
                prefix_lengths_.insert(entry.name.size());
            if (entry.file.empty())
                added_.push_back(&entry);
        }
    }

    /// The entry that the conversion found; null for none.
    placed_entry* of(const so::entry* found) const {
        if (!found)
            return nullptr;
        if (found->is_default) {
            const auto same = std::find_if(added_.begin(), added_.end(),
                                           [found](const placed_entry* e) { return e->name == found->name; });
            return same == added_.end() ? nullptr : *same;
        }
        const auto place = by_name_start_.find(found->name.data());
        return place == by_name_start_.end() ? nullptr : place->second;
    }

    /// The entries that apply to a symbol.
    std::vector<placed_entry*> all_for(std::string_view name, const so::section* section) const {
        std::vector<placed_entry*> result;
        add(result, placed_entry::symbol, name);
        add_prefixes(result, name);
        if (section)
            add(result, placed_entry::export_section, section->name);
        return result;
    }

    /// The entries that exclude a section of this name.
    std::vector<placed_entry*> all_excluding(std::string_view name) const {
        std::vector<placed_entry*> result;
        if (name.size() > so::longest_entry) {  // no entry names it, but perhaps what it is a subsection of
            const std::size_t colon = name.substr(0, so::longest_entry + 1).rfind(':');
            if (colon == std::string_view::npos)
                return result;
            name = name.substr(0, colon);
        }
        for (std::size_t colon = 0; colon != std::string_view::npos; name = name.substr(0, colon)) {
            add(result, placed_entry::excluded_section, name);
            colon = name.rfind(':');
        }
        return result;
    }

private:
    void add(std::vector<placed_entry*>& result, placed_entry::kind_type kind, std::string_view name) const {
        if (name.size() > so::longest_entry)
            return;
        const auto found = by_text_[kind].find(name);
        if (found != by_text_[kind].end())
            result.push_back(found->second);
    }

    /// In the order in which they were read, which is that of their places in memory.
    void add_prefixes(std::vector<placed_entry*>& result, std::string_view name) const {
        const auto first = static_cast<std::ptrdiff_t>(result.size());
        for (const std::size_t length : prefix_lengths_) {
            if (length <= name.size())
                add(result, placed_entry::prefix, name.substr(0, length));
        }
        std::sort(result.begin() + first, result.end());
    }

    std::unordered_map<std::string_view, placed_entry*> by_text_[4];
    std::unordered_map<const char*, placed_entry*> by_name_start_;
    std::set<std::size_t> prefix_lengths_;
    std::vector<placed_entry*> added_;
};

void apply_to_symbol(const so::account& told, std::size_t k, const entry_book& book) {
    const so::symbol& symbol = told.input->symbols[k];
    const std::vector<placed_entry*> applying = book.all_for(symbol.name, section_of(told, symbol));
    // A symbol of a debugging class is nobody's match, unless an entry names it outright.
    if (applying.empty() ||
        (told.symbols[k].fate == so::symbol_fate::class_unkept && applying[0]->kind != placed_entry::symbol))
        return;
    const std::string obstacle = obstacle_of(told, k);
    for (placed_entry* entry : applying) {
        ++entry->matches;
        if (entry->exports == 0 && !obstacle.empty())
            entry->obstacle = obstacle;
    }
    ++applying[0]->decides;
    placed_entry* const by = book.of(told.symbols[k].by);
    if (by && told.symbols[k].fate == so::symbol_fate::exported && !is_left_out(told, symbol))
        ++by->exports;
}

const char* kind_words(placed_entry::kind_type kind) {
    static const char* const names[] = {"symbol", "prefix", "section", "excluded section"};
    return names[kind];
}

/// What the complaints need to know of the input, gathered when the first needs it.
class linter {
public:
    linter(const so::account& told, const std::vector<placed_entry>& entries, const std::string& input_name,
           const std::string& said)
        : told_(told), input_name_(input_name) {
        for (const placed_entry& entry : entries)
            required_[{entry.kind, entry.name}] += !entry.optional;
        for (std::size_t at = 0; at < said.size();) {
            const std::size_t end = std::min(said.find('\n', at), said.size());
            said_.push_back(std::string_view(said).substr(at, end - at));
            at = end + 1;
        }
        std::sort(said_.begin(), said_.end());
    }

    /// The warning about the entry, its text empty when there is none. With `suggest` what was probably meant, too.
    finding complaint(const placed_entry& entry, bool suggest) {
        finding made{false, entry.place(), "", says_missing(entry), ""};
        const std::string named = std::string(kind_words(entry.kind)) + " '" + std::string(entry.name) + "' ";
        if (entry.first)
            repeated(entry, named, made);
        else if (entry.file.empty())
            return made;
        else if (entry.matches == 0)
            matchless(entry, named, suggest, made);
        else if (entry.exports == 0 && entry.kind != placed_entry::excluded_section && !entry.obstacle.empty() &&
                 (entry.kind == placed_entry::symbol || entry.decides != 0))
            made.text = named + obstacle_words(entry);
        else if (entry.decides == 0 && entry.kind == placed_entry::excluded_section)
            made.text = named + "has no effect: what it matches is left out without it";
        else if (entry.decides == 0)
            made.text = named + "is shadowed: other entries answer for everything that it matches";
        else if (!made.says.empty())
            made.text = named + "exports nothing";
        return made;
    }

private:
    static std::string obstacle_words(const placed_entry& entry) {
        if (entry.kind == placed_entry::symbol)
            return entry.obstacle;
        return "exports nothing: a symbol that it matches " + entry.obstacle;
    }

    void repeated(const placed_entry& entry, const std::string& named, finding& made) const {
        const placed_entry& kept = *entry.first;
        const bool differs = kept.optional != entry.optional;
        if (entry.file.empty()) {  // added behind the user's: of interest only when modforge warns of it
            if (!differs)
                return;
            made.place = kept.place();
            made.text =
                named + "is listed without '-', but modforge adds '-" + std::string(entry.name) + "' to all entries";
            made.way_out = "write it with '-', or leave it out";
        } else {
            made.text =
                named + (differs ? "is listed with another qualifier at " : "is listed already at ") + kept.place();
        }
        const bool in_table = entry.kind == placed_entry::symbol || entry.kind == placed_entry::excluded_section;
        const std::string name(entry.name);
        if (differs && in_table)
            made.says = "WARNING: Duplicate entries for " + name +
                        " from entries file(s) with different qualifiers. Keeping entry " +
                        (kept.optional ? '-' : ' ') + name;
    }

    void matchless(const placed_entry& entry, const std::string& named, bool suggest, finding& made) {
        if (entry.optional)
            return;
        made.text = named + "matches nothing in " + input_name_;
        if (!suggest)
            return;
        const std::vector<std::string_view>& names = candidates(entry.kind);
        if (names.size() > comparisons_left_)
            return;
        comparisons_left_ -= names.size();
        const std::string near = nearest_name(entry.name, names, entry.kind == placed_entry::prefix);
        if (!near.empty())
            made.text += "; did you mean '" + near + "'?";
    }

    std::string says_missing(const placed_entry& entry) const {
        static const char* const words[] = {"Symbol ", "Prefix ", "Section "};
        if (entry.optional || entry.kind == placed_entry::excluded_section)
            return {};
        const std::string line = std::string("WARNING: ") + words[entry.kind] + std::string(entry.name) +
                                 " from entries file not found in " + input_name_;
        // Of prefixes and sections every repetition is missed, too; of them all the first is found first.
        const bool only_once = entry.kind == placed_entry::symbol;
        const std::size_t others = entry.first || only_once ? 0 : required_.at({entry.kind, entry.name}) - 1;
        if (only_once && entry.first)
            return {};
        const auto same = std::equal_range(said_.begin(), said_.end(), std::string_view(line));
        return static_cast<std::size_t>(same.second - same.first) <= others ? "" : line;
    }

    const std::vector<std::string_view>& candidates(placed_entry::kind_type kind) {
        const bool symbols = kind == placed_entry::symbol || kind == placed_entry::prefix;
        std::vector<std::string_view>& names = symbols ? symbol_names_ : section_names_;
        if (!names.empty())
            return names;
        const auto add = [&names](std::string_view name) { names.push_back(name.substr(0, so::longest_entry + 1)); };
        for (std::size_t k = 0; symbols && k < told_.symbols.size() && names.size() < comparisons_left_; ++k) {
            if (told_.symbols[k].fate != so::symbol_fate::class_unkept)
                add(told_.input->symbols[k].name);
        }
        for (const so::section& section : told_.input->sections) {
            if (!symbols)
                add(section.name);
        }
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        return names;
    }

    const so::account& told_;
    const std::string& input_name_;
    std::vector<std::string_view> said_;                                                    // sorted lines
    std::map<std::pair<placed_entry::kind_type, std::string_view>, std::size_t> required_;  // how often, without '-'
    std::vector<std::string_view> symbol_names_;
    std::vector<std::string_view> section_names_;
    std::size_t comparisons_left_ = 20'000'000;  ///< of names; then nothing more is suggested
};

}  // namespace

void apply_entries(const so::account& told, std::vector<placed_entry>& entries) {
    const entry_book book(entries);
    for (std::size_t k = 0; k < told.symbols.size(); ++k)
        apply_to_symbol(told, k, book);
    for (std::size_t n = 0; n < told.sections.size(); ++n) {
        for (placed_entry* entry : book.all_excluding(told.input->sections[n].name))
            ++entry->matches;
        if (placed_entry* const by =
                told.sections[n].fate == so::section_fate::excluded ? book.of(told.sections[n].by) : nullptr)
            ++by->decides;
    }
}

void lint_entries(const so::account& told, const std::vector<placed_entry>& entries, const std::string& input_name,
                  const std::string& said, finding_list& findings) {
    const auto words = std::make_shared<linter>(told, entries, input_name, said);
    std::vector<std::uint32_t> which;
    for (std::size_t k = 0; k < entries.size(); ++k) {
        if (!words->complaint(entries[k], false).text.empty())
            which.push_back(static_cast<std::uint32_t>(k));
    }
    findings.add_made_later(std::move(which),
                            [words, &entries](std::uint32_t k) { return words->complaint(entries[k], true); });
}

void print_counts(const std::vector<placed_entry>& entries, std::FILE* out) {
    for (const placed_entry& entry : entries) {
        const bool excludes = entry.kind == placed_entry::excluded_section;
        std::fprintf(out, "%s: %s %s %s\n", printable(entry.place()).c_str(), printable(entry.text).c_str(),
                     excludes ? "excludes" : "exports",
                     (excludes ? counted(entry.decides, "section") : counted(entry.exports, "symbol")).c_str());
    }
}

// Reads the entries files and answers their questions.
#include "convert/entries_files.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "coff/coff_section.h"
#include "coff/symbol_view.h"
#include "convert/entry_tokens.h"
#include "convert/options.h"
#include "convert/velm_file.h"
#include "format/limits.h"
#include "format/special_names.h"
#include "msg/error_exit.h"

namespace {

constexpr unsigned fixed_hash_key = 27;  // bits by which the hash product is shifted

entry_texts all_texts;  // in which the names of all entries lie

/// What is_exported_symbols_section() answered before, by section number.
std::vector<std::uint8_t> section_answers;

/// Whether the token is to be kept.
bool add_token(std::string_view token) {
    const std::size_t marker = token.starts_with('-');
    switch (marker < token.size() ? token[marker] : '\0') {
    case '^':
        add_to_an_entries_list(entries_prefix_list, token);
        return true;
    case '@':
        add_to_an_entries_list(entries_symbols_section_list, token);
        return true;
    case '!':
        return add_an_entry(token, entry_section_table);
    default:
        return add_an_entry(token, entry_sym_table);
    }
}

void read_entries_file(const char* name) {
    std::FILE* stream = std::fopen(name, "r");
    if (!stream)
        error_exit("ERROR: Unable to open entries file %s\n", name);
    std::setvbuf(stream, nullptr, _IONBF, 0);  // it is read in blocks
    read_in_entries(stream, name);
    const bool failed = std::ferror(stream) != 0;
    std::fclose(stream);
    if (failed)
        error_exit("ERROR: Unable to read entries file %s\n", name);
}

/// Whether every symbol of the section of that number is to be exported. Asks once for each section.
bool exports_section(std::int16_t scnum) {
    enum : std::uint8_t { not_asked, no, yes };
    const auto place = static_cast<std::size_t>(scnum);
    if (place >= section_answers.size())
        section_answers.resize(std::max(place + 1, section_answers.size() * 2), not_asked);
    if (section_answers[place] == not_asked) {
        COFF_SECTION* const scn = coff_file.get_section(scnum);
        section_answers[place] = scn && is_exported_symbols_section(scn->name()) ? yes : no;
    }
    return section_answers[place] == yes;
}

/// The group in which a missing symbol is warned of. Within a group the last entry comes first.
std::uint32_t bucket_of(std::string_view name) {
    // Each character shifts those before it by four bits: only the last eight are left in the word. On purpose characters
    // are signed: 0x80 and above subtract.
    std::uint32_t hash = 0;
    for (const char c : name.substr(name.size() - std::min(name.size(), std::size_t{8})))
        hash = (hash << 4) + static_cast<std::uint32_t>(static_cast<signed char>(c));
    return (hash * 0x4E67C98CU) >> fixed_hash_key;
}

/// Whether the entry is one to warn of.
bool is_missing(const entries_file_sym& entry) {
    return !entry.optional && !entry.found;
}

/// Calls `warn(name)`, with the name NUL-terminated, for each missing one of the entries. Tells whether there was one.
template <typename WARN> bool warn_of_missing(const std::vector<entries_file_sym>& entries, WARN warn) {
    bool warned = false;
    for (const entries_file_sym& entry : entries) {
        if (!is_missing(entry))
            continue;
        warn(std::string(entry.name).c_str());
        warned = true;
    }
    return warned;
}

/// The missing symbols, group by group.
std::vector<entries_file_sym> missing_symbols() {
    std::vector<entries_file_sym> missing;
    const std::vector<entries_file_sym>& all = entry_sym_table.records();
    std::copy_if(all.rbegin(), all.rend(), std::back_inserter(missing), is_missing);
    std::stable_sort(missing.begin(), missing.end(), [](const entries_file_sym& a, const entries_file_sym& b) {
        return bucket_of(a.name) < bucket_of(b.name);
    });
    return missing;
}

}  // namespace

void setup_entries_lists() {
    if (entries_files_list.size() == 0)
        return;
    for (const char* name : items<const char>(entries_files_list))
        read_entries_file(name);
    for (const char* entry : default_entries)
        add_an_entry(entry, entry_sym_table);
}

int read_in_entries(std::FILE* stream, const char* file_name) {
    entry_tokens tokens(stream, file_name, all_texts);
    while (const std::optional<std::string_view> token = tokens.next()) {
        if (add_token(*token))
            tokens.keep();
    }
    return EOF;
}

bool add_an_entry(std::string_view text, entries_table& table) {
    const bool optional = text.starts_with('-');
    text.remove_prefix(optional);
    text.remove_prefix(text.starts_with('!'));
    const entries_file_sym* const kept = table.find_or_add(hashed_name(text), optional);
    if (kept && kept->optional != optional && warn_missing_symbols) {
        const std::string name(text);
        std::fprintf(stderr,
                     "WARNING: Duplicate entries for %s from entries file(s) with different qualifiers. "
                     "Keeping entry %c%s\n",
                     name.c_str(), kept->optional ? '-' : ' ', name.c_str());
    }
    return !kept;
}

bool is_entries_symbol(const symbol_view& sym) {
    if (entries_files_list.size() == 0)
        return true;
    // Entries have at most 255 characters: what lies behind them in a name, however long, is never looked at.
    const std::string_view name = sym.text().substr(0, max_entry_length + 1);
    entries_file_sym* entry =
        name.size() <= max_entry_length ? entry_sym_table.find_matching_entry(sym.hashed()) : nullptr;
    if (!entry)
        entry = entries_prefix_list.find_start_of(name);
    if (!entry)
        return sym.scnum() > 0 && exports_section(sym.scnum());
    entry->found = true;
    return true;
}

bool is_exported_symbols_section(const char* name) {
    const std::string_view text(name, strnlen(name, max_entry_length + 1));
    entries_file_sym* const entry = entries_symbols_section_list.find_matching_entry(hashed_name(text));
    if (entry)
        entry->found = true;
    return entry != nullptr;
}

bool is_entries_section(COFF_SECTION* scn) {
    if (entries_files_list.size() == 0)
        return false;
    // From the whole name down to what stands before its first colon. Longer than every entry: cannot match.
    const std::string_view name(scn->name(), strnlen(scn->name(), max_entry_length + 1));
    std::size_t length = name.size();
    while (length != std::string_view::npos) {
        if (length <= max_entry_length && entry_section_table.find_matching_entry(hashed_name(name.substr(0, length))))
            return true;
        length = length == 0 ? std::string_view::npos : name.rfind(':', length - 1);
    }
    return false;
}

void report_missing_symbols() {
    bool warned = warn_of_missing(missing_symbols(), [](const char* name) {
        std::fprintf(stderr, "WARNING: Symbol %s from entries file not found in %s\n", name, filename_in);
    });
    warned |= warn_of_missing(entries_prefix_list.records(), [](const char* name) {
        std::fprintf(stderr, "WARNING: Prefix %s from entries file not found in %s\n", name, filename_in);
    });
    warned |= warn_of_missing(entries_symbols_section_list.records(), [](const char* name) {
        std::fprintf(stderr, "WARNING: Section %s from entries file not found in %s\n", name, filename_in);
    });
    if (warned)
        std::fputs("\n\n", stderr);
}

void cleanup_entries_lists() {
    entry_sym_table.clear();
    entry_section_table.clear();
    entries_prefix_list.clear();
    entries_symbols_section_list.clear();
    section_answers = {};
    all_texts.clear();
}

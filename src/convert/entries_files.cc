// Reads the entries files and answers their questions.
#include "convert/entries_files.h"

#include <algorithm>
#include <cstring>

#include "coff/coff_section.h"
#include "coff/symbol_view.h"
#include "convert/options.h"
#include "convert/velm_file.h"
#include "format/limits.h"
#include "format/special_names.h"
#include "msg/error_exit.h"
#include "msg/patient_io.h"

const std::uint32_t fixed_hash_key = 27;
static_assert(entries_buckets == (0xFFFFFFFFU >> fixed_hash_key) + 1);

namespace {

name_index& index_of(entries_file_sym** table) {
    return table == entry_sym_table ? entries_lookup.symbols : entries_lookup.excluded;
}

bool is_blank(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// An entries file as a sequence of tokens, read in pieces.
class token_reader {
public:
    token_reader(std::FILE* stream, const char* file_name) : stream_(stream), file_name_(file_name) {}

    /// The next token that is no comment, or null at the end of the file. Valid until the next call.
    const char* next() {
        for (;;) {
            int c = get();
            while (is_blank(c))
                c = get();
            if (c == EOF)
                return nullptr;
            if (c != '#')
                return token_from(c);
            while (c != '\n' && c != EOF)
                c = get();
        }
    }

private:
    const char* token_from(int c) {
        std::size_t length = 0;
        for (; c != EOF && !is_blank(c); c = get()) {
            if (length == max_entry_length)
                error_exit("ERROR: %s:%lu: an entry has more than 255 characters\n", file_name_, line_);
            token_[length++] = static_cast<char>(c);
        }
        token_[length] = '\0';
        return token_;
    }

    int get() {
        if (at_ == end_) {
            end_ = read_bytes(buffer_, sizeof buffer_, stream_);
            at_ = 0;
            if (end_ == 0)
                return EOF;
        }
        const int c = static_cast<unsigned char>(buffer_[at_++]);
        line_ += c == '\n';
        return c;
    }

    std::FILE* stream_;
    const char* file_name_;
    unsigned long line_ = 1;
    char buffer_[4096];
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    char token_[max_entry_length + 1];
};

void add_token(const char* token) {
    const char marker = token[0] == '-' ? token[1] : token[0];
    switch (marker) {
    case '^':
        return add_to_an_entries_list(&entries_prefix_list, token);
    case '@':
        return add_to_an_entries_list(&entries_symbols_section_list, token);
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
    read_in_entries(stream, name);
    const bool failed = std::ferror(stream) != 0;
    std::fclose(stream);
    if (failed)
        error_exit("ERROR: Unable to read entries file %s\n", name);
}

/// The answer of `ask`, which is asked once for every place.
template <typename ASK> bool remembered(std::vector<std::uint8_t>& answers, std::size_t place, ASK ask) {
    enum : std::uint8_t { not_asked, no, yes };
    if (place >= answers.size())
        answers.resize(std::max(place + 1, answers.size() * 2), not_asked);
    if (answers[place] == not_asked)
        answers[place] = ask() ? yes : no;
    return answers[place] == yes;
}

/// Whether some entry exports the symbol; marks the one that says so.
bool names_symbol(const symbol_view& sym) {
    // Entries have at most 255 characters: what lies behind them in a name, however long, is never looked at.
    const std::string_view name(sym.name(), strnlen(sym.name(), max_entry_length + 1));
    entries_file_sym* entry =
        name.size() <= max_entry_length ? entries_lookup.find(entries_lookup.symbols, name) : nullptr;
    if (!entry)
        entry = entries_lookup.find_prefix(name);
    if (entry) {
        entry->found = 1;
        return true;
    }
    COFF_SECTION* const scn = sym.scnum() > 0 ? coff_file.get_section(sym.scnum()) : nullptr;
    return scn && remembered(entries_lookup.section_answers, static_cast<std::size_t>(sym.scnum()),
                             [&] { return is_exported_symbols_section(scn->name()); });
}

/// Whether the entry is one to warn of.
bool is_missing(const entries_file_sym* entry) {
    return !entry->optional && !entry->found;
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
    token_reader reader(stream, file_name);
    while (const char* token = reader.next())
        add_token(token);
    return EOF;
}

void add_an_entry(const char* text, entries_file_sym** table) {
    const bool optional = *text == '-';
    text += optional;
    text += *text == '!';
    if (const entries_file_sym* kept = find_matching_entry(text, table)) {
        if ((kept->optional != 0) != optional && warn_missing_symbols)
            std::fprintf(stderr,
                         "WARNING: Duplicate entries for %s from entries file(s) with different qualifiers. "
                         "Keeping entry %c%s\n",
                         text, kept->optional ? '-' : ' ', text);
        return;
    }
    // The look-up above has left the bucket and the length; nothing may look up in between.
    entries_file_sym* record = entries_lookup.make({text, last_length}, optional);
    record->next = table[hash_key];
    table[hash_key] = record;
    entries_lookup.add(index_of(table), record);
}

void add_to_an_entries_list(SLIST* list, const char* text) {
    const bool optional = *text == '-';
    text += optional;
    ++text;  // the marker
    entries_file_sym* record = entries_lookup.make(text, optional);
    list->append(record);
    // A text that is there twice is found through its first record; the second stays in the list, unfound.
    if (list == &entries_prefix_list)
        entries_lookup.add_prefix(record);
    else
        entries_lookup.add(entries_lookup.export_sections, record);
}

entries_file_sym* find_matching_entry(const char* name, entries_file_sym** table) {
    std::uint32_t hash = 0;
    std::uint32_t length = 0;
    for (; name[length]; ++length)  // on purpose the characters are signed: 0x80 and above subtract
        hash = (hash << 4) + static_cast<std::uint32_t>(static_cast<signed char>(name[length]));
    last_length = length;
    hash_key = (hash * 0x4E67C98CU) >> fixed_hash_key;
    return entries_lookup.find(index_of(table), {name, length});
}

bool is_entries_symbol(const symbol_view& sym) {
    if (entries_files_list.size() == 0)
        return true;
    return remembered(entries_lookup.symbol_answers, sym.coff_index(), [&] { return names_symbol(sym); });
}

bool is_exported_symbols_section(const char* name) {
    const std::string_view text(name, strnlen(name, max_entry_length + 1));
    entries_file_sym* entry = entries_lookup.find(entries_lookup.export_sections, text);
    if (!entry)
        return false;
    entry->found = 1;
    return true;
}

bool is_entries_section(COFF_SECTION* scn) {
    if (entries_files_list.size() == 0)
        return false;
    // From the whole name down to what stands before its first colon. Longer than every entry: cannot match.
    const std::string_view name(scn->name(), strnlen(scn->name(), max_entry_length + 1));
    std::size_t length = name.size();
    while (length != std::string_view::npos) {
        if (length <= max_entry_length && entries_lookup.find(entries_lookup.excluded, name.substr(0, length)))
            return true;
        length = length == 0 ? std::string_view::npos : name.rfind(':', length - 1);
    }
    return false;
}

void report_missing_symbols() {
    bool warned = false;
    for (entries_file_sym* chain : entry_sym_table) {
        for (const entries_file_sym* entry = chain; entry; entry = entry->next) {
            if (is_missing(entry)) {
                std::fprintf(stderr, "WARNING: Symbol %s from entries file not found in %s\n", entry->name.get(),
                             filename_in);
                warned = true;
            }
        }
    }
    for (const entries_file_sym* entry : items<entries_file_sym>(entries_prefix_list)) {
        if (is_missing(entry)) {
            std::fprintf(stderr, "WARNING: Prefix %s from entries file not found in %s\n", entry->name.get(),
                         filename_in);
            warned = true;
        }
    }
    for (const entries_file_sym* entry : items<entries_file_sym>(entries_symbols_section_list)) {
        if (is_missing(entry)) {
            std::fprintf(stderr, "WARNING: Section %s from entries file not found in %s\n", entry->name.get(),
                         filename_in);
            warned = true;
        }
    }
    if (warned)
        std::fputs("\n\n", stderr);
}

void cleanup_entries_table(entries_file_sym** table) {
    std::fill_n(table, entries_buckets, nullptr);
}

void cleanup_entries_lists() {
    cleanup_entries_table(entry_sym_table);
    cleanup_entries_table(entry_section_table);
    entries_prefix_list.clear();
    entries_symbols_section_list.clear();
    entries_lookup.clear();
}

// Entries files: which symbols the module exports by name, and which sections stay out of it.
//
// Four structures hold the entries in the order that the warnings show; entries_index finds in them without walking.
// docs/entries-files.md tells the syntax.
#ifndef MODFORGE_CONVERT_ENTRIES_FILES_H
#define MODFORGE_CONVERT_ENTRIES_FILES_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

#include "containers/name_index.h"
#include "containers/record_pool.h"
#include "containers/slist.h"

class COFF_SECTION;
class symbol_view;

/// One entry, in one of the two tables or of the two lists.
struct entries_file_sym {
    std::uint8_t found;            ///< 1 once the entry matched something in the input
    std::unique_ptr<char[]> name;  ///< without qualifier and marker
    std::uint32_t length;          ///< characters of name
    std::uint8_t optional;         ///< 1: written with a leading "-", never reported as missing
    entries_file_sym* next;        ///< the bucket's next record; not used in the lists
};

inline constexpr std::uint32_t entries_buckets = 32;

/// Owner of the records and the quick way to them.
class entries_index {
public:
    /// A new record for `name` (copied), not found yet.
    entries_file_sym* make(std::string_view name, bool optional);

    /// Frees every record and forgets every name.
    void clear();

    /// The record of the exact `name` in a table or list, or null; the first one that was added.
    entries_file_sym* find(const name_index& index, std::string_view name) const;

    /// Makes find() find `record`, unless an earlier one has its name.
    void add(name_index& index, entries_file_sym* record);

    /// The first prefix, in the order of addition, that `name` begins with, or null.
    entries_file_sym* find_prefix(std::string_view name);

    /// Makes find_prefix() find `record`, unless an earlier one has its text.
    void add_prefix(entries_file_sym* record);

    name_index symbols;          ///< of entry_sym_table
    name_index excluded;         ///< of entry_section_table
    name_index export_sections;  ///< of entries_symbols_section_list

    /// What was answered before, by COFF symbol index and by section number: up to three stages ask for every symbol.
    std::vector<std::uint8_t> symbol_answers;
    std::vector<std::uint8_t> section_answers;

private:
    std::string_view name_of(std::uint32_t number) const;
    std::uint32_t number_in(const name_index& index, std::string_view name) const;

    /// A prefix, in the order of the texts; one that begins with another one stands somewhere behind it.
    struct prefix {
        std::string_view text;
        std::uint32_t first;   ///< the least number among it and all that it begins with
        std::uint32_t parent;  ///< place of the longest one that it begins with, or name_index::none
    };

    void sort_prefixes();

    record_pool<entries_file_sym> pool_;
    std::vector<entries_file_sym*> records_;  ///< what the numbers in the indices stand for
    std::vector<prefix> prefixes_;
    bool prefixes_sorted_ = true;
};

extern entries_file_sym* entry_sym_table[entries_buckets];      ///< symbol names
extern entries_file_sym* entry_section_table[entries_buckets];  ///< names of sections to leave out
extern SLIST entries_prefix_list;                               ///< entries_file_sym*: prefixes of symbol names
extern SLIST entries_symbols_section_list;  ///< entries_file_sym*: sections whose symbols are all exported
extern entries_index entries_lookup;

extern const std::uint32_t fixed_hash_key;  ///< bits by which the hash product is shifted
extern std::uint32_t hash_key;              ///< bucket of the most recent look-up
extern std::uint32_t last_length;           ///< length of the name of the most recent look-up

/// Reads every file of entries_files_list and adds the default entries. A file that cannot be opened or read ends the
/// run.
void setup_entries_lists();

/// Reads one open entries file, named `file_name` in messages; the stream stays the caller's. Returns the end-of-file
/// value (-1). A token of more than 255 characters ends the run, a comment excepted.
int read_in_entries(std::FILE* stream, const char* file_name);

/// Adds the entry that `text` spells, qualifier and marker included, to one of the two tables. A name that is there
/// stays as it is; another qualifier is warned of.
void add_an_entry(const char* text, entries_file_sym** table);

/// Appends the entry that `text` spells, qualifier and marker included, to one of the two lists.
void add_to_an_entries_list(SLIST* list, const char* text);

/// The record of `name` in `table`, or null. Leaves bucket and length in hash_key and last_length for an insertion.
entries_file_sym* find_matching_entry(const char* name, entries_file_sym** table);

/// Whether the symbol is to be exported by name; marks the entry that says so.
bool is_entries_symbol(const symbol_view& sym);

/// Whether every symbol of the section of that name is to be exported; marks the entry that says so.
bool is_exported_symbols_section(const char* name);

/// Whether an entry leaves the section out of the module, by its name or by what stands before one of its colons.
bool is_entries_section(COFF_SECTION* scn);

/// Warns of every entry that was neither optional nor found.
void report_missing_symbols();

/// Frees all entries.
void cleanup_entries_lists();
/// Unlinks the records of one table.
void cleanup_entries_table(entries_file_sym** table);

#endif

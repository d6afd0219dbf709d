// Entries files: which symbols the module exports by name, and which sections stay out of it.
//
// docs/entries-files.md tells the syntax.
#ifndef MODFORGE_CONVERT_ENTRIES_FILES_H
#define MODFORGE_CONVERT_ENTRIES_FILES_H

#include <cstdio>
#include <string_view>

#include "convert/entries_table.h"
#include "convert/prefix_table.h"

class COFF_SECTION;
class symbol_view;

extern entries_table entry_sym_table;               ///< symbol names, each once
extern entries_table entry_section_table;           ///< names of sections to leave out, each once
extern prefix_table entries_prefix_list;            ///< prefixes of symbol names
extern entries_table entries_symbols_section_list;  ///< sections whose symbols are all exported

/// Reads every file of entries_files_list and adds the default entries. A file that cannot be opened or read ends the
/// run.
void setup_entries_lists();

/// Reads one open entries file, named `file_name` in messages; the stream stays the caller's. Returns the end-of-file
/// value (-1). A token of more than 255 characters ends the run, a comment excepted.
int read_in_entries(std::FILE* stream, const char* file_name);

/// Adds the entry that `text` spells, qualifier and marker included, to one of the two tables, and tells whether it was
/// new. A name that is there stays as it is; another qualifier is warned of. The text is not copied: it must live until
/// cleanup_entries_lists().
bool add_an_entry(std::string_view text, entries_table& table);

/// Appends the entry that `text` spells, qualifier and marker included, to one of the two lists. The text is not copied.
template <typename LIST> void add_to_an_entries_list(LIST& list, std::string_view text) {
    const bool optional = text.starts_with('-');
    list.append(text.substr(optional + 1U), optional);
}

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

#endif

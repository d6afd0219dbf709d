// Looks at entries files beside the COFF file that they are for, and says which entries do not do what they seem to.
#ifndef MODFORGE_TOOLS_COFFDUMP_ENTRIES_LINT_H
#define MODFORGE_TOOLS_COFFDUMP_ENTRIES_LINT_H

#include <cstdio>
#include <string>
#include <vector>

class COFF_FILE;

/// One entry of an entries file, with its place.
struct placed_entry {
    enum kind_type { symbol, prefix, export_section, excluded_section };

    std::string file;
    unsigned long line = 0;
    unsigned long column = 0;  ///< of the first character, from 1
    kind_type kind = symbol;
    bool optional = false;
    std::string text;  ///< as it stands in the file
    std::string name;  ///< without qualifier and marker

    unsigned long matches = 0;            ///< symbols, or sections, that it applies to
    unsigned long decides = 0;            ///< those of them that no entry before it answers for
    unsigned long exports = 0;            ///< symbols that the module shows under their names because of it
    std::string obstacle;                 ///< why a symbol of this name is not exported; empty: none is known
    const placed_entry* first = nullptr;  ///< the entry that says the same before it
};

/// Reads the entries of one file. False, with a message on standard error, when it cannot be read or holds a token
/// of more than 255 characters.
bool read_entries(const std::string& file, std::vector<placed_entry>& entries);

/// Counts for each entry what it matches and exports in `input`, which has been read. `entries` must not move later:
/// repeated entries point to each other.
void apply_entries(COFF_FILE& input, std::vector<placed_entry>& entries);

/// Prints the warnings ("file:line:column: warning: ...") and then, per entry, how many symbols it exports. Returns
/// the number of warnings.
unsigned long report_entries(const std::vector<placed_entry>& entries, const char* input_name, std::FILE* out);

#endif

// Entries files as text: every entry with its place.
#ifndef MODFORGE_TOOLS_COFFDUMP_ENTRIES_TEXT_H
#define MODFORGE_TOOLS_COFFDUMP_ENTRIES_TEXT_H

#include <string>
#include <string_view>
#include <vector>

#include "tools/coffdump/findings.h"

/// One entry of an entries file, or one of those that modforge adds.
struct placed_entry {
    enum kind_type { symbol, prefix, export_section, excluded_section };

    std::string file;  ///< empty for an added one
    unsigned long line = 0;
    unsigned long column = 0;  ///< of the first character, from 1
    kind_type kind = symbol;
    bool optional = false;
    std::string_view text;  ///< as it stands in the file
    std::string_view name;  ///< without qualifier and marker; lies in `text`

    unsigned long matches = 0;            ///< symbols, or sections, that it applies to
    unsigned long decides = 0;            ///< those of them that no entry before it answers for
    unsigned long exports = 0;            ///< symbols that the module shows under their names because of it
    std::string obstacle;                 ///< why a symbol that it applies to is not exported; empty: none is known
    const placed_entry* first = nullptr;  ///< the entry that says the same before it

    /// "file:line:column".
    std::string place() const;
};

/// Appends the entries of one file, whose contents `text` outlives them. What modforge takes otherwise than it may be
/// meant goes to `findings`. An entry that is too long for modforge is one of them, and becomes blanks.
void read_entries(const std::string& file, std::string& text, std::vector<placed_entry>& entries,
                  finding_list& findings);

/// Appends the entries that modforge adds to any of the user's.
void add_default_entries(std::vector<placed_entry>& entries);

#endif

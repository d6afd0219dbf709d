// Holds entries against what a conversion made of them, and says which do not do what they seem to.
#ifndef MODFORGE_TOOLS_COFFDUMP_ENTRIES_LINT_H
#define MODFORGE_TOOLS_COFFDUMP_ENTRIES_LINT_H

#include <cstdio>
#include <string>
#include <vector>

#include "tools/coffdump/entries_text.h"
#include "tools/coffdump/findings.h"
#include "tools/second_opinion/account.h"
#include "tools/second_opinion/conversion.h"

/// Counts for each entry what it matches, and what the module exports or leaves out because of it. `entries` must not
/// move later: repeated entries point to each other.
void apply_entries(const second_opinion::account& told, std::vector<placed_entry>& entries);

/// Adds a warning for every entry that has no effect, or another one than it seems. `input_name`: as modforge is given
/// it; `said`: what modforge says on standard error. All but `findings` must outlive what is shown of those.
void lint_entries(const second_opinion::account& told, const std::vector<placed_entry>& entries,
                  const std::string& input_name, const std::string& said, finding_list& findings);

/// Prints per entry how many symbols it exports, or sections it excludes.
void print_counts(const std::vector<placed_entry>& entries, std::FILE* out);

#endif

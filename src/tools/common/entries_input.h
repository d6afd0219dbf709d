// Entries files in memory.
#ifndef MODFORGE_TOOLS_COMMON_ENTRIES_INPUT_H
#define MODFORGE_TOOLS_COMMON_ENTRIES_INPUT_H

#include <cstddef>
#include <string>
#include <vector>

/// Entries of all files together that the companions look at: far more than a module can have symbols, and little enough
/// that what is noted of each stays in proportion to the files.
inline constexpr std::size_t most_entries = 250'000;

/// Appends the contents of the files to `texts`. False, after a message on standard error, when one cannot be read, or
/// when there are more entries than `most_entries`.
bool read_entries_files(const std::vector<std::string>& paths, std::vector<std::string>& texts);

#endif

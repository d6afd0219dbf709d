// Entries that are prefixes of names.
#ifndef MODFORGE_CONVERT_PREFIX_TABLE_H
#define MODFORGE_CONVERT_PREFIX_TABLE_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "convert/entries_table.h"

/// A thousand prefixes must not be tried on sixty thousand symbols one by one. They are looked up like whole names, but only
/// in those lengths, and only where the hash of what stands before leaves hope.
class prefix_table : public entries_table {
public:
    /// Adds a record, even if there is one of that text.
    void append(std::string_view text, bool optional);

    /// The first record that `name` begins with, or null.
    entries_file_sym* find_start_of(std::string_view name);

    void clear();

private:
    /// By a part of what name_hasher has after whole steps: in what lengths, within the next step, prefixes that begin so
    /// end, and whether some go on behind it. Others may be told of by chance. Empty while there are no prefixes.
    std::vector<std::uint16_t> fronts_;
};

#endif

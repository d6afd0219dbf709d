// Entries that are prefixes of names.
#ifndef MODFORGE_CONVERT_PREFIX_TABLE_H
#define MODFORGE_CONVERT_PREFIX_TABLE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "convert/entries_table.h"

/// A thousand prefixes must not be tried on sixty thousand symbols one by one. They are looked up like whole names, but only
/// in those lengths in which the hash of what stands before leaves hope.
class prefix_table : public entries_table {
public:
    /// Adds a record, even if there is one of that text.
    void append(std::string_view text, bool optional);

    /// The first record that `name` begins with, or null.
    entries_file_sym* find_start_of(std::string_view name) { return leaves_hope(name) ? search(name) : nullptr; }

    void clear();

private:
    static constexpr unsigned front_bits = 16;
    static constexpr std::size_t told_apart = 3 * name_hasher::step;  ///< bytes: most names are refused by those

    std::uint8_t& told_by(const name_hasher& front) {
        return fronts_[static_cast<std::size_t>(front.state() >> (64 - front_bits))];
    }

    /// False if no record begins `name`. Without a branch that depends on more than its length.
    bool leaves_hope(std::string_view name) {
        if (fronts_.empty())
            return false;
        name_hasher front;
        unsigned lengths = short_lengths_;
        const std::size_t size = std::min(name.size(), told_apart);
        for (std::size_t at = 0; at + name_hasher::step <= size; at += name_hasher::step) {
            front.take(name.data() + at);
            lengths |= told_by(front);
        }
        return lengths != 0;
    }

    entries_file_sym* search(std::string_view name);

    /// By a part of what name_hasher has after whole steps: a bit for each length, within the next step, in which a prefix
    /// that begins so ends. Others may be told of by chance. Empty while there are no prefixes.
    std::vector<std::uint8_t> fronts_;
    std::uint8_t short_lengths_ = 0;  ///< the same of those that end before the first step
};

#endif

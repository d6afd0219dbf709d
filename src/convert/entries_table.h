// Entries of one kind, in the order of the files, and the quick way to each.
#ifndef MODFORGE_CONVERT_ENTRIES_TABLE_H
#define MODFORGE_CONVERT_ENTRIES_TABLE_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "containers/name_index.h"

struct entries_file_sym {
    std::string_view name;    ///< without qualifier and marker; in the text of the file
    std::uint32_t name_hash;  ///< as hashed_name gives it
    bool found;               ///< it matched something in the input
    bool optional;            ///< written with a leading "-", never reported as missing
};

/// Records move when one is added.
class entries_table {
    auto name_of() const {
        return [this](std::uint32_t number) {
            const entries_file_sym& record = records_[number];
            return hashed_name(record.name, record.name_hash);
        };
    }

public:
    /// The first record of `name`, or null.
    entries_file_sym* find_matching_entry(const hashed_name& name) {
        const std::uint32_t number = index_.find(name, name_of());
        return number == name_index::none ? nullptr : &records_[number];
    }

    /// Adds a record, not found yet, unless there is one of that name: gives that one, else null.
    entries_file_sym* find_or_add(const hashed_name& name, bool optional) {
        const std::uint32_t number = index_.find_or_add(name, static_cast<std::uint32_t>(records_.size()), name_of());
        if (number < records_.size())
            return &records_[number];
        records_.push_back({name.text, name.hash, false, optional});
        return nullptr;
    }

    /// Adds a record, even if there is one of that name.
    void append(std::string_view text, bool optional) {
        const hashed_name name(text);
        if (find_or_add(name, optional))
            records_.push_back({text, name.hash, false, optional});
    }

    const std::vector<entries_file_sym>& records() const { return records_; }

    void clear() {
        records_ = {};
        index_.clear();
    }

private:
    std::vector<entries_file_sym> records_;
    name_index index_;  ///< of the first record of each name
};

#endif

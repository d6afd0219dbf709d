// A symbol as it was read, for walks over a whole table that need no objects.
#ifndef MODFORGE_COFF_SYMBOL_VIEW_H
#define MODFORGE_COFF_SYMBOL_VIEW_H

#include <cstdint>
#include <cstring>

#include "containers/hashed_name.h"
#include "format/coff_records.h"
#include "format/limits.h"

/// The answers are those of the COFF_SYMBOL that would be made of the entry.
class symbol_view {
public:
    /// `entry` is in host order; `strings`, which it may have its name in, must outlive the view.
    symbol_view(const syment& entry, std::uint32_t index, const char* strings) : entry_(entry), coff_index_(index) {
        std::memcpy(short_name_, entry.n_name, sizeof entry.n_name);
        short_name_[sizeof entry.n_name] = '\0';
        if (name_is_offset(entry.n_name) && name_offset(entry.n_name) != 0)
            long_name_ = strings + name_offset(entry.n_name);
    }

    /// Lives as long as the view.
    const char* name() const { return long_name_ ? long_name_ : short_name_; }
    /// The name if it lies in the string table, else null.
    const char* long_name() const { return long_name_; }
    /// The name, with its length and hash, which are found once. One too long for a module is cut one character behind
    /// what a module takes.
    std::string_view text() const {
        if (length_ == unknown)
            length_ = strnlen(name(), max_name_length + 1);
        return {name(), length_};
    }
    hashed_name hashed() const {
        if (!hash_known_) {
            hash_ = hashed_name(text()).hash;
            hash_known_ = true;
        }
        return {text(), hash_};
    }
    std::uint32_t coff_index() const { return coff_index_; }
    std::int32_t value() const { return entry_.n_value; }
    std::int16_t scnum() const { return entry_.n_scnum; }
    int sclass() const { return entry_.n_sclass; }
    bool has_aux() const { return entry_.n_numaux > 0; }

private:
    static constexpr std::size_t unknown = SIZE_MAX;

    syment entry_;
    char short_name_[sizeof syment::n_name + 1];  ///< empty if there is a long one
    const char* long_name_ = nullptr;
    std::uint32_t coff_index_;
    mutable bool hash_known_ = false;
    mutable std::uint32_t hash_ = 0;
    mutable std::size_t length_ = unknown;
};

#endif

// A symbol as it was read, for walks over a whole table that need no objects.
#ifndef MODFORGE_COFF_SYMBOL_VIEW_H
#define MODFORGE_COFF_SYMBOL_VIEW_H

#include <cstdint>
#include <cstring>

#include "format/coff_records.h"

class COFF_FILE;

/// The answers are those of the COFF_SYMBOL that would be made of the entry.
class symbol_view {
public:
    /// `entry` is in host order; `file` and its string table must outlive the view.
    symbol_view(const syment& entry, std::uint32_t index, COFF_FILE* file)
        : entry_(entry), file_(file), coff_index_(index) {
        std::memcpy(short_name_, entry.n_name, sizeof entry.n_name);
    }

    /// Lives as long as the view.
    const char* name() const { return name_is_offset(entry_.n_name) ? long_name() : short_name_; }
    std::uint32_t coff_index() const { return coff_index_; }
    std::int32_t value() const { return entry_.n_value; }
    std::int16_t scnum() const { return entry_.n_scnum; }
    int sclass() const { return entry_.n_sclass; }
    bool has_aux() const { return entry_.n_numaux > 0; }

private:
    const char* long_name() const;

    syment entry_;
    char short_name_[sizeof syment::n_name + 1] = {};
    COFF_FILE* file_;
    std::uint32_t coff_index_;
};

#endif

// The string table of a COFF file.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_STRING_TABLE_H
#define MODFORGE_TOOLS_SECOND_OPINION_STRING_TABLE_H

#include <optional>
#include <string_view>
#include <vector>

#include "tools/second_opinion/bytes.h"

namespace second_opinion {

class string_table {
public:
    string_table() = default;
    /// The table at `place` of a file, which must outlive it. It is looked at when a name first needs it.
    string_table(const bytes& file, byte_order order, u64 place) : file_(&file), order_(order), place_(place) {}

    /// The string at an offset of the table. Refuses one that does not begin and end in the table.
    std::string_view at(u32 offset);
    /// The same of one that was not refused.
    [[nodiscard]] std::string_view known(u32 offset) const;

private:
    void open();
    [[nodiscard]] std::optional<u32> nul_in(u32 from) const;
    [[nodiscard]] u32 end_of(u32 offset) const;
    [[nodiscard]] const u8* byte(u64 offset) const { return file_->data() + place_ + offset; }

    const bytes* file_ = nullptr;
    byte_order order_ = byte_order::little;
    u64 place_ = 0;
    u32 length_ = 0;
    std::vector<u32> next_nul_;  ///< of each stretch the first NUL at or behind its begin; the length if there is none
};

}  // namespace second_opinion

#endif

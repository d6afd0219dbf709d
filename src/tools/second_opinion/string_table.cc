// Many long names may end in the same place, so the ends are looked for once and not name by name.
#include "tools/second_opinion/string_table.h"

#include <algorithm>
#include <string>

#include "tools/second_opinion/refusal.h"

namespace second_opinion {
namespace {

constexpr u32 stretch = 64;

}  // namespace

std::string_view string_table::at(u32 offset) {
    if (next_nul_.empty())
        open();
    if (offset < 4 || offset >= length_)
        refuse("no string at offset " + std::to_string(offset) + " of the string table");
    if (end_of(offset) == length_)
        refuse("the string at offset " + std::to_string(offset) + " of the string table has no end");
    return known(offset);
}

std::string_view string_table::known(u32 offset) const {
    return {reinterpret_cast<const char*>(byte(offset)), end_of(offset) - offset};
}

void string_table::open() {
    length_ = place_ + 4 <= file_->size() ? get_word(byte(0), order_) : 0;
    if (length_ < 4 || place_ + length_ > file_->size())
        refuse("the string table is cut short or missing");
    next_nul_.assign(length_ / stretch + 2, length_);
    for (u32 i = length_ / stretch + 1; i-- > 0;)
        next_nul_[i] = nul_in(i * stretch).value_or(next_nul_[i + 1]);
}

/// The first NUL from `from` on in the same stretch.
std::optional<u32> string_table::nul_in(u32 from) const {
    const u32 end = std::min(length_, (from / stretch + 1) * stretch);
    const u8* const found = std::find(byte(from), byte(end), u8{0});
    const auto place = static_cast<u32>(found - byte(0));
    return place < end ? std::optional(place) : std::nullopt;
}

u32 string_table::end_of(u32 offset) const {
    return nul_in(offset).value_or(next_nul_[offset / stretch + 1]);
}

}  // namespace second_opinion

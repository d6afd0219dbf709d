// The string table of the module while it grows.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_NAME_TABLE_H
#define MODFORGE_TOOLS_SECOND_OPINION_NAME_TABLE_H

#include <algorithm>
#include <map>
#include <string>
#include <string_view>

#include "tools/second_opinion/bytes.h"
#include "tools/second_opinion/facts.h"
#include "tools/second_opinion/refusal.h"

namespace second_opinion {

class name_table {
public:
    /// A table that grows to `most` bytes. Names must outlive it.
    explicit name_table(u64 most) : most_(most) {}

    /// The offset of the name, which is added unless it is there. Throws a refusal.
    u32 add(std::string_view name) {
        if (name.size() > longest_name)
            refuse("a name of the module has more than " + std::to_string(longest_name) + " characters");
        const auto [place, is_new] = offsets_.try_emplace(name, size());
        if (is_new) {
            if (bytes_.size() + name.size() + 1 > most_)
                refuse("the names of the module are out of proportion to the input");
            longest_ = std::max(longest_, name.size() + 1);
            bytes_.insert(bytes_.end(), name.begin(), name.end());
            bytes_.push_back(0);
        }
        return place->second;
    }

    /// From here on the longest name is looked for anew: that of the module does not count.
    void forget_longest() { longest_ = 0; }
    /// Zero bytes up to a multiple of four.
    void pad() { bytes_.resize((bytes_.size() + 3) / 4 * 4); }

    [[nodiscard]] u32 size() const { return static_cast<u32>(bytes_.size()); }
    [[nodiscard]] std::size_t longest() const { return longest_; }  ///< NUL included
    [[nodiscard]] const bytes& data() const { return bytes_; }

private:
    u64 most_;
    std::size_t longest_ = 0;
    bytes bytes_;
    std::map<std::string_view, u32> offsets_;  // sorted: no choice of names makes it slow
};

}  // namespace second_opinion

#endif

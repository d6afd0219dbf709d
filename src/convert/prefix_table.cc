// The fronts of names, and the look-up over them.
#include "convert/prefix_table.h"

#include <bit>

namespace {

constexpr unsigned front_bits = 15;

// What fronts_ tells: a bit for each length in the step, and this one.
constexpr std::uint16_t goes_on = 1U << name_hasher::step;

std::size_t place_of(const name_hasher& front) {
    return static_cast<std::size_t>(front.state() >> (64 - front_bits));
}

}  // namespace

void prefix_table::append(std::string_view text, bool optional) {
    fronts_.resize(std::size_t{1} << front_bits);
    name_hasher front;
    for (std::size_t at = 0; at + name_hasher::step <= text.size(); at += name_hasher::step) {
        fronts_[place_of(front)] |= goes_on;
        front.take(text.data() + at);
    }
    fronts_[place_of(front)] |= static_cast<std::uint16_t>(1U << text.size() % name_hasher::step);
    entries_table::append(text, optional);
}

entries_file_sym* prefix_table::find_start_of(std::string_view name) {
    entries_file_sym* first = nullptr;
    if (fronts_.empty())
        return first;
    name_hasher front;
    for (std::size_t at = 0;; at += name_hasher::step) {
        const unsigned told = fronts_[place_of(front)];
        for (unsigned lengths = told & (goes_on - 1U); lengths != 0; lengths &= lengths - 1) {
            const std::size_t length = at + static_cast<unsigned>(std::countr_zero(lengths));
            if (length > name.size())
                break;
            const std::string_view text = name.substr(0, length);
            entries_file_sym* const entry = find_matching_entry({text, front.hash_of(text)});
            if (entry && (!first || entry < first))
                first = entry;
        }
        if ((told & goes_on) == 0 || name.size() - at < name_hasher::step)
            return first;
        front.take(name.data() + at);
    }
}

void prefix_table::clear() {
    entries_table::clear();
    fronts_ = {};
}

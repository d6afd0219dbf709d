// The fronts of names, and the look-up over them.
#include "convert/prefix_table.h"

#include <bit>

void prefix_table::append(std::string_view text, bool optional) {
    fronts_.resize(std::size_t{1} << front_bits);
    std::uint8_t* told = &short_lengths_;
    name_hasher front;
    for (std::size_t at = 0; at + name_hasher::step <= text.size(); at += name_hasher::step) {
        if (at == told_apart)
            *told |= 1;  // it goes on behind what leaves_hope() looks at: as if one ended here
        front.take(text.data() + at);
        told = &told_by(front);
    }
    *told |= static_cast<std::uint8_t>(1U << text.size() % name_hasher::step);
    entries_table::append(text, optional);
}

entries_file_sym* prefix_table::search(std::string_view name) {
    entries_file_sym* first = nullptr;
    unsigned lengths = short_lengths_;
    name_hasher front;
    for (std::size_t at = 0;; at += name_hasher::step) {
        for (; lengths != 0; lengths &= lengths - 1) {
            const std::size_t length = at + static_cast<unsigned>(std::countr_zero(lengths));
            if (length > name.size())
                break;
            const std::string_view text = name.substr(0, length);
            entries_file_sym* const entry = find_matching_entry({text, front.hash_of(text)});
            if (entry && (!first || entry < first))
                first = entry;
        }
        if (name.size() - at < name_hasher::step)
            return first;
        front.take(name.data() + at);
        lengths = told_by(front);
    }
}

void prefix_table::clear() {
    entries_table::clear();
    fronts_ = {};
    short_lengths_ = 0;
}

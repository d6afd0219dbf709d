// Hashes, and the growth of the table. Searching stands in the header, to be compiled into its callers' loops.
#include "containers/name_index.h"

#include <algorithm>
#include <bit>
#include <functional>

std::uint32_t name_index::hash_of(std::string_view name) {
    const std::size_t hash = std::hash<std::string_view>{}(name);
    return static_cast<std::uint32_t>(hash ^ (hash >> 16));
}

void name_index::clear() {
    tags_ = {};
    slots_.reset();
    used_ = 0;
}

void name_index::reserve(std::size_t count) {
    const std::size_t size = std::bit_ceil(std::max(count / 3 * 4 + 4, first_size));
    if (size > tags_.size())
        resize(size);
}

void name_index::resize(std::size_t size) {
    std::vector<std::uint16_t> tags(size, free_tag);
    auto slots = std::make_unique_for_overwrite<slot[]>(size);
    for (std::size_t k = 0; k < tags_.size(); ++k) {
        if (tags_[k] == free_tag)
            continue;
        std::size_t i = slots_[k].hash & (size - 1);
        while (tags[i] != free_tag)
            i = (i + 1) & (size - 1);
        tags[i] = tags_[k];
        slots[i] = slots_[k];
    }
    tags_.swap(tags);
    slots_.swap(slots);
}

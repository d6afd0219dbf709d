#include "containers/name_index.h"

#include <functional>

namespace {
constexpr std::size_t first_size = 64;
}

std::uint32_t name_index::hash_of(std::string_view name) {
    const std::size_t hash = std::hash<std::string_view>{}(name);
    return static_cast<std::uint32_t>(hash ^ (hash >> 16));
}

void name_index::clear() {
    slots_ = {};
    used_ = 0;
}

void name_index::grow() {
    std::vector<slot> old(slots_.empty() ? first_size : slots_.size() * 2);
    old.swap(slots_);
    const std::size_t mask = slots_.size() - 1;
    for (const slot& s : old) {
        if (s.number == none)
            continue;
        std::size_t i = s.hash & mask;
        while (slots_[i].number != none)
            i = (i + 1) & mask;
        slots_[i] = s;
    }
}

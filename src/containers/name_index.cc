#include "containers/name_index.h"

#include <functional>

namespace {
constexpr std::size_t first_size = 64;
}

std::uint32_t name_index::hash_of(std::string_view name) {
    const std::size_t hash = std::hash<std::string_view>{}(name);
    return static_cast<std::uint32_t>(hash ^ (hash >> 16));
}

std::size_t name_index::slot_of(std::string_view name, std::uint32_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t i = hash & mask;
    while (slots_[i].text) {
        const slot& s = slots_[i];
        if (s.hash == hash && std::string_view(s.text, s.length) == name)
            break;
        i = (i + 1) & mask;
    }
    return i;
}

const std::uint32_t* name_index::find(std::string_view name) const {
    if (used_ == 0)
        return nullptr;
    const slot& s = slots_[slot_of(name, hash_of(name))];
    return s.text ? &s.number : nullptr;
}

std::uint32_t name_index::find_or_add(std::string_view name, std::uint32_t number) {
    if (used_ + 1 > slots_.size() / 4 * 3)
        grow();
    const std::uint32_t hash = hash_of(name);
    slot& s = slots_[slot_of(name, hash)];
    if (!s.text) {
        s = {name.data(), static_cast<std::uint32_t>(name.size()), hash, number};
        ++used_;
    }
    return s.number;
}

void name_index::clear() {
    slots_.clear();
    slots_.shrink_to_fit();
    used_ = 0;
}

void name_index::grow() {
    std::vector<slot> old(slots_.empty() ? first_size : slots_.size() * 2);
    old.swap(slots_);
    const std::size_t mask = slots_.size() - 1;
    for (const slot& s : old) {
        if (!s.text)
            continue;
        std::size_t i = s.hash & mask;
        while (slots_[i].text)
            i = (i + 1) & mask;
        slots_[i] = s;
    }
}

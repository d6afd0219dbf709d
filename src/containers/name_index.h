// A flat hash table of numbers that stand for names, for look-ups beside the ordered tables that hold the texts.
#ifndef MODFORGE_CONTAINERS_NAME_INDEX_H
#define MODFORGE_CONTAINERS_NAME_INDEX_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "containers/hashed_name.h"

/// Maps each name to the number that was added with it first. It keeps no text: whoever asks gives `name_of(number)`, the
/// hashed_name that a number stands for. Only growth looks at its hash.
class name_index {
public:
    /// What find() gives for a name that was not added; no number.
    static constexpr std::uint32_t none = UINT32_MAX;

    template <typename NAME_OF> std::uint32_t find(const hashed_name& name, NAME_OF name_of) const {
        if (used_ == 0)
            return none;
        const std::size_t i = slot_of(name, name_of);
        return tags_[i] == free_tag ? none : numbers_[i];
    }

    /// Adds `name` with `number` unless it is there. Returns the number that stands now.
    template <typename NAME_OF>
    std::uint32_t find_or_add(const hashed_name& name, std::uint32_t number, NAME_OF name_of) {
        if (used_ + 1 > tags_.size() / 2)
            resize(tags_.empty() ? first_size : tags_.size() * 4, name_of);
        const std::size_t i = slot_of(name, name_of);
        if (tags_[i] != free_tag)
            return numbers_[i];
        tags_[i] = tag_of(name.hash);
        numbers_[i] = number;
        ++used_;
        return number;
    }

    /// Makes room for `count` names in all, which need not come.
    template <typename NAME_OF> void reserve(std::size_t count, NAME_OF name_of) {
        const std::size_t size = std::bit_ceil(std::max(2 * count, first_size));
        if (size > tags_.size())
            resize(size, name_of);
    }

    /// Forgets every name and gives the memory back.
    void clear() {
        tags_ = {};
        numbers_.reset();
        used_ = 0;
    }

private:
    static constexpr std::size_t first_size = 64;
    static constexpr std::uint8_t free_tag = 0;

    static std::uint8_t tag_of(std::uint32_t hash) { return static_cast<std::uint8_t>(hash >> 24 | 1U); }

    /// Where the name is or would go.
    template <typename NAME_OF> std::size_t slot_of(const hashed_name& name, NAME_OF name_of) const {
        const std::size_t mask = tags_.size() - 1;
        const std::uint8_t tag = tag_of(name.hash);
        std::size_t i = name.hash & mask;
        while (tags_[i] != free_tag && !(tags_[i] == tag && name_of(numbers_[i]).text == name.text))
            i = (i + 1) & mask;
        return i;
    }

    /// Moves to tables of `size` slots.
    template <typename NAME_OF> void resize(std::size_t size, NAME_OF name_of) {
        const std::vector<std::uint8_t> tags = std::exchange(tags_, std::vector<std::uint8_t>(size, free_tag));
        const auto numbers = std::exchange(numbers_, std::make_unique_for_overwrite<std::uint32_t[]>(size));
        for (std::size_t k = 0; k < tags.size(); ++k) {
            if (tags[k] == free_tag)
                continue;
            std::size_t i = name_of(numbers[k]).hash & (size - 1);
            while (tags_[i] != free_tag)
                i = (i + 1) & (size - 1);
            tags_[i] = tags[k];
            numbers_[i] = numbers[k];
        }
    }

    /// A power of two, at most half of it in use. The tags, a part of the hash, lie apart: a search looks at one byte a slot,
    /// which stay in the cache, and at the name itself only where it has good hope.
    std::vector<std::uint8_t> tags_;
    std::unique_ptr<std::uint32_t[]> numbers_;  ///< as many; those with a free tag are not initialised
    std::size_t used_ = 0;
};

#endif

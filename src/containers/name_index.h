// A flat hash table of numbers that stand for names, for look-ups beside the ordered tables that hold the texts.
#ifndef MODFORGE_CONTAINERS_NAME_INDEX_H
#define MODFORGE_CONTAINERS_NAME_INDEX_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

/// Maps each name to the number that was added with it first. It keeps no text: whoever asks gives
/// `is(number, name)`, which tells whether a number stands for a name.
class name_index {
public:
    /// What find() gives for a name that was not added; no number.
    static constexpr std::uint32_t none = UINT32_MAX;

    template <typename IS> std::uint32_t find(std::string_view name, IS is) const {
        if (used_ == 0)
            return none;
        const std::uint32_t hash = hash_of(name);
        const std::size_t i = slot_of(name, hash, is);
        return tags_[i] == free_tag ? none : slots_[i].number;
    }

    /// Adds `name` with `number` unless it is there. Returns the number that stands now.
    template <typename IS> std::uint32_t find_or_add(std::string_view name, std::uint32_t number, IS is) {
        if (used_ + 1 > tags_.size() / 4 * 3)
            resize(tags_.empty() ? first_size : tags_.size() * 2);
        const std::uint32_t hash = hash_of(name);
        const std::size_t i = slot_of(name, hash, is);
        if (tags_[i] != free_tag)
            return slots_[i].number;
        tags_[i] = tag_of(hash);
        slots_[i] = {hash, number};
        ++used_;
        return number;
    }

    /// Makes room for `count` names in all, which need not come.
    void reserve(std::size_t count);

    /// Forgets every name and gives the memory back.
    void clear();

private:
    static constexpr std::size_t first_size = 64;
    static constexpr std::uint16_t free_tag = 0;

    struct slot {
        std::uint32_t hash;
        std::uint32_t number;
    };

    static std::uint32_t hash_of(std::string_view name);
    static std::uint16_t tag_of(std::uint32_t hash) { return static_cast<std::uint16_t>(hash >> 16 | 1U); }

    /// Where the name is or would go.
    template <typename IS> std::size_t slot_of(std::string_view name, std::uint32_t hash, IS is) const {
        const std::size_t mask = tags_.size() - 1;
        std::size_t i = hash & mask;
        while (tags_[i] != free_tag &&
               !(tags_[i] == tag_of(hash) && slots_[i].hash == hash && is(slots_[i].number, name)))
            i = (i + 1) & mask;
        return i;
    }

    void resize(std::size_t size);

    /// A power of two, at most three quarters in use. The tags, a part of the hash, lie apart: a search looks at two bytes
    /// a slot, which stay in the cache, and at the slot itself only where it has good hope.
    std::vector<std::uint16_t> tags_;
    std::unique_ptr<slot[]> slots_;  ///< as many; those with a free tag are not initialised
    std::size_t used_ = 0;
};

#endif

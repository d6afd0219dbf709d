// A flat hash table of numbers that stand for names, for look-ups beside the ordered tables that hold the texts.
#ifndef MODFORGE_CONTAINERS_NAME_INDEX_H
#define MODFORGE_CONTAINERS_NAME_INDEX_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

/// Maps each name to the number that was added with it first. It keeps no text: whoever asks gives
/// `is(number, name)`, which tells whether a number stands for a name.
class name_index {
public:
    /// What no number may be, and what find() gives for a name that was not added.
    static constexpr std::uint32_t none = UINT32_MAX;

    template <typename IS> std::uint32_t find(std::string_view name, IS is) const {
        return used_ == 0 ? none : slots_[slot_of(name, hash_of(name), is)].number;
    }

    /// Adds `name` with `number` unless it is there. Returns the number that stands now.
    template <typename IS> std::uint32_t find_or_add(std::string_view name, std::uint32_t number, IS is) {
        if (used_ + 1 > slots_.size() / 4 * 3)
            grow();
        const std::uint32_t hash = hash_of(name);
        slot& s = slots_[slot_of(name, hash, is)];
        if (s.number == none) {
            s = {hash, number};
            ++used_;
        }
        return s.number;
    }

    /// Forgets every name and gives the memory back.
    void clear();

private:
    struct slot {
        std::uint32_t hash = 0;
        std::uint32_t number = none;  ///< none: free
    };

    static std::uint32_t hash_of(std::string_view name);

    /// Where the name is or would go.
    template <typename IS> std::size_t slot_of(std::string_view name, std::uint32_t hash, IS is) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t i = hash & mask;
        while (slots_[i].number != none && !(slots_[i].hash == hash && is(slots_[i].number, name)))
            i = (i + 1) & mask;
        return i;
    }

    void grow();

    std::vector<slot> slots_;  ///< a power of two, at most three quarters full
    std::size_t used_ = 0;
};

#endif

// A flat hash table from names to numbers, for look-ups beside the ordered lists.
#ifndef MODFORGE_CONTAINERS_NAME_INDEX_H
#define MODFORGE_CONTAINERS_NAME_INDEX_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

/// Maps each name to the number that was added with it first. The texts are not copied: they must outlive the index,
/// or at least its last look-up.
class name_index {
public:
    /// The number of `name`, or null. Valid until the next change.
    const std::uint32_t* find(std::string_view name) const;

    /// Adds `name` with `number` unless it is there. Returns the number that stands now.
    std::uint32_t find_or_add(std::string_view name, std::uint32_t number);

    /// Forgets every name and gives the memory back.
    void clear();

private:
    struct slot {
        const char* text;  ///< null: free
        std::uint32_t length;
        std::uint32_t hash;
        std::uint32_t number;
    };

    static std::uint32_t hash_of(std::string_view name);
    std::size_t slot_of(std::string_view name, std::uint32_t hash) const;
    void grow();

    std::vector<slot> slots_;  ///< a power of two, at most three quarters full
    std::size_t used_ = 0;
};

#endif

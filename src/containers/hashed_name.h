// A name with the number that look-ups of it begin with.
#ifndef MODFORGE_CONTAINERS_HASHED_NAME_H
#define MODFORGE_CONTAINERS_HASHED_NAME_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// Hashes the front of a name eight bytes at a time; on the way, hash_of() gives the hash of what has been taken and up
/// to seven bytes more. So a name and all that it begins with are hashed in one pass.
class name_hasher {
public:
    static constexpr std::size_t step = 8;

    /// Goes on with the next eight bytes.
    void take(const char* bytes) { state_ = mixed(state_ ^ word_at<std::uint64_t>(bytes)); }

    /// The hash of `name`, of which all whole steps have been taken.
    std::uint32_t hash_of(std::string_view name) const {
        // Mixed twice: one round would carry the last characters, often all that differs, into the top bits only.
        return static_cast<std::uint32_t>(mixed(mixed(state_ ^ last_bytes(name) ^ name.size())) >> 32);
    }

    /// What tells apart the names that have been taken so far, but for chance.
    std::uint64_t state() const { return state_; }

private:
    static std::uint64_t mixed(std::uint64_t x) {
        x *= 0x9E3779B97F4A7C15U;
        return x ^ x >> 29;
    }

    template <typename WORD> static std::uint64_t word_at(const char* bytes) {
        WORD word;
        std::memcpy(&word, bytes, sizeof word);
        return word;
    }

    /// The last up to eight bytes: every byte behind the whole steps is among them.
    static std::uint64_t last_bytes(std::string_view name) {
        const std::size_t size = name.size();
        const char* const end = name.data() + size;
        if (size >= 8)
            return word_at<std::uint64_t>(end - 8);
        if (size >= 4)
            return word_at<std::uint32_t>(name.data()) << 32 | word_at<std::uint32_t>(end - 4);
        if (size == 0)
            return 0;
        return word_at<std::uint8_t>(name.data()) << 16 | word_at<std::uint8_t>(name.data() + size / 2) << 8 |
               word_at<std::uint8_t>(end - 1);
    }

    std::uint64_t state_ = 0x2545F4914F6CDD1DU;
};

struct hashed_name {
    explicit hashed_name(std::string_view name) : text(name) {
        name_hasher hasher;
        for (std::size_t at = 0; at + name_hasher::step <= name.size(); at += name_hasher::step)
            hasher.take(name.data() + at);
        hash = hasher.hash_of(name);
    }

    hashed_name(std::string_view name, std::uint32_t its_hash) : text(name), hash(its_hash) {}

    std::string_view text;
    std::uint32_t hash;
};

#endif

// One loop for all sums; what is done on the way, such as copying, comes from outside.
#include "format/checksum.h"

#include <cstring>

namespace {

/// Sums in lanes that do not wait for each other; eight words at a time go through `take(block, index of the first)`.
constexpr std::size_t lanes = 8;

template <typename TAKE> std::uint32_t sum_in_lanes(const void* from, std::size_t words, TAKE take) {
    const auto* bytes = static_cast<const unsigned char*>(from);
    std::uint32_t lane[lanes] = {};
    std::uint32_t block[lanes];
    std::size_t at = 0;
    for (; words - at >= lanes; at += lanes) {
        std::memcpy(block, bytes + at * sizeof *block, sizeof block);
        take(block, at, lanes);
        for (std::size_t k = 0; k < lanes; ++k)
            lane[k] += block[k];
    }
    std::uint32_t sum = 0;
    for (; at < words; ++at) {
        std::memcpy(block, bytes + at * sizeof *block, sizeof *block);
        take(block, at, 1);
        sum += *block;
    }
    for (const std::uint32_t part : lane)
        sum += part;
    return sum;
}

}  // namespace

std::uint32_t sum_words(const void* records, std::size_t words) {
    return sum_in_lanes(records, words, [](const std::uint32_t*, std::size_t, std::size_t) {});
}

std::uint32_t copy_and_sum(void* to, const void* from, std::size_t words) {
    auto* const bytes = static_cast<unsigned char*>(to);
    return sum_in_lanes(from, words, [bytes](const std::uint32_t* block, std::size_t at, std::size_t count) {
        std::memcpy(bytes + at * sizeof *block, block, count * sizeof *block);
    });
}

std::uint32_t sum_values(const std::uint32_t* words, int count) {
    return count > 0 ? sum_words(words, static_cast<std::size_t>(count)) : 0;
}

std::uint32_t calculate_checksum(const std::uint32_t* words, int count) {
    return ~sum_values(words, count);
}

std::uint32_t verify_checksum(const std::uint32_t* words, int count, std::uint32_t checksum) {
    return sum_values(words, count) + checksum + 1;
}

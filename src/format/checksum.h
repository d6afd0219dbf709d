// Checksums of a module: the complement of a sum of 32-bit words. Nothing here can fail.
#ifndef MODFORGE_FORMAT_CHECKSUM_H
#define MODFORGE_FORMAT_CHECKSUM_H

#include <cstddef>
#include <cstdint>

/// Sum of `count` words in host order, modulo 2^32. A count of 0 or less gives 0 and reads nothing.
std::uint32_t sum_values(const std::uint32_t* words, int count);

/// The same over `words` words of any records, in host order; they need not be aligned.
std::uint32_t sum_words(const void* records, std::size_t words);

/// Copies `words` words and gives their sum: what lies in the cache need not be looked at twice. The places must not
/// overlap and need not be aligned.
std::uint32_t copy_and_sum(void* to, const void* from, std::size_t words);

/// The word that brings the sum of `count` words to 0xFFFFFFFF.
std::uint32_t calculate_checksum(const std::uint32_t* words, int count);

/// 0 exactly when `checksum` is the checksum of the `count` words: a reader's check.
std::uint32_t verify_checksum(const std::uint32_t* words, int count, std::uint32_t checksum);

#endif

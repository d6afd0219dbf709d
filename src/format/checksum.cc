#include "format/checksum.h"

std::uint32_t sum_values(const std::uint32_t* words, int count) {
    std::uint32_t sum = 0;
    for (int i = 0; i < count; ++i)
        sum += words[i];
    return sum;
}

std::uint32_t calculate_checksum(const std::uint32_t* words, int count) {
    return ~sum_values(words, count);
}

std::uint32_t verify_checksum(const std::uint32_t* words, int count, std::uint32_t checksum) {
    return sum_values(words, count) + checksum + 1;
}

// Sums at the ends of their range.
#include "format/checksum.h"

#include <gtest/gtest.h>

namespace {

TEST(Checksum, CarriesOutOfTheWordAreDropped) {
    const std::uint32_t words[] = {0xFFFFFFFFU, 2, 0x80000000U, 0x80000000U};
    EXPECT_EQ(sum_values(words, 4), 1U);
    EXPECT_EQ(sum_values(words + 1, 1), 2U);
    EXPECT_EQ(calculate_checksum(words, 4), 0xFFFFFFFEU);
    EXPECT_EQ(verify_checksum(words, 4, 0xFFFFFFFEU), 0U);
    EXPECT_NE(verify_checksum(words, 4, 0xFFFFFFFFU), 0U);
}

TEST(Checksum, NoWordsReadNothing) {
    EXPECT_EQ(sum_values(nullptr, 0), 0U);
    EXPECT_EQ(sum_values(nullptr, -1), 0U);
    EXPECT_EQ(calculate_checksum(nullptr, 0), 0xFFFFFFFFU);
}

}  // namespace

// Where packets end shows in whole runs (tests/cases/packets_test.cc); here is what no run calls.
#include "packets/reloc_list.h"

#include <gtest/gtest.h>

TEST(RelocList, SwapsFourBytes) {
    std::uint32_t word = 0x01020384U;
    EXPECT_EQ(swap4(&word), 0x84030201U);
    EXPECT_EQ(word, 0x84030201U);
}

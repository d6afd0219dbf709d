#include "packets/address_units.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

struct conversion {
    std::int32_t from;
    int width;
    std::int32_t to;
};

TEST(AddressUnits, BytesBecomeUnits) {
    const conversion table[] = {
        {7, 8, 7},           {-7, 8, -7}, {6, 16, 3},  {5, 16, 2},                    // the odd byte is dropped
        {-5, 16, -2},                                                                 // towards zero
        {12, 32, 3},         {15, 32, 3}, {-1, 32, 0}, {0x10000000, 16, -0x8000000},  // times 8 wraps to the sign bit
        {0x20000000, 16, 0},
    };
    for (const conversion& c : table)
        EXPECT_EQ(bytetoAU(c.from, c.width), c.to) << c.from << " at width " << c.width;
}

TEST(AddressUnits, UnitsBecomeBytes) {
    const conversion table[] = {
        {INT32_MIN, 8, INT32_MIN},
        {3, 16, 6},
        {-3, 16, -6},
        {3, 32, 12},
        {-1, 32, -4},
        {0x07FFFFFF, 16, 0x0FFFFFFE},
        {0x08000000, 16, -0x10000000},  // the product reaches the sign bit
        {0x10000000, 16, 0},            // and leaves 32 bits
    };
    for (const conversion& c : table)
        EXPECT_EQ(AUtobyte(c.from, c.width), c.to) << c.from << " at width " << c.width;
}

}  // namespace

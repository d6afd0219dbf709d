#include "format/address_units.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

TEST(AddressUnits, ConvertBothWaysIn32Bits) {
    const struct {
        std::int32_t (*convert)(std::int32_t, int);
        int width;
        std::int32_t from, to;
    } table[] = {
        {bytetoAU, 8, -7, -7},
        {bytetoAU, 16, 5, 2},    // the odd byte is dropped
        {bytetoAU, 16, -5, -2},  // towards zero
        {bytetoAU, 32, 15, 3},
        {bytetoAU, 16, 0x10000000, -0x8000000},  // times 8 wraps to the sign bit
        {bytetoAU, 16, 0x20000000, 0},
        {AUtobyte, 8, INT32_MIN, INT32_MIN},
        {AUtobyte, 16, -3, -6},
        {AUtobyte, 32, 3, 12},
        {AUtobyte, 16, 0x08000000, -0x10000000},  // the product reaches the sign bit
        {AUtobyte, 16, 0x10000000, 0},            // and leaves 32 bits
    };
    for (const auto& c : table)
        EXPECT_EQ(c.convert(c.from, c.width), c.to) << &c - table;
}

}  // namespace

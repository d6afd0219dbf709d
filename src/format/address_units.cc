#include "format/address_units.h"

std::int32_t bytetoAU(std::int32_t bytes, int width) {
    if (width == 8)
        return bytes;
    const auto bits = static_cast<std::int32_t>(static_cast<std::uint32_t>(bytes) * 8U);
    return bits / width;
}

std::int32_t AUtobyte(std::int32_t aus, int width) {
    if (width == 8)
        return aus;
    const auto bits = static_cast<std::int32_t>(static_cast<std::uint32_t>(aus) * static_cast<std::uint32_t>(width));
    return bits >> 3;  // arithmetic: C++20 promises it
}

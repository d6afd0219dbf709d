// Bytes and target address units: the only place where one becomes the other.
#ifndef MODFORGE_FORMAT_ADDRESS_UNITS_H
#define MODFORGE_FORMAT_ADDRESS_UNITS_H

#include <cstdint>

/// `bytes` as address units of `width` bits (8, 16 or 32). A remainder is dropped, towards zero; wraps at 32 bits.
inline std::int32_t bytetoAU(std::int32_t bytes, int width) {
    if (width == 8)
        return bytes;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(bytes) * 8U) / width;
}

/// `aus` address units of `width` bits as bytes. The product wraps at 32 bits and keeps its sign.
inline std::int32_t AUtobyte(std::int32_t aus, int width) {
    if (width == 8)
        return aus;
    const auto bits = static_cast<std::int32_t>(static_cast<std::uint32_t>(aus) * static_cast<std::uint32_t>(width));
    return bits >> 3;  // arithmetic: C++20 promises it
}

#endif

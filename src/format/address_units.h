// Bytes and target address units: the only place where one becomes the other.
#ifndef MODFORGE_FORMAT_ADDRESS_UNITS_H
#define MODFORGE_FORMAT_ADDRESS_UNITS_H

#include <cstdint>

/// `bytes` as address units of `width` bits (8, 16 or 32). A remainder is dropped, towards zero; wraps at 32 bits.
std::int32_t bytetoAU(std::int32_t bytes, int width);

/// `aus` address units of `width` bits as bytes. The product wraps at 32 bits and keeps its sign.
std::int32_t AUtobyte(std::int32_t aus, int width);

#endif

// The number encodings of the section stream on plain bytes.
#include <cstring>

#include "coff/coff_section.h"

namespace {

/// Gathers the bytes of a LEB128 number. On purpose the shift doubles from byte to byte, modulo 32: what was once written
/// from such numbers must read back the same.
const unsigned char* gather(const unsigned char* from, std::uint32_t& value, unsigned char& last) {
    last = *from++;
    value = last & 0x7FU;
    for (std::uint32_t shift = 7; (last & 0x80U) != 0; shift = shift * 2 % 32) {
        last = *from++;
        value |= (last & 0x7FU) << shift;
    }
    return from;
}

/// Extends the highest bit that is set over all bits above it; 0, which has none, stays 0.
std::int32_t extend_highest_bit(std::uint32_t value) {
    int count = 0;
    while (value != 0 && (value & 0x80000000U) == 0) {
        value <<= 1;
        ++count;
    }
    return static_cast<std::int32_t>(value) >> count;
}

/// One byte of a signed number and what is left behind it.
struct signed_step {
    unsigned char byte;
    std::int32_t rest;
    bool last;
};

signed_step next_step(std::int32_t value) {
    const auto byte = static_cast<unsigned char>(static_cast<std::uint32_t>(value) & 0x7FU);
    const std::int32_t rest = value >> 7;
    const bool sign_set = (byte & 0x40U) != 0;
    return {byte, rest, (rest == 0 && !sign_set) || (rest == -1 && sign_set)};
}

}  // namespace

const unsigned char* COFF_SECTION::ULEB128_read(const unsigned char* from, std::uint32_t* result) {
    std::uint32_t value;
    unsigned char last;
    from = gather(from, value, last);
    if (result)
        *result = value;
    return from;
}

const unsigned char* COFF_SECTION::SLEB128_read(const unsigned char* from, std::int32_t* result) {
    std::uint32_t value;
    unsigned char last;
    from = gather(from, value, last);
    if (result)
        *result = (last & 0x40U) != 0 ? extend_highest_bit(value) : static_cast<std::int32_t>(value);
    return from;
}

const unsigned char* COFF_SECTION::UINT32_read(const unsigned char* from, std::uint32_t* result, bool big_endian) {
    if (result) {
        *result = 0;
        for (unsigned k = 0; k < 4; ++k)
            *result = *result << 8 | from[big_endian ? k : 3 - k];
    }
    return from + 4;
}

const unsigned char* COFF_SECTION::UINT16_read(const unsigned char* from, std::uint16_t* result, bool big_endian) {
    if (result)
        *result = static_cast<std::uint16_t>(big_endian ? from[0] << 8 | from[1] : from[1] << 8 | from[0]);
    return from + 2;
}

const unsigned char* COFF_SECTION::UINT8_read(const unsigned char* from, std::uint8_t* result) {
    if (result)
        *result = *from;
    return from + 1;
}

const unsigned char* COFF_SECTION::string_read(const unsigned char* from, const char** result) {
    const char* const text = reinterpret_cast<const char*>(from);
    if (result)
        *result = text;
    return from + std::strlen(text) + 1;
}

unsigned char* COFF_SECTION::ULEB128_write(unsigned char* to, std::uint32_t value) {
    while (value > 0x7F) {
        *to++ = static_cast<unsigned char>(value | 0x80U);
        value >>= 7;
    }
    *to++ = static_cast<unsigned char>(value);
    return to;
}

unsigned char* COFF_SECTION::SLEB128_write(unsigned char* to, std::int32_t value) {
    for (;;) {
        const signed_step step = next_step(value);
        if (step.last) {
            *to++ = step.byte;
            return to;
        }
        *to++ = static_cast<unsigned char>(step.byte | 0x80U);
        value = step.rest;
    }
}

unsigned char* COFF_SECTION::UINT32_write(unsigned char* to, std::uint32_t value, bool big_endian) {
    for (unsigned k = 0; k < 4; ++k)
        *to++ = static_cast<unsigned char>(value >> 8 * (big_endian ? 3 - k : k));
    return to;
}

unsigned char* COFF_SECTION::UINT16_write(unsigned char* to, std::uint16_t value, bool big_endian) {
    const auto low = static_cast<unsigned char>(value);
    const auto high = static_cast<unsigned char>(value >> 8);
    *to++ = big_endian ? high : low;
    *to++ = big_endian ? low : high;
    return to;
}

unsigned char* COFF_SECTION::UINT8_write(unsigned char* to, std::uint8_t value) {
    *to++ = value;
    return to;
}

unsigned char* COFF_SECTION::string_write(unsigned char* to, const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    std::memcpy(to, text, size);
    return to + size;
}

std::uint32_t COFF_SECTION::ULEB128_size(std::uint32_t value) {
    std::uint32_t size = 1;
    while (value >>= 7)
        ++size;
    return size;
}

std::uint32_t COFF_SECTION::SLEB128_size(std::int32_t value) {
    std::uint32_t size = 1;
    for (signed_step step = next_step(value); !step.last; step = next_step(step.rest))
        ++size;
    return size;
}

// Byte strings, and the integers in them in a stated byte order. Offsets and sizes count bytes.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_BYTES_H
#define MODFORGE_TOOLS_SECOND_OPINION_BYTES_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace second_opinion {

using i8 = std::int8_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = std::int64_t;
using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

using bytes = std::vector<u8>;

enum class byte_order : u8 { little, big };
inline constexpr byte_order host_order =
    std::endian::native == std::endian::little ? byte_order::little : byte_order::big;

/// The number whose two bytes begin at `at`.
inline u16 get_half(const u8* at, byte_order order) {
    const unsigned low = order == byte_order::little ? at[0] : at[1];
    const unsigned high = order == byte_order::little ? at[1] : at[0];
    return static_cast<u16>(high << 8 | low);
}

/// The number whose four bytes begin at `at`.
inline u32 get_word(const u8* at, byte_order order) {
    const u32 first = get_half(at, order), second = get_half(at + 2, order);
    return order == byte_order::little ? second << 16 | first : first << 16 | second;
}

inline void put_half(u8* at, u16 value, byte_order order) {
    at[order == byte_order::little ? 0 : 1] = static_cast<u8>(value);
    at[order == byte_order::little ? 1 : 0] = static_cast<u8>(value >> 8);
}

inline void put_word(u8* at, u32 value, byte_order order) {
    put_half(at + (order == byte_order::little ? 0 : 2), static_cast<u16>(value), order);
    put_half(at + (order == byte_order::little ? 2 : 0), static_cast<u16>(value >> 16), order);
}

/// Sum of the words in `size` bytes, modulo 2^32; a remainder of less than a word is left out.
inline u32 sum_of_words(const u8* at, std::size_t size, byte_order order) {
    u32 sum = 0;
    for (std::size_t i = 0; i + 4 <= size; i += 4)
        sum += get_word(at + i, order);
    return sum;
}

}  // namespace second_opinion

#endif

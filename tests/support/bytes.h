// Byte strings and integers in a stated byte order, for tests that make or read binary files.
#ifndef MODFORGE_SUPPORT_BYTES_H
#define MODFORGE_SUPPORT_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace support {

using bytes = std::vector<std::uint8_t>;

enum class byte_order { little, big };

/// Stores the low `width` bytes of `value` at `offset`, which must exist.
inline void put_at(bytes& data, std::size_t offset, std::size_t width, std::uint64_t value, byte_order order) {
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t place = order == byte_order::little ? i : width - 1 - i;
        data.at(offset + place) = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

/// Appends the low `width` bytes of `value`.
inline void put(bytes& data, std::size_t width, std::uint64_t value, byte_order order) {
    data.resize(data.size() + width);
    put_at(data, data.size() - width, width, value, order);
}

/// The unsigned integer of `width` bytes (1 to 4) at `offset`; throws std::out_of_range past the end.
inline std::uint32_t get(const bytes& data, std::size_t offset, std::size_t width, byte_order order) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t place = order == byte_order::little ? width - 1 - i : i;
        value = value << 8 | data.at(offset + place);
    }
    return value;
}

inline void append(bytes& data, const bytes& more) {
    data.insert(data.end(), more.begin(), more.end());
}

inline void append(bytes& data, std::string_view text) {
    data.insert(data.end(), text.begin(), text.end());
}

inline bytes to_bytes(std::string_view text) {
    return bytes(text.begin(), text.end());
}

}  // namespace support

#endif

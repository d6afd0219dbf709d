// Every limit of the two formats and of what is taken from a file.
#ifndef MODFORGE_FORMAT_LIMITS_H
#define MODFORGE_FORMAT_LIMITS_H

#include <cstddef>
#include <cstdint>

/// Bytes of contents in an image packet; also a multiple of 4.
inline constexpr std::int32_t min_packet_size = 300;
inline constexpr std::int32_t max_packet_size = 1024;

/// Characters of an entry, qualifier and marker included.
inline constexpr std::size_t max_entry_length = 255;

/// Characters of a name in a module: with its terminator it fits the header's 16 bits.
inline constexpr std::size_t max_name_length = 65534;

/// Symbols and sections of a module: their numbers have 16 bits, those of sections signed ones.
inline constexpr std::uint32_t max_module_symbols = 65535;
inline constexpr std::uint16_t max_sections = 32767;

/// Bytes of a COFF file, whose positions are signed 32-bit numbers.
inline constexpr std::int32_t max_coff_file_size = 0x7FFFFFFF;

/// How many bytes an input of `length` bytes justifies for one kind of table whose parts may overlap in the file:
/// without a bound, a file of 2 MB could ask for gigabytes.
constexpr std::uint64_t proportionate_size(std::int32_t length) {
    return 16 * static_cast<std::uint64_t>(length) + (std::uint64_t{16} << 20);
}

#endif

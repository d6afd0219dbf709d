// Whole files in memory.
#ifndef MODFORGE_TOOLS_COMMON_FILE_INPUT_H
#define MODFORGE_TOOLS_COMMON_FILE_INPUT_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The largest input of unknown length that is read: from a pipe, a device, or standard input. Bytes; many times the
/// size of a real input, and little enough that one without an end is soon refused.
constexpr std::uint32_t largest_stream = 0x8000000;

/// The contents of a file, or of standard input for "-", which can be asked for once. A regular file is read up to the
/// size that it has at the start, everything else to its end, which must come within `largest_stream` bytes. Nothing,
/// after a message on standard error, when that fails.
std::optional<std::vector<unsigned char>> read_whole(const std::string& path);

/// How messages call the file: its path with every unprintable byte in a printable form; "standard input" for "-".
std::string input_label(const std::string& path);

#endif

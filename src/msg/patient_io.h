// Reading and writing a stream over interruptions: C's own calls take a signal that comes in between for a fault.
#ifndef MODFORGE_MSG_PATIENT_IO_H
#define MODFORGE_MSG_PATIENT_IO_H

#include <cstddef>
#include <cstdio>

/// So often in a row is a call made again that a signal interrupted before it is a fault after all.
constexpr int most_interruptions = 1000;

/// Reads as std::fread() with items of one byte does. Gives the bytes read, fewer than `size` at the end of the file
/// and on a fault; std::ferror() and errno tell which.
[[nodiscard]] std::size_t read_bytes(void* buffer, std::size_t size, std::FILE* stream);

/// Writes as std::fwrite() with items of one byte does, to a stream without a buffer: with one, what an interruption
/// met may be lost. Gives the bytes written, fewer than `size` on a fault.
[[nodiscard]] std::size_t write_bytes(const void* bytes, std::size_t size, std::FILE* stream);

#endif

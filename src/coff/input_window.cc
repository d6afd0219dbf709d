// Reads by position where the system can, and by seeking and going back where only standard C is there.
#include "coff/input_window.h"

#include <algorithm>
#include <cstring>

#include "msg/patient_io.h"

#if !defined(_WIN32) && __has_include(<unistd.h>)
#include <unistd.h>

#include <cerrno>
#define MODFORGE_HAVE_PREAD
#endif

namespace {

/// A small file is read whole; of a large one, what is in the neighbourhood of what was asked for.
constexpr std::size_t least_read = 4096;

/// The only way that standard C has.
bool seek_and_read(std::FILE* stream, std::int64_t position, void* buffer, std::size_t size) {
    const long before = std::ftell(stream);
    const bool complete =
        std::fseek(stream, static_cast<long>(position), SEEK_SET) == 0 && read_bytes(buffer, size, stream) == size;
    std::fseek(stream, before, SEEK_SET);
    return complete;
}

bool read_at(std::FILE* stream, std::int64_t position, void* buffer, std::size_t size) {
#ifdef MODFORGE_HAVE_PREAD
    const int file = fileno(stream);
    if (file < 0)  // a stream over memory
        return seek_and_read(stream, position, buffer, size);
    auto* to = static_cast<unsigned char*>(buffer);
    for (int interruptions = 0; size > 0;) {
        const ssize_t got = pread(file, to, size, static_cast<off_t>(position));
        if (got == 0 || (got < 0 && (errno != EINTR || ++interruptions > most_interruptions)))
            return false;
        const auto count = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
        to += count;
        position += static_cast<std::int64_t>(count);
        size -= count;
    }
    return true;
#else
    return seek_and_read(stream, position, buffer, size);
#endif
}

}  // namespace

void input_window::open(std::FILE* stream, std::int64_t length) {
    stream_ = stream;
    length_ = length;
    begin_ = end_ = 0;
}

bool input_window::fetch(std::int64_t position, void* buffer, std::size_t size) {
    const bool complete = read_at(stream_, position, buffer, size);
    failed_ = failed_ || (!complete && static_cast<std::int64_t>(size) <= length_ - position);
    return complete;
}

const unsigned char* input_window::view(std::int64_t position, std::size_t size, std::size_t ahead) {
    const auto wanted = static_cast<std::int64_t>(size);
    if (position >= begin_ && wanted <= end_ - position)
        return bytes_ + (position - begin_);
    if (position < 0 || wanted > length_ - position)
        return nullptr;
    if (position >= begin_ && position <= end_)
        ahead = width;  // this goes on where the window ends, and so will the next
    const bool whole = length_ <= static_cast<std::int64_t>(width);
    const std::int64_t begin = whole ? 0 : position;
    const auto count = static_cast<std::int64_t>(whole ? width : std::min(std::max(ahead, least_read), width));
    begin_ = end_ = begin;
    const std::int64_t end = std::min(begin + count, length_);
    if (!fetch(begin, bytes_, static_cast<std::size_t>(end - begin)))
        return nullptr;
    end_ = end;
    return bytes_ + (position - begin_);
}

bool input_window::read(std::int64_t position, void* buffer, std::size_t size) {
    if (size > width)
        return fetch(position, buffer, size);
    const unsigned char* const bytes = view(position, size, size);
    if (bytes && size != 0)
        std::memcpy(buffer, bytes, size);
    return bytes || size == 0;
}

// Each call is made again for what the one before it left over.
#include "msg/patient_io.h"

#include <cerrno>

namespace {

/// Calls `transfer(done)`, which moves what is left behind `done` bytes, until all is moved or a call fails for good.
template <typename TRANSFER> std::size_t go_on(std::size_t size, std::FILE* stream, TRANSFER transfer) {
    std::size_t done = 0;
    for (int left = most_interruptions;; --left) {
        errno = 0;
        done += transfer(done);
        if (done == size || !std::ferror(stream) || errno != EINTR || left == 0)
            return done;
        std::clearerr(stream);
    }
}

}  // namespace

std::size_t read_bytes(void* buffer, std::size_t size, std::FILE* stream) {
    auto* const to = static_cast<unsigned char*>(buffer);
    return go_on(size, stream, [&](std::size_t done) { return std::fread(to + done, 1, size - done, stream); });
}

std::size_t write_bytes(const void* bytes, std::size_t size, std::FILE* stream) {
    const auto* const from = static_cast<const unsigned char*>(bytes);
    return go_on(size, stream, [&](std::size_t done) { return std::fwrite(from + done, 1, size - done, stream); });
}

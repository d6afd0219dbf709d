// Reads a file at any position without moving its stream, and few times: what was read lies in one window, since tables,
// names and small sections lie side by side.
#ifndef MODFORGE_COFF_INPUT_WINDOW_H
#define MODFORGE_COFF_INPUT_WINDOW_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

class input_window {
public:
    static constexpr std::size_t width = 1 << 16;  ///< bytes

    /// Reads `stream`, which stays the caller's and has `length` bytes, from now on. What was read before is forgotten.
    void open(std::FILE* stream, std::int64_t length);

    /// The `size` bytes (at most `width`) from `position` on, until the next call; null if the file does not give them.
    /// `ahead`: how many bytes from there will be asked for in all.
    const unsigned char* view(std::int64_t position, std::size_t size, std::size_t ahead);

    /// Copies `size` bytes, any number, from `position` on; false if the file does not give them.
    [[nodiscard]] bool read(std::int64_t position, void* buffer, std::size_t size);

    /// Whether the system has ever not given what lies inside the file.
    [[nodiscard]] bool failed() const { return failed_; }

private:
    bool fetch(std::int64_t position, void* buffer, std::size_t size);

    std::FILE* stream_ = nullptr;
    std::int64_t length_ = 0;
    std::int64_t begin_ = 0;  ///< of the window, bytes from the start of the stream
    std::int64_t end_ = 0;
    bool failed_ = false;
    unsigned char bytes_[width];  ///< not initialised: a small file touches a page or two of it
};

#endif

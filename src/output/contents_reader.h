// Contents on their way from the input to the module: a window that moves over the input.
#ifndef MODFORGE_OUTPUT_CONTENTS_READER_H
#define MODFORGE_OUTPUT_CONTENTS_READER_H

#include <cstdint>

#include "convert/velm_file.h"

class contents_reader {
public:
    /// The contents of `section` from byte `start` on, at least `size` bytes of them (1024 at the most), until the next
    /// call. Contents that cannot be read, though the input held them when it was opened, end the run.
    const unsigned char* read(const velm_scnhdr& section, std::uint32_t start, std::uint32_t size);

private:
    void move_window(const velm_scnhdr& section, std::int64_t position, std::uint32_t remaining);

    std::int64_t begin_ = 0;  ///< of the window, bytes from the start of the stream
    std::int64_t end_ = 0;
    unsigned char bytes_[1 << 16];  ///< not initialised: a small input touches one page of it
};

/// Reads the contents of all sections into memory, for an output that will replace the input.
void load_contents();

#endif

// For fuzz targets: an error that ends a run comes back to the target instead of ending the process.
#ifndef MODFORGE_FUZZ_SURVIVE_H
#define MODFORGE_FUZZ_SURVIVE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "msg/end_run.h"

struct run_ended {
    int status;
};

/// Calls `body`. Returns 0 when it comes back, otherwise the status with which it ended the run.
template <typename BODY> int survive(BODY&& body) {
    end_run_hook = [](int status) { throw run_ended{status}; };
    try {
        body();
        return 0;
    } catch (const run_ended& end) {
        return end.status;
    }
}

/// Reads `size` bytes as a file would be read. No file on disk.
inline auto stream_of(const std::uint8_t* data, std::size_t size) {
    // "r" never writes, so the cast is harmless.
    return std::unique_ptr<std::FILE, int (*)(std::FILE*)>(fmemopen(const_cast<std::uint8_t*>(data), size, "r"),
                                                           std::fclose);
}

/// The target: libFuzzer calls it, or replay.cc.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif

// The first touch of a page costs more than reading, summing and writing what is on it; a table of some megabytes has a
// thousand pages of the usual size, or a few large ones. So all tables lie side by side in one place that asks for those.
#include "driver/table_memory.h"

#include <cstdlib>  // tells which C library this is

#if defined(__linux__) && defined(__GLIBC__)

#include <malloc.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdint>

namespace {

constexpr std::uintptr_t small_page = 4096;
constexpr std::uintptr_t large_page = 2 << 20;
constexpr std::int64_t small_file = 1 << 20;  // its tables are not worth a large page
constexpr std::int64_t most_bytes = 512 * 1024 * 1024;

/// Room for the tables of most inputs: it costs nothing until it is used.
std::size_t room_for(std::int64_t file_size) {
    return static_cast<std::size_t>(std::min(3 * file_size, most_bytes));
}

}  // namespace

void prepare_table_memory(const char* path) {
    struct stat file;
    if (stat(path, &file) != 0 || !S_ISREG(file.st_mode) || file.st_size < small_file)
        return;
    // One place, where what is freed is used again and nothing goes back to the system before the end.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    // It begins a page before a large one, wherever the system has put the heap: that page takes what the allocator notes
    // at once, and every run has as many pages as the other.
    const auto end = reinterpret_cast<std::uintptr_t>(sbrk(0));
    sbrk(static_cast<std::intptr_t>(-(end + small_page) % large_page));
    const std::size_t size = room_for(file.st_size);
    void* const room = std::malloc(size);
    if (!room)
        return;
    const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(room) + small_page - 1) & -small_page;
    madvise(reinterpret_cast<void*>(first), size - small_page, MADV_HUGEPAGE);
    std::free(room);
}

#else

void prepare_table_memory(const char*) {}

#endif

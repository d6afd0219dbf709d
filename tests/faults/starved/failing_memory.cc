// Linked into copies of the programs. STARVED, "N:once:REPORT" or "N:ever:REPORT", makes their Nth allocation fail, or all
// from it on; a failure is noted in the file REPORT. With N = 0 none fails, and REPORT gets a number for each, which is
// the same for those that the same innermost calls lead to.
//
// Every allocation comes through malloc, that of operator new and of the C library as well.
#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constinit long nth = 0;
constinit bool for_ever = false;
constinit int report = -1;  ///< -1: the program has not begun
constinit long count = 0;

/// Innermost first, this file's own among them.
constexpr int calls_that_count = 6;

std::uint64_t number_of_calls() {
    void* frames[calls_that_count];
    const int depth = backtrace(frames, calls_that_count);
    std::uint64_t number = 0;
    for (int k = 0; k < depth; ++k)
        number = (number ^ reinterpret_cast<std::uintptr_t>(frames[k])) * 0x9E3779B97F4A7C15U;
    return number;
}

void note(std::uint64_t number) {
    [[maybe_unused]] const auto written = write(report, &number, sizeof number);
}

bool fails() {
    if (report < 0)
        return false;
    ++count;
    if (nth == 0)
        note(number_of_calls());
    const bool failing = nth != 0 && (for_ever ? count >= nth : count == nth);
    if (failing && count == nth)
        note(0);
    errno = ENOMEM;
    return failing;
}

[[maybe_unused]] const bool begun = [] {
    const char* const plan = std::getenv("STARVED");
    if (!plan)
        return false;
    number_of_calls();  // the first call allocates
    nth = std::atol(plan);
    for_ever = std::strstr(plan, ":ever:") != nullptr;
    report = open(std::strrchr(plan, ':') + 1, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    return true;
}();

}  // namespace

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

void* malloc(std::size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t items, std::size_t size) {
    return fails() ? nullptr : __libc_calloc(items, size);
}
void* realloc(void* memory, std::size_t size) {
    return fails() ? nullptr : __libc_realloc(memory, size);
}

}  // extern "C"

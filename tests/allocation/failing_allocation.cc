#include "allocation/failing_allocation.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace {

constinit long allocations_left = 0;  ///< until they fail; 0: they never do
constinit bool out_of_memory = false;

/// A page that forked children share, through which they tell that they met the failure.
bool& failed_flag() {
    static bool* const flag =
        static_cast<bool*>(mmap(nullptr, sizeof(bool), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return *flag;
}

}  // namespace

void fail_from_allocation(long nth) {
    allocations_left = nth;
    out_of_memory = false;
}

void forget_failed_allocation() {
    failed_flag() = false;
}

bool allocation_has_failed() {
    return failed_flag();
}

void* operator new(std::size_t size) {
    if (allocations_left > 0 && --allocations_left == 0)
        out_of_memory = failed_flag() = true;
    while (out_of_memory) {
        const std::new_handler handler = std::get_new_handler();
        if (!handler)
            throw std::bad_alloc();
        handler();
    }
    void* const memory = std::malloc(size ? size : 1);
    return memory ? memory : throw std::bad_alloc();
}

// The arrays' own: a sanitizer would otherwise bring in its own, which never fails.
void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

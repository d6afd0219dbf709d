// The handler behind operator new, and the message that it gives.
#include "msg/allocation.h"

#include <cstdio>
#include <new>

#include "msg/end_run.h"

namespace {

constinit int status_of_end = 1;

[[noreturn]] void out_of_memory() {
    // Nothing here allocates: standard error is unbuffered.
    std::fputs(allocation_scope::current(), stderr);
    end_run(status_of_end);
}

}  // namespace

void install_allocation_handler(int status) {
    status_of_end = status;
    std::set_new_handler(out_of_memory);
}

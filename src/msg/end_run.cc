// The early end of the process, with a way out for those who want to survive it.
#include "msg/end_run.h"

#include <cstdlib>

void (*end_run_hook)(int status) = nullptr;

void end_run(int status) {
    if (end_run_hook)
        end_run_hook(status);
    std::exit(status);
}

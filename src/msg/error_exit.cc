// One line on standard error, then the end of the run.
#include "msg/error_exit.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "msg/end_run.h"

void error_exit(const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    end_run(EXIT_FAILURE);
}

// The class library's word for a target that format/targets.h does not know: the end of the run.
#include "coff/target_width.h"

#include <cstdio>
#include <cstdlib>

#include "format/targets.h"
#include "msg/end_run.h"

std::uint16_t get_trg_mem_width(std::uint16_t target_id) {
    const int width = target_width(target_id);
    if (width == 0) {
        std::fputs("Invalid target type\n", stderr);
        end_run(EXIT_FAILURE);
    }
    return static_cast<std::uint16_t>(width);
}

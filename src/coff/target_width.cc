#include "coff/target_width.h"

#include <cstdio>
#include <cstdlib>

#include "msg/end_run.h"

std::uint16_t get_trg_mem_width(std::uint16_t target_id) {
    switch (target_id) {
    case 0x0093:
        return 32;
    case 0x0097:
    case 0x0099:
    case 0x009C:
    case 0x009F:
        return 8;
    case 0x0098:
    case 0x009D:
        return 16;
    default:
        std::fputs("Invalid target type\n", stderr);
        end_run(EXIT_FAILURE);
    }
}

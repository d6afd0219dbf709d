// One row a target.
#include "format/targets.h"

int target_width(std::uint16_t target_id) {
    static constexpr struct {
        std::uint16_t id;
        std::uint8_t width;
    } targets[] = {{0x0093, 32}, {0x0097, 8}, {0x0098, 16}, {0x0099, 8}, {0x009C, 8}, {0x009D, 16}, {0x009F, 8}};
    for (const auto& target : targets) {
        if (target.id == target_id)
            return target.width;
    }
    return 0;
}

// The processors that the formats know, by the target id of the file headers.
#ifndef MODFORGE_FORMAT_TARGETS_H
#define MODFORGE_FORMAT_TARGETS_H

#include <cstdint>

/// Bits per address unit of a target: 8, 16 or 32; 0 for an id that no target has.
int target_width(std::uint16_t target_id);

#endif

// How wide an address unit of a target is.
#ifndef MODFORGE_COFF_TARGET_WIDTH_H
#define MODFORGE_COFF_TARGET_WIDTH_H

#include <cstdint>

/// Bits per address unit of a COFF target id. An unknown one ends the run with "Invalid target type" on standard error.
std::uint16_t get_trg_mem_width(std::uint16_t target_id);

#endif

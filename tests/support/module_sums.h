// Modules whose checksums are to be right although something in them is not, in either byte order.
#ifndef MODFORGE_SUPPORT_MODULE_SUMS_H
#define MODFORGE_SUPPORT_MODULE_SUMS_H

#include "support/bytes.h"

namespace support {

/// The order of the fields of a module of at least 9 bytes.
byte_order order_of(const bytes& module);

std::uint32_t word_at(const bytes& module, std::size_t offset);
void put_word(bytes& module, std::size_t offset, std::uint32_t word);

/// Makes every checksum that can be found right again, so that a fault reaches the check that it is aimed at.
void repair_sums(bytes& module);

/// What a machine of the opposite byte order writes for the same input. `module` must be sound.
bytes byte_swapped(const bytes& module);

}  // namespace support

#endif

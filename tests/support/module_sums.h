// Little-endian modules whose checksums are to be right although something in them is not.
#ifndef MODFORGE_SUPPORT_MODULE_SUMS_H
#define MODFORGE_SUPPORT_MODULE_SUMS_H

#include "support/bytes.h"

namespace support {

std::uint32_t word_at(const bytes& module, std::size_t offset);
void put_word(bytes& module, std::size_t offset, std::uint32_t word);

/// Makes every checksum that can be found right again, so that a fault reaches the check that it is aimed at.
void repair_sums(bytes& module);

}  // namespace support

#endif

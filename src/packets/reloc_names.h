// Names of the relocation types, for listings. Leaf header.
#ifndef MODFORGE_PACKETS_RELOC_NAMES_H
#define MODFORGE_PACKETS_RELOC_NAMES_H

#include <cstdint>

/// "R_RELLONG" and the like; null for a type without a name.
const char* reloc_type_name(std::uint16_t type);

#endif

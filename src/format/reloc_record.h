// The relocation record of a module and of a COFF file. docs/module-format.md tells it byte by byte; reloc_types.h knows
// the types.
#ifndef MODFORGE_FORMAT_RELOC_RECORD_H
#define MODFORGE_FORMAT_RELOC_RECORD_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// How a field relocation describes its field; lies where r_symndx lies in other relocations.
struct reloc_field {
    std::uint8_t r_offset;   ///< bit offset of the field
    std::uint8_t r_fieldsz;  ///< width of the field, bits
    std::uint8_t r_wordsz;   ///< width of the container that holds it, bits
    std::uint8_t unused;     ///< 0 in a module
};
static_assert(sizeof(reloc_field) == 4);

/// One relocation, 12 bytes, host byte order.
struct reloc_record {
    std::uint32_t r_vaddr;  ///< before translation: absolute address; after: offset in its packet. Address units
    union {
        std::uint32_t r_symndx;  ///< before translation: COFF symbol index; after: module symbol index
        reloc_field r_field;     ///< for the field types
    };
    std::uint16_t r_disp;  ///< displacement word
    std::uint16_t r_type;  ///< a reloc_type, or any other COFF number
};
static_assert(sizeof(reloc_record) == 4 + 4 + 2 + 2);
static_assert(offsetof(reloc_record, r_symndx) == 4 && offsetof(reloc_record, r_type) == 10);
static_assert(std::is_trivially_copyable_v<reloc_record>);

#endif

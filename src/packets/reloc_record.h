// The relocation record of a module and the numbers of the relocation types.
//
// A leaf header: plain records and constants only. docs/module-format.md tells the record byte by byte.
#ifndef MODFORGE_PACKETS_RELOC_RECORD_H
#define MODFORGE_PACKETS_RELOC_RECORD_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// COFF relocation types that the converter treats specially. Every other number is an ordinary relocation.
enum reloc_type : std::uint16_t {
    R_ABS = 0,
    R_REL24 = 5,
    R_DIR32 = 6,
    R_RELBYTE = 15,
    R_RELWORD = 16,
    R_RELLONG = 17,
    R_PCRBYTE = 18,
    R_PCRWORD = 19,
    R_PCRLONG = 20,
    R_PCR24 = 21,
    RE_ADD = 0x4000,
    RE_SUB = 0x4001,
    RE_NEG = 0x4002,
    RE_MPY = 0x4003,
    RE_DIV = 0x4004,
    RE_MOD = 0x4005,
    RE_SR = 0x4006,
    RE_ASR = 0x4007,
    RE_SL = 0x4008,
    RE_AND = 0x4009,
    RE_OR = 0x400A,
    RE_XOR = 0x400B,
    RE_NOTB = 0x400C,
    RE_ULDFLD = 0x400D,
    RE_SLDFLD = 0x400E,
    RE_USTFLD = 0x400F,
    RE_SSTFLD = 0x4010,
    RE_PUSH = 0x4011,
    RE_PUSHSK = 0x4012,
    RE_PUSHUK = 0x4013,
    RE_PUSHPC = 0x4014,
    RE_DUP = 0x4015,
    RE_XSTFLD = 0x4016,
    RE_INTERNAL_FIRST = 0x5000,  ///< 0x5000 to 0x5002 never reach a module
    RE_INTERNAL_PUSH = 0x5001,
    RE_INTERNAL_LAST = 0x5002,
    RE_PUSHSV = 0xC011,
};

/// No symbol: the value of r_symndx in a relocation that refers to none.
inline constexpr std::uint32_t no_symbol = 0xFFFFFFFFU;

/// How a field relocation describes its field; lies where r_symndx lies in other relocations.
struct reloc_field {
    std::uint8_t r_offset;   ///< bit offset of the field
    std::uint8_t r_fieldsz;  ///< width of the field, bits
    std::uint8_t r_wordsz;   ///< width of the container that holds it, bits
    std::uint8_t unused;     ///< 0 in a module
};
static_assert(sizeof(reloc_field) == 4);

/// One module relocation, 12 bytes, host byte order.
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

/// The relocations of one section, in the order of the COFF file, with a cursor that packet cutting moves.
struct velm_reloc_table {
    std::uint32_t nreloc;        ///< number of records
    std::uint32_t reloc_start;   ///< cursor: first record not yet placed in a packet
    reloc_record** reloc_table;  ///< nreloc pointers, or null when there are none; owned by the module model
};

/// Whether `type` is one of the types whose record holds a reloc_field instead of a symbol index.
constexpr bool is_field_reloc(std::uint16_t type) {
    return (type >= RE_ULDFLD && type <= RE_SSTFLD) || type == RE_XSTFLD;
}

/// Whether the COFF entry's displacement word means something for `type`; its r_symndx is a symbol then.
constexpr bool has_displacement(std::uint16_t type) {
    return type < RE_ADD || type == RE_PUSH || type == RE_PUSHSV || type == RE_INTERNAL_PUSH;
}

/// Whether a relocation of `type` with the symbol word `symndx` refers to a symbol.
constexpr bool is_sym_reloc(std::uint16_t type, std::uint32_t symndx) {
    const bool expression_operator = (type >= RE_ADD && type <= RE_SSTFLD) || type == RE_XSTFLD;
    const bool internal = type >= RE_INTERNAL_FIRST && type <= RE_INTERNAL_LAST;
    const bool constant = type >= RE_PUSHSK && type <= RE_DUP;
    return !expression_operator && !internal && !constant && symndx != no_symbol;
}

#endif

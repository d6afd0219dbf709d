// The relocation types: what each changes, and what the words of its entry mean. One row a type in reloc_types.def.
#ifndef MODFORGE_FORMAT_RELOC_TYPES_H
#define MODFORGE_FORMAT_RELOC_TYPES_H

#include <array>
#include <cstdint>

#include "format/reloc_record.h"

/// The types that have a name.
enum reloc_type : std::uint16_t {
#define RELOC_TYPE(number, name, size, stop, offset, word, disp) name = (number),
#define RELOC_UNNAMED(number, size, stop, offset, word, disp)
#include "format/reloc_types.def"
#undef RELOC_TYPE
#undef RELOC_UNNAMED
};

/// No symbol: the symbol word of a relocation that refers to none.
inline constexpr std::uint32_t no_symbol = 0xFFFFFFFFU;

/// What the word behind the address of a relocation holds.
enum class reloc_word : std::uint8_t {
    symbol,    ///< the index of a symbol, or no_symbol
    field,     ///< a reloc_field: single bytes, which have no order
    constant,  ///< the number that is pushed
    nothing,   ///< an operator of an expression takes what was pushed
    internal,  ///< the linker's own types, which never reach a module
};

/// What is known of a type.
struct reloc_type_facts {
    std::uint16_t type;
    const char* name;     ///< null: it has none
    std::uint8_t size;    ///< bits that change; 0: no field of its own
    std::uint8_t stop;    ///< bits of the container that the loader rewrites; 0: `size` in whole bytes
    std::uint8_t offset;  ///< first changed bit of the container
    reloc_word word;
    bool displacement;  ///< whether the displacement word means something
};

/// Rows of the types 0 to 255, which are nearly all that a program has; for reloc_facts().
extern const std::array<const reloc_type_facts*, 256> ordinary_reloc_rows;
const reloc_type_facts& special_reloc_facts(int type);

// The questions are asked of every relocation several times, so they stand here to be compiled into the loops.

/// The facts of `type`. A number without a row is an ordinary relocation without a field, with a symbol, and with a
/// displacement if it lies below RE_ADD; one that does not fit 16 bits has none.
inline const reloc_type_facts& reloc_facts(int type) {
    const auto number = static_cast<unsigned>(type);
    return number < ordinary_reloc_rows.size() ? *ordinary_reloc_rows[number] : special_reloc_facts(type);
}

/// Width of the field that a relocation of `type` changes, in bits; 0 for types without a field of their own.
inline int reloc_size(int type) {
    return reloc_facts(type).size;
}

/// Width in bits of the container that the loader rewrites, counted from the relocation's address. Types without
/// a container of their own get `size` rounded up to whole bytes.
inline int reloc_stop(int type, int size) {
    const int stop = reloc_facts(type).stop;
    return stop != 0 ? stop : (size + 7) / 8 * 8;
}

/// Whole bytes of the container of `record`, from its address on.
inline std::uint32_t container_bytes(const reloc_record& record) {
    const reloc_type_facts& facts = reloc_facts(record.r_type);
    if (facts.word == reloc_word::field)
        return record.r_field.r_wordsz / 8U;
    return facts.stop != 0 ? facts.stop / 8U : (facts.size + 7U) / 8U;
}

/// Bit offset of the field inside its container, 0 for types without one.
inline int reloc_offset(int type) {
    return reloc_facts(type).offset;
}

/// "R_RELLONG" and the like; null for a type without a name.
inline const char* reloc_type_name(std::uint16_t type) {
    return reloc_facts(type).name;
}

/// Whether the entry describes its field itself, in a reloc_field where others have a symbol index.
inline bool is_field_reloc(std::uint16_t type) {
    return reloc_facts(type).word == reloc_word::field;
}

/// Whether the entry pushes a constant, which lies where others have a symbol index.
inline bool is_constant_reloc(std::uint16_t type) {
    return reloc_facts(type).word == reloc_word::constant;
}

/// Whether the COFF entry's displacement word means something for `type`.
inline bool has_displacement(std::uint16_t type) {
    return reloc_facts(type).displacement;
}

/// Whether a relocation of `type` with the symbol word `symndx` refers to a symbol.
inline bool is_sym_reloc(std::uint16_t type, std::uint32_t symndx) {
    return symndx != no_symbol && reloc_facts(type).word == reloc_word::symbol;
}

/// Whether `type` is one of the linker's own, which never reach a module.
inline bool is_internal_reloc(std::uint16_t type) {
    return reloc_facts(type).word == reloc_word::internal;
}

#endif

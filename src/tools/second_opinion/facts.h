// What the second opinion holds to be true of COFF files, entries files and modules.
//
// The converter has these facts from src/format. Here they are stated once more, on purpose: a number that is wrong
// there and taken from there would be found right. One test holds the two statements against each other.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_FACTS_H
#define MODFORGE_TOOLS_SECOND_OPINION_FACTS_H

#include "tools/second_opinion/bytes.h"

namespace second_opinion {

// Sizes of records, in bytes. Of a COFF file:
inline constexpr u32 file_header_size = 22, optional_header_size = 28, section_header_size = 48, relocation_size = 12,
                     symbol_size = 18;  // also that of an auxiliary entry
// Of a module:
inline constexpr u32 module_header_size = 36, verification_size = 20, section_record_size = 28, symbol_record_size = 12,
                     packet_header_size = 12, relocation_record_size = 12;

inline constexpr u16 coff_version = 0x00C2;
inline constexpr u32 order_mark = 0x00010203;  ///< a word of the module header, in the order of its writer

// Bits of the COFF file header and of COFF section headers.
inline constexpr u16 file_has_no_relocations = 0x0001, file_is_executable = 0x0002;
inline constexpr u32 section_is_dummy = 0x01, section_is_not_loaded = 0x02, section_is_copy = 0x10,
                     section_is_text = 0x20, section_is_bss = 0x80, section_alignment = 0xF00;

// Flags of a section of the module, and its types, which are the low four bits.
inline constexpr u16 module_section_relocated = 0x10, module_section_has_data = 0x20;
inline constexpr u16 type_code = 0, type_data = 1, type_uninitialised = 2, type_init_table = 3, type_mask = 0x0F;

inline constexpr u32 no_symbol = 0xFFFFFFFF;           ///< symbol word of a relocation that refers to none
inline constexpr u32 no_name = 0xFFFFFFFF;             ///< name offset of a module symbol of the nameless class
inline constexpr u16 nameless_class = 3;               ///< storage class of symbols that only relocations need
inline constexpr u16 absolute_entry = 0xFFFF;          ///< entry section of an entry point that is an address
inline constexpr u32 no_optional_header = 0xFFFFFFFF;  ///< entry point of a file without one

// Limits.
inline constexpr u32 largest_input = 0x7FFFFFFF;     ///< bytes of a COFF file
inline constexpr u32 largest_contents = 0x7FFFFFFF;  ///< bytes of a section
inline constexpr u64 largest_module = 0xFFFFFFFF;    ///< bytes
inline constexpr u32 most_sections = 32767, most_symbols = 65535;
inline constexpr u32 longest_name = 65534;  ///< characters of a name in the module
inline constexpr u32 longest_entry = 255;   ///< characters of a token of an entries file
inline constexpr int least_packet = 300, greatest_packet = 1024, packet_step = 4;

/// What a run may take for relocations, for contents and for names, in bytes each, from an input of that size.
constexpr u64 memory_limit(u64 input_size) {
    return 16 * input_size + (u64{16} << 20);
}

/// Bits per address unit of a target, 0 when there is no such target.
u32 unit_width(u16 target);

/// Whether a module may hold symbols of the storage class.
bool is_kept_class(int sclass);
/// Whether symbols of the class can be exported without a relocation that refers to them.
bool is_external_class(int sclass);

/// Bits that a relocation changes, and bits of what holds them; 0 for types without a field or with a descriptor.
u32 field_bits(u16 type);
u32 container_bits(u16 type);

/// Whether the symbol word of the type is a field descriptor: three single bytes, the third the container's bits.
constexpr bool has_descriptor(u16 type) {
    return (type >= 0x400D && type <= 0x4010) || type == 0x4016;
}

/// Whether a module keeps the displacement word.
constexpr bool has_displacement(u16 type) {
    return type < 0x4000 || type == 0x4011 || type == 0xC011;
}

/// Whether the type is the linker's own and never goes into a module.
constexpr bool is_internal(u16 type) {
    return type >= 0x5000 && type <= 0x5002;
}

/// Whether a relocation of the type with that symbol word refers to a symbol.
constexpr bool refers_to_symbol(u16 type, u32 symndx) {
    const bool expression = type >= 0x4000 && type <= 0x4016 && type != 0x4011;
    return !expression && !is_internal(type) && symndx != no_symbol;
}

/// Address units as bytes and back; both wrap at 32 bits, and the way back drops a remainder towards zero.
constexpr i32 units_to_bytes(u32 units, u32 width) {
    return width == 8 ? static_cast<i32>(units) : static_cast<i32>(units * width) >> 3;
}
constexpr i32 bytes_to_units(i32 count, u32 width) {
    return width == 8 ? count : static_cast<i32>(static_cast<u32>(count) * 8) / static_cast<i32>(width);
}

}  // namespace second_opinion

#endif

// The records of a COFF version-2 file, as they lie on disk, and the numbers that stand in them.
//
// A record is read into a real object and brought into host order once, by swap_record(), where it enters; everything
// behind that sees host order. The file header, symbol entries and line numbers have 32-bit fields at even addresses
// that are no multiples of four: they are packed to two bytes, or their sizes would be 24, 20 and 8.
#ifndef MODFORGE_FORMAT_COFF_RECORDS_H
#define MODFORGE_FORMAT_COFF_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "format/aux_forms.h"
#include "format/reloc_record.h"
#include "format/storage_classes.h"

inline constexpr std::uint16_t coff_version_2 = 0x00C2;

/// Bits of filehdr::fh_flags.
enum file_flags : std::uint16_t {
    f_relflg = 0x0001,       ///< relocations stripped
    f_exec = 0x0002,         ///< executable: no unresolved references
    f_lnno_strip = 0x0004,   ///< line numbers stripped
    f_lsyms_strip = 0x0008,  ///< local symbols stripped
    f_version = 0x00F0,      ///< mask of a 4-bit CPU generation
    f_little = 0x0100,       ///< object code is least significant byte first
    f_big = 0x0200,          ///< object code is most significant byte first
    f_symmerge = 0x1000,     ///< tags were merged: no duplicates
    f_icode = 0x2000,        ///< an ".icode" section was added
};

#pragma pack(push, 2)
/// File header, at the start of the image.
struct filehdr {
    std::uint16_t fh_magic;   ///< coff_version_2
    std::uint16_t fh_nscns;   ///< section headers
    std::uint32_t fh_timdat;  ///< time stamp
    std::uint32_t fh_symptr;  ///< symbol table; bytes, from the start of the stream when it is read
    std::uint32_t fh_nsyms;   ///< symbol-table entries, auxiliary ones included
    std::uint16_t fh_opthdr;  ///< bytes of the optional header: 0 or 28
    std::uint16_t fh_flags;
    std::uint16_t fh_target_id;
};
#pragma pack(pop)
static_assert(sizeof(filehdr) == 22 && offsetof(filehdr, fh_symptr) == 8 && offsetof(filehdr, fh_target_id) == 20);
static_assert(std::is_trivially_copyable_v<filehdr>);

/// Optional header, behind the file header if fh_opthdr is 28.
struct opthdr {
    std::int16_t ofh_magic;
    std::int16_t ofh_vstamp;
    std::uint32_t ofh_tsize;  ///< bytes, as the next two
    std::uint32_t ofh_dsize;
    std::uint32_t ofh_bsize;
    std::uint32_t ofh_entrypt;  ///< address units, as the next two
    std::uint32_t ofh_text_start;
    std::uint32_t ofh_data_start;
};
static_assert(sizeof(opthdr) == 28 && offsetof(opthdr, ofh_entrypt) == 16);
static_assert(std::is_trivially_copyable_v<opthdr>);

/// Bits of scnhdr::s_flags.
enum section_flags : std::uint32_t {
    s_dummy = 0x00000001,
    s_noload = 0x00000002,
    s_group = 0x00000004,  ///< no longer used by tools
    s_pad = 0x00000008,    ///< no longer used by tools
    s_copy = 0x00000010,
    s_text = 0x00000020,
    s_data = 0x00000040,
    s_bss = 0x00000080,
    s_align = 0x00000F00,  ///< mask: aligned to 2 to this power, address units
    s_blocked = 0x00001000,
    s_pass = 0x00002000,
    s_clink = 0x00004000,
    s_vector = 0x00008000,
    s_padded = 0x00010000,
    s_icode = 0x00020000,
};

/// Section header. File pointers count bytes from the start of the image.
struct scnhdr {
    char s_name[8];           ///< NUL-padded; or four zero bytes and a string-table offset
    std::uint32_t s_paddr;    ///< run address, address units
    std::uint32_t s_vaddr;    ///< load address, address units
    std::uint32_t s_size;     ///< address units, not bytes
    std::uint32_t s_scnptr;   ///< contents; 0: none
    std::uint32_t s_relptr;   ///< relocation entries
    std::uint32_t s_lnnoptr;  ///< line-number entries
    std::uint32_t s_nreloc;   ///< relocation entries
    std::uint32_t s_nlnno;    ///< line-number entries
    std::uint32_t s_flags;    ///< section_flags
    std::uint8_t s_mwidth;    ///< bits per address unit; 0: the target's default
    std::uint8_t s_reserved;  ///< with s_mwidth a 16-bit field that is never swapped
    std::uint16_t s_page;
};
static_assert(sizeof(scnhdr) == 48 && offsetof(scnhdr, s_scnptr) == 20 && offsetof(scnhdr, s_mwidth) == 44);
static_assert(std::is_trivially_copyable_v<scnhdr>);

/// Relocation entry: the record that a module has as well, before it is translated. The displacement is as it lies in the
/// file for types that have none; of the four bytes of a field type, which are never swapped, the last one may be any.
using reloc = reloc_record;

#pragma pack(push, 2)
/// Line-number entry.
struct lineno {
    std::uint32_t l_addr;  ///< address units; where l_lnno is 0, the function's symbol index instead
    std::uint16_t l_lnno;  ///< line, relative to the function's first line, which is 1
};
#pragma pack(pop)
static_assert(sizeof(lineno) == 6);

/// A line-number entry in memory: the entry in its first six bytes, then slack.
struct lineno_slot {
    lineno entry;
    std::uint16_t slack;
};
static_assert(sizeof(lineno_slot) == 8 && std::is_trivially_copyable_v<lineno_slot>);

inline constexpr std::uint16_t type_derived_mask = 0x30;  ///< first derived type
inline constexpr std::uint16_t type_function = 0x20;
inline constexpr std::uint16_t type_array = 0x30;
inline constexpr std::uint16_t type_base_mask = 0x0F;

#pragma pack(push, 2)
/// Symbol-table entry.
struct syment {
    char n_name[8];  ///< NUL-padded; or four zero bytes and a string-table offset
    std::int32_t n_value;
    std::int16_t n_scnum;  ///< from 1; 0: undefined; negative: special
    std::uint16_t n_type;
    std::int8_t n_sclass;  ///< storage_class
    std::int8_t n_numaux;  ///< above 0: one auxiliary entry follows, whatever the number
};
#pragma pack(pop)
static_assert(sizeof(syment) == 18 && offsetof(syment, n_value) == 8 && offsetof(syment, n_numaux) == 17);
static_assert(std::is_trivially_copyable_v<syment>);

/// The string table of a COFF file begins with its own length in so many bytes, which the offsets of names count, too.
inline constexpr std::uint32_t strtab_length_word = 4;

/// Brings a record of the opposite byte order into host order.
void swap_record(filehdr& header);
void swap_record(opthdr& header);
void swap_record(scnhdr& header);
void swap_record(reloc& entry);
void swap_record(lineno& entry);
void swap_record(syment& entry);

/// The value with its bytes in reverse order.
constexpr std::uint16_t swapped(std::uint16_t value) {
    return static_cast<std::uint16_t>(value << 8 | value >> 8);
}
constexpr std::uint32_t swapped(std::uint32_t value) {
    return value << 24 | (value & 0xFF00U) << 8 | (value >> 8 & 0xFF00U) | value >> 24;
}

/// Whether the eight name bytes of a section or symbol refer to the string table.
inline bool name_is_offset(const char (&name)[8]) {
    return !(name[0] || name[1] || name[2] || name[3]);
}
/// The string-table offset in such a name; 0 for eight zero bytes, which are the empty name.
inline std::uint32_t name_offset(const char (&name)[8]) {
    std::uint32_t offset;
    std::memcpy(&offset, name + 4, sizeof offset);
    return offset;
}
/// Makes the name bytes refer to `offset`; bytes 0 to 3 stay as they are.
inline void set_name_offset(char (&name)[8], std::uint32_t offset) {
    std::memcpy(name + 4, &offset, sizeof offset);
}

#endif

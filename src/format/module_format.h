// The records of a VELM module, as they lie in the file.
//
// Plain records, shared by the converter and velmdump. Every field is in the byte order of the machine that wrote the
// module; byte_order_mark tells which. docs/module-format.md is the page for people.
#ifndef MODFORGE_FORMAT_MODULE_FORMAT_H
#define MODFORGE_FORMAT_MODULE_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// Reads 00 01 02 03 in a big-endian module, 03 02 01 00 in a little-endian one.
inline constexpr std::uint32_t velm_byte_order_mark = 0x00010203U;

/// Entry section of an entry point that is an absolute address.
inline constexpr std::uint16_t velm_absolute_entry = 0xFFFFU;

/// Name offset of a symbol without a name.
inline constexpr std::uint32_t velm_no_name = 0xFFFFFFFFU;

/// Storage class of a symbol that only relocations use (COFF C_STAT).
inline constexpr std::uint16_t velm_local_class = 3;

/// File header, at file offset 0.
struct velm_filehdr {
    std::uint32_t strtab_size;      ///< bytes of the string table, a multiple of 4 once the module is laid out
    std::uint32_t entry_point;      ///< address units from the start of the entry section, or absolute
    std::uint32_t byte_order_mark;  ///< velm_byte_order_mark
    std::uint32_t scn_name_size;    ///< bytes of the string table that hold the module name and the section names
    std::uint16_t nsyms;
    std::uint16_t max_str_len;  ///< longest string behind the module name, terminator included
    std::uint16_t nscns;
    std::uint16_t n_reloc_scns;     ///< sections whose flags have velm_scn_relocated
    std::uint16_t reserved;         ///< always 0
    std::uint16_t target_id;        ///< as in the COFF file header
    std::uint16_t flags;            ///< as in the COFF file header
    std::uint16_t entry_scn;        ///< section number, velm_absolute_entry, or 0 for no entry point
    std::uint32_t header_checksum;  ///< brings the sum of the nine words to 0xFFFFFFFF
};
static_assert(sizeof(velm_filehdr) == 36 && std::is_trivially_copyable_v<velm_filehdr>);
static_assert(offsetof(velm_filehdr, nsyms) == 16 && offsetof(velm_filehdr, n_reloc_scns) == 22);
static_assert(offsetof(velm_filehdr, entry_scn) == 30 && offsetof(velm_filehdr, header_checksum) == 32);

/// Verification record, at file offset 36.
struct velm_verifyrec {
    std::uint32_t timestamp;           ///< as in the COFF file header
    std::uint32_t scnhdr_checksum;     ///< over all section headers
    std::uint32_t strtab_checksum;     ///< over the padded string table
    std::uint32_t symtab_checksum;     ///< over all symbol records
    std::uint32_t verifyrec_checksum;  ///< over the four words before it
};
static_assert(sizeof(velm_verifyrec) == 20 && std::is_trivially_copyable_v<velm_verifyrec>);

/// Where the string table starts.
inline constexpr std::uint32_t velm_strtab_offset = sizeof(velm_filehdr) + sizeof(velm_verifyrec);
static_assert(velm_strtab_offset == 56);

/// Section flags: the low four bits are the type, the bits 0x0F00 the COFF alignment.
enum velm_section_flags : std::uint16_t {
    velm_scn_code = 0,
    velm_scn_data = 1,
    velm_scn_uninitialised = 2,
    velm_scn_init_table = 3,
    velm_scn_type_mask = 0x000F,
    velm_scn_relocated = 0x0010,   ///< the loader relocates it
    velm_scn_has_data = 0x0020,    ///< its contents travel in the module
    velm_scn_align_mask = 0x0F00,  ///< log2 of the alignment in address units
};

/// Section header as it lies in the file.
struct velm_scnhdr_record {
    std::uint32_t name_offset;  ///< bytes from the start of the string table
    std::uint32_t paddr;        ///< run address, address units; 0 for a copy section with contents
    std::uint32_t vaddr;        ///< load address, address units; likewise
    std::uint32_t size;         ///< address units
    std::uint16_t page;
    std::uint16_t flags;         ///< velm_section_flags
    std::uint32_t first_packet;  ///< file offset of the first image packet, bytes; 0 when there is none
    std::uint32_t npackets;
};
static_assert(sizeof(velm_scnhdr_record) == 28 && std::is_trivially_copyable_v<velm_scnhdr_record>);
static_assert(offsetof(velm_scnhdr_record, flags) == 18 && offsetof(velm_scnhdr_record, first_packet) == 20);

/// Symbol record as it lies in the file.
struct velm_symbol_record {
    std::uint32_t name_offset;  ///< bytes from the start of the string table, or velm_no_name
    std::uint32_t value;
    std::int16_t section;         ///< module section number; 0 undefined, -1 absolute, -2 debugging
    std::uint16_t storage_class;  ///< COFF storage class, sign-extended from 8 bits; velm_local_class when nameless
};
static_assert(sizeof(velm_symbol_record) == 12 && std::is_trivially_copyable_v<velm_symbol_record>);
static_assert(offsetof(velm_symbol_record, storage_class) == 10);

/// What precedes the data of an image packet.
struct velm_packet_header {
    std::uint32_t nreloc;     ///< relocation records behind the data
    std::uint32_t data_size;  ///< bytes of contents, padding not counted
    std::uint32_t checksum;   ///< brings the sum of all words of the packet to 0xFFFFFFFF
};
static_assert(sizeof(velm_packet_header) == 4 + 4 + 4 && std::is_trivially_copyable_v<velm_packet_header>);

#endif

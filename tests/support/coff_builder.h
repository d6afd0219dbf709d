// Describes and builds COFF version-2 images for tests.
//
// Fill a coff_image, call build(), and hand the bytes to whatever is under test. Everything has a
// sound default; what a test wants broken is overridden in the description (the optional members)
// or patched afterwards: built_image tells where each part lies, the `field` constants where each
// field lies within its part. Shares no code with the product.
#ifndef MODFORGE_SUPPORT_COFF_BUILDER_H
#define MODFORGE_SUPPORT_COFF_BUILDER_H

#include <array>
#include <optional>
#include <string>

#include "support/bytes.h"

namespace support {

/// Where a field lies in its part and how wide it is, both in bytes.
struct field {
    std::size_t offset;
    std::size_t width;
};

// The file header.
inline constexpr field fh_magic{0, 2}, fh_nscns{2, 2}, fh_timdat{4, 4}, fh_symptr{8, 4}, fh_nsyms{12, 4},
    fh_opthdr{16, 2}, fh_flags{18, 2}, fh_target_id{20, 2};
// The optional header.
inline constexpr field ofh_magic{0, 2}, ofh_vstamp{2, 2}, ofh_tsize{4, 4}, ofh_dsize{8, 4}, ofh_bsize{12, 4},
    ofh_entrypt{16, 4}, ofh_text_start{20, 4}, ofh_data_start{24, 4};
// A section header; s_name_zero and s_name_offset are the two halves of the name.
inline constexpr field s_name_zero{0, 4}, s_name_offset{4, 4}, sh_paddr{8, 4}, sh_vaddr{12, 4}, sh_size{16, 4},
    sh_scnptr{20, 4}, sh_relptr{24, 4}, sh_lnnoptr{28, 4}, sh_nreloc{32, 4}, sh_nlnno{36, 4}, sh_flags{40, 4},
    sh_mwidth{44, 1}, sh_page{46, 2};
// A relocation entry.
inline constexpr field r_vaddr{0, 4}, r_symndx{4, 4}, r_disp{8, 2}, r_type{10, 2};
// A symbol entry.
inline constexpr field sym_name_zero{0, 4}, sym_name_offset{4, 4}, sym_value{8, 4}, sym_scnum{12, 2}, sym_type{14, 2},
    sym_sclass{16, 1}, sym_naux{17, 1};

/// A relocation entry. Field relocations (0x400D to 0x4010, 0x4016) carry `descriptor` instead of a symbol index.
struct coff_reloc {
    std::uint32_t vaddr = 0;  ///< address units, absolute
    std::uint16_t type = 0;
    std::uint32_t symndx = 0xFFFFFFFF;
    std::uint16_t disp = 0;
    std::optional<std::array<std::uint8_t, 4>> descriptor = {};  ///< bit offset, field bits, container bits, unused
};

struct coff_line {
    std::uint32_t address = 0;
    std::uint16_t line = 0;
};

/// A section with all that hangs on it. Names over 8 characters go into the string table.
struct coff_section {
    std::string name = ".text";
    std::uint32_t flags = 0x20;
    std::uint32_t paddr = 0;
    std::optional<std::uint32_t> vaddr = {};  ///< as paddr when not given
    bytes contents = {};
    std::vector<coff_reloc> relocs = {};
    std::vector<coff_line> lines = {};
    std::uint8_t mwidth = 0;
    std::uint16_t page = 0;
    std::optional<std::uint32_t> size = {};  ///< address units; from the contents and the width when not given
    std::optional<std::uint32_t> scnptr = {}, relptr = {}, lnnoptr = {}, nreloc = {}, nlnno = {};
    std::optional<std::uint32_t> name_offset = {};  ///< name through the string table at this offset, as it stands
    bool long_name = false;                         ///< through the string table however short
};

/// An auxiliary entry: 18 bytes, numbers in the image's byte order. The factories make the known forms.
struct coff_aux {
    struct number {
        field place;
        std::uint32_t value;
    };
    std::vector<number> numbers = {};
    std::string text = {};  ///< laid down from byte 0, before the numbers
    /// When set, bytes 8 to 11 get the file pointer of this entry of the symbol's section's line numbers.
    std::optional<std::uint32_t> line_index = {};
};

coff_aux aux_file(const std::string& name);
coff_aux aux_block(std::uint16_t line, std::uint32_t next);
coff_aux aux_bf(std::uint16_t line, std::uint16_t line_count, std::uint32_t register_mask, std::uint32_t frame_size,
                std::uint32_t next);
coff_aux aux_end_of_tag(std::uint32_t tag, std::uint32_t size);
coff_aux aux_tag(std::uint32_t size, std::uint32_t next);
coff_aux aux_function(std::uint32_t tag, std::uint32_t size, std::uint32_t line_index, std::uint32_t next);
coff_aux aux_array(std::uint32_t tag, std::uint32_t size, std::array<std::uint16_t, 4> dimensions);
coff_aux aux_section(std::uint32_t length, std::uint16_t nreloc, std::uint16_t nlnno);
coff_aux aux_other(std::uint32_t tag, std::uint32_t size);

/// A symbol with its auxiliary entries. Names over 8 characters go into the string table.
struct coff_symbol {
    std::string name = {};
    std::uint32_t value = 0;
    std::int16_t scnum = 1;
    std::uint8_t sclass = 2;
    std::uint16_t type = 0;
    std::vector<coff_aux> aux = {};
    std::optional<std::uint8_t> naux = {};  ///< aux.size() when not given
    std::optional<std::uint32_t> name_offset = {};
    bool long_name = false;
};

struct coff_optional_header {
    std::uint16_t magic = 0x108, vstamp = 0;
    std::uint32_t tsize = 0, dsize = 0, bsize = 0, entrypt = 0, text_start = 0, data_start = 0;
};

/// What build() made: the bytes and where each part lies in them (from the first byte of the stream).
struct built_image {
    bytes data;
    byte_order order = byte_order::little;
    std::size_t file_header = 0;
    std::size_t optional_header = 0;
    std::vector<std::size_t> section_headers, contents, relocs, lines;  ///< one for each section
    std::vector<std::size_t> symbols;                                   ///< one for each symbol, without auxiliaries
    std::size_t string_table = 0;

    /// Overwrites one field of the part that begins at `part`.
    built_image& patch(std::size_t part, field place, std::uint32_t value);
};

/// A whole image. Parts lie in the order: headers, contents, relocations, lines, symbols, strings.
struct coff_image {
    byte_order order = byte_order::little;
    std::uint16_t magic = 0x00C2;
    std::uint16_t target_id = 0x0099;  ///< 8-bit address units
    std::uint16_t flags = 0x1100;
    std::uint32_t timestamp = 0x12345678;
    std::optional<coff_optional_header> optional_header = {};
    std::vector<coff_section> sections = {};
    std::vector<coff_symbol> symbols = {};
    std::optional<std::uint16_t> nscns = {}, opthdr = {};
    std::optional<std::uint32_t> symptr = {}, nsyms = {};
    std::optional<std::uint32_t> string_table_length = {};  ///< the length word; the true one when not given
    bool string_table = true;                               ///< false: the image ends behind its symbols
    bool mixed = false;                                     ///< relocations of a section lie behind its contents
    /// Bytes before the image in its stream. The symbol table pointer stays absolute, all others are relative.
    std::size_t start = 0;

    [[nodiscard]] built_image build() const;
    /// Only the bytes of build().
    [[nodiscard]] bytes data() const { return build().data; }
    /// The symbol-table index of symbols[i], auxiliary entries counted.
    [[nodiscard]] std::uint32_t index_of(std::size_t i) const;
};

/// Bits per address unit that a target id stands for; 8 for an unknown one.
unsigned target_width(std::uint16_t target_id);

}  // namespace support

#endif

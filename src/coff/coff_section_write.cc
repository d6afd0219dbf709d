// Writing a section, in host byte order.
#include <cstring>

#include "coff/coff_file.h"
#include "coff/coff_section.h"
#include "msg/user_msg.h"

namespace {

constexpr std::uint8_t default_width = 8;

}  // namespace

/// The name back into the header: in place, or through the string table that is being built.
void COFF_SECTION::encode_name() {
    const std::size_t length = std::strlen(name());
    std::memset(header_.s_name, 0, sizeof header_.s_name);
    if (length <= sizeof header_.s_name)
        std::memcpy(header_.s_name, name(), length);
    else if (file_)
        set_name_offset(header_.s_name, file_->add_string(name()));
    else
        UMSG.die("COFF_SECTION::write_scn_hdr", "%s: the section belongs to no file", name());
}

/// Ends the run if the contents in memory, or the relocations, are not those that the header tells of.
void COFF_SECTION::require_writable() const {
    if (raw_data_ && !is_bss())
        require_all_contents();
    require_all_relocs();
}

void COFF_SECTION::require_all_contents() const {
    if (byte_size() > raw_size_)
        UMSG.die("COFF_SECTION::write_raw_data", "%s: %u bytes of contents, but a size of %llu bytes", name(),
                 raw_size_, static_cast<unsigned long long>(byte_size()));
}

void COFF_SECTION::require_all_relocs() const {
    std::uint32_t count = 0;
    for ([[maybe_unused]] const reloc* entry : items<reloc>(relocs()))
        ++count;
    if (count != header_.s_nreloc)
        UMSG.die("COFF_SECTION::write_relocs", "relocation entry count does not match section header (%d, %d)",
                 static_cast<std::int32_t>(count), static_cast<std::int32_t>(header_.s_nreloc));
}

void COFF_SECTION::write_scn_hdr(std::FILE* fp) {
    header_.s_mwidth = width_ == default_width ? std::uint8_t{0} : static_cast<std::uint8_t>(width_);
    if (is_debug_section())
        header_.s_mwidth = default_width;
    encode_name();
    std::fwrite(&header_, sizeof header_, 1, fp);
}

void COFF_SECTION::write_raw_data(std::FILE* fp) {
    read_raw_data();
    written_ = true;
    if (!raw_data_ || byte_size() == 0 || is_bss())
        return;
    const long position = std::ftell(fp);
    if (position != static_cast<long>(header_.s_scnptr))
        UMSG.die("COFF_SECTION::write_raw_data",
                 "%s:  raw data pointer in section (0x%08x) doesn't match actual file offset (0x%08x)", name(),
                 header_.s_scnptr, static_cast<unsigned>(position));
    require_all_contents();
    std::fwrite(raw_data_.get(), 1, size_in_bytes(), fp);
    raw_data_.reset();
    raw_size_ = cursor_ = 0;
}

void COFF_SECTION::write_relocs(std::FILE* fp) {
    require_all_relocs();
    for (const reloc* entry : items<reloc>(relocs()))
        std::fwrite(entry, sizeof *entry, 1, fp);
}

void COFF_SECTION::write_lnnos(std::FILE* fp) {
    read_lnnos();
    for (std::uint32_t k = 0; k < header_.s_nlnno; ++k)
        std::fwrite(&lnnos_[k].entry, sizeof(lineno), 1, fp);
}

// What a file that has been read tells about itself.
#include <cstring>

#include "coff/coff_file.h"
#include "format/special_names.h"

namespace {

/// A field of the optional header, or -1 without one.
template <typename VALUE> std::int32_t field_or_minus_1(bool present, VALUE value) {
    return present ? static_cast<std::int32_t>(value) : -1;
}

}  // namespace

// On purpose any size of optional header counts as presence: one that is not 28 bytes long reads as zeros.

std::int32_t COFF_FILE::ofh_magic() const {
    return field_or_minus_1(fh_opthdr() != 0, opt_hdr_.ofh_magic);
}

std::int32_t COFF_FILE::ofh_vstamp() const {
    return field_or_minus_1(fh_opthdr() != 0, opt_hdr_.ofh_vstamp);
}

std::int32_t COFF_FILE::ofh_tsize() const {
    return field_or_minus_1(fh_opthdr() != 0, opt_hdr_.ofh_tsize);
}

std::int32_t COFF_FILE::ofh_dsize() const {
    return field_or_minus_1(fh_opthdr() != 0, opt_hdr_.ofh_dsize);
}

std::int32_t COFF_FILE::ofh_bsize() const {
    return field_or_minus_1(fh_opthdr() != 0, opt_hdr_.ofh_bsize);
}

std::uint32_t COFF_FILE::ofh_entrypt() const {
    return fh_opthdr() != 0 ? opt_hdr_.ofh_entrypt : 0xFFFFFFFFU;
}

std::int32_t COFF_FILE::ofh_text_start() const {
    return field_or_minus_1(fh_opthdr() != 0, opt_hdr_.ofh_text_start);
}

std::int32_t COFF_FILE::ofh_data_start() const {
    return field_or_minus_1(fh_opthdr() != 0, opt_hdr_.ofh_data_start);
}

std::uint16_t COFF_FILE::fh_add_flags(std::uint16_t flags) {
    return file_hdr_.fh_flags = static_cast<std::uint16_t>(file_hdr_.fh_flags | flags);
}

std::uint16_t COFF_FILE::fh_del_flags(std::uint16_t flags) {
    return file_hdr_.fh_flags = static_cast<std::uint16_t>(file_hdr_.fh_flags & ~flags);
}

COFF_SECTION* COFF_FILE::get_section(std::int16_t number) const {
    if (number < 1 || static_cast<std::size_t>(number) > sections_.size())
        return nullptr;
    return sections_[static_cast<std::size_t>(number) - 1].get();
}

COFF_SECTION* COFF_FILE::get_section(const char* name) const {
    for (const auto& section : sections_) {
        if (section && std::strcmp(section->name(), name) == 0)
            return section.get();
    }
    return nullptr;
}

COFF_SECTION* COFF_FILE::find_icode_sect() const {
    return get_section(icode_section_name);
}

bool COFF_FILE::contains_dwarf_info() const {
    for (const auto& section : sections_) {
        if (section && section->is_debug_section())
            return true;
    }
    return false;
}

// Where the records of a file lie, and its names, without believing any number in it.
#include "tools/coffdump/raw_image.h"

#include <algorithm>

#include "format/limits.h"

namespace {

constexpr std::size_t most_of_title = 80;

}  // namespace

raw_image::raw_image(std::vector<unsigned char>& bytes) : bytes_(bytes) {
    header_ = get<filehdr>(0);
    swapped_ = header_.fh_magic != coff_version_2;
    header_ = get<filehdr>(0);
    strings_at_ = header_.fh_symptr + std::uint64_t{header_.fh_nsyms} * sizeof(syment);
    const std::uint64_t end = strings_at_ + strings_size().value_or(0);
    for (last_nul_ = end; last_nul_ > strings_at_ && bytes_[last_nul_ - 1] != '\0';)
        --last_nul_;
    last_nul_ -= last_nul_ > strings_at_;
}

void raw_image::set_header(const filehdr& header) {
    header_ = header;
    put(0, header);
}

std::uint64_t raw_image::section_at(std::uint32_t number) const {
    const std::uint64_t optional = header_.fh_opthdr == sizeof(opthdr) ? sizeof(opthdr) : 0;
    return sizeof(filehdr) + optional + (number - std::uint64_t{1}) * sizeof(scnhdr);
}

std::uint64_t raw_image::symbol_at(std::uint32_t index) const {
    return header_.fh_symptr + std::uint64_t{index} * sizeof(syment);
}

std::uint32_t raw_image::strings_length() const {
    std::uint32_t length = 0;
    if (holds(strings_at_, sizeof length))
        std::memcpy(&length, &bytes_[strings_at_], sizeof length);
    return swapped_ ? swapped(length) : length;
}

std::optional<std::uint32_t> raw_image::strings_size() const {
    const std::uint32_t length = strings_length();
    return length >= strtab_length_word && holds(strings_at_, length) ? std::optional(length) : std::nullopt;
}

std::optional<std::string_view> raw_image::string(std::uint32_t offset, std::size_t most) const {
    const std::optional<std::uint32_t> length = strings_size();
    if (!length || offset < strtab_length_word || offset >= *length || strings_at_ + offset > last_nul_)
        return std::nullopt;
    const auto* const text = reinterpret_cast<const char*>(&bytes_[strings_at_ + offset]);
    const std::uint64_t left = size() - strings_at_ - offset;  // mending may have taken the NUL
    return std::string_view(text, strnlen(text, std::min<std::uint64_t>(most, left)));
}

std::optional<std::string_view> raw_image::name(const char (&field)[8], std::uint64_t field_at,
                                                std::size_t most) const {
    if (!name_is_offset(field)) {
        const auto* const text = reinterpret_cast<const char*>(&bytes_[field_at]);
        return std::string_view(text, strnlen(text, std::min(most, sizeof field)));
    }
    return name_offset(field) == 0 ? "" : string(name_offset(field), most);
}

std::string raw_image::section_title(std::uint32_t number) const {
    const auto text = name(section(number).s_name, section_at(number), most_of_title);
    return "section " + std::to_string(number) + (text ? " (" + std::string(*text) + ")" : "");
}

std::string raw_image::symbol_title(std::uint32_t index) const {
    const auto text = holds(symbol_at(index), sizeof(syment))
                          ? name(symbol(index).n_name, symbol_at(index), most_of_title)
                          : std::nullopt;
    return "symbol " + std::to_string(index) + (text ? " (" + std::string(*text) + ")" : "");
}

std::string raw_image::section_name(std::uint32_t number) const {
    return std::string(name(section(number).s_name, section_at(number), max_name_length).value_or(""));
}

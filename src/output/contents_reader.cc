#include "output/contents_reader.h"

#include <algorithm>

#include "coff/coff_section.h"
#include "format/address_units.h"

namespace {

/// Small sections often lie side by side, and then one read serves several.
constexpr std::uint32_t least_read = 4096;

COFF_SECTION* input_of(const velm_scnhdr& section) {
    return coff_file.get_section(static_cast<std::int16_t>(section.coff_scnum));
}

}  // namespace

const unsigned char* contents_reader::read(const velm_scnhdr& section, std::uint32_t start, std::uint32_t size) {
    if (section.raw_data)
        return section.raw_data + start;
    const std::int64_t position = section.contents + start;
    if (position < begin_ || position + size > end_) {
        const std::int32_t length = AUtobyte(static_cast<std::int32_t>(section.size), section.wordsz);
        move_window(section, position, static_cast<std::uint32_t>(length) - start);
    }
    return bytes_ + (position - begin_);
}

/// To `position`, where the section's last `remaining` bytes begin.
void contents_reader::move_window(const velm_scnhdr& section, std::int64_t position, std::uint32_t remaining) {
    const std::int64_t in_file = coff_file.file_length() - position;
    const std::int64_t size =
        std::min<std::int64_t>({std::max(remaining, least_read), std::int64_t{sizeof bytes_}, in_file});
    begin_ = end_ = position;
    if (!coff_file.read_at(position, bytes_, static_cast<std::size_t>(size)))
        input_of(section)->end_on_unread_contents();
    end_ = position + size;
}

void load_contents() {
    for (velm_scnhdr& section : velm_file.sections) {
        if (section.contents >= 0)
            section.raw_data = input_of(section)->raw_data();
    }
}

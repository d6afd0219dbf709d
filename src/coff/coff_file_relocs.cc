// Reading relocations: those of all sections lie side by side, since there may be tens of thousands of small tables.
#include <algorithm>

#include "coff/coff_file.h"
#include "format/limits.h"
#include "msg/allocation.h"
#include "msg/user_msg.h"

namespace {

/// Sections up to this many bytes, contents and relocations, on an average, are read together.
constexpr std::int64_t small_section = input_window::width / 4;

}  // namespace

std::uint64_t COFF_FILE::most_relocation_bytes() const {
    return overlaps_refused_ ? static_cast<std::uint64_t>(file_length_) : proportionate_size(file_length_);
}

/// Checks the tables of all sections, and reads them or makes room for them. False after a message if the file does not
/// hold them. They may overlap, so a small file could ask for gigabytes: the sum has to be in proportion.
bool COFF_FILE::prepare_relocs() {
    std::uint64_t total = 0;
    for (const auto& section : sections_) {
        if (!section->relocs_in_file())
            return false;
        total += std::uint64_t{section->sh_nreloc()} * sizeof(reloc);
    }
    if (total > most_relocation_bytes()) {
        UMSG.message(USER_MSG::ERROR, "%s: %llu bytes of relocations in a file of %d bytes", label(),
                     static_cast<unsigned long long>(total), file_length_);
        return false;
    }
    mixed_part_ = {};
    const allocation_scope scope("ERROR: Unable to allocate storage for sect relocation table\n");
    if (read_mixed_part(total))
        return true;
    const auto count = static_cast<std::size_t>(total / sizeof(reloc));
    reloc_room_ = std::make_unique_for_overwrite<reloc[]>(count);
    free_reloc_room_ = {reloc_room_.get(), count};
    return true;
}

/// Where small sections have their `relocs_size` bytes of relocations between their contents, reading either brings the
/// other along: then all of it is read once. False if it was not.
bool COFF_FILE::read_mixed_part(std::uint64_t relocs_size) {
    const stream_part part = part_of_sections();
    const std::int64_t size = part.end - part.begin;
    const bool small = size > 0 && size < static_cast<std::int64_t>(sections_.size()) * small_section;
    if (!small || size > static_cast<std::int64_t>(relocs_size) * 4 ||
        !holds(part.begin, static_cast<std::size_t>(size)))
        return false;
    mixed_bytes_ = std::make_unique_for_overwrite<std::byte[]>(static_cast<std::size_t>(size));
    if (!read_at(part.begin, mixed_bytes_.get(), static_cast<std::size_t>(size)))
        return false;  // whoever reads the pieces says which one is missing
    mixed_part_ = part;
    relocs_untouched_ = true;
    return true;
}

/// The part of the stream in which all sections lie, each with its contents before its relocations, and from where on
/// these would be aligned in memory. Empty if a section lies otherwise.
COFF_FILE::stream_part COFF_FILE::part_of_sections() const {
    constexpr std::int64_t alignment = alignof(reloc);
    stream_part part;
    const auto extend = [&part](std::int64_t position, std::uint64_t size) {
        if (size == 0)
            return true;
        if (part.end == 0)
            part.begin = part.end = position;
        const bool behind = position >= part.end;
        part.end = position + static_cast<std::int64_t>(size);
        return behind;
    };
    std::int64_t some_relocs = -1;
    for (const auto& section : sections_) {
        const std::int64_t relocs = std::int64_t{file_start_} + section->sh_relptr();
        const std::uint64_t contents_size = section->has_contents() ? section->byte_size() : 0;
        if (!extend(std::int64_t{file_start_} + section->sh_scnptr(), contents_size) ||
            !extend(relocs, std::uint64_t{section->sh_nreloc()} * sizeof(reloc)))
            return {};
        if (section->sh_nreloc() == 0)
            continue;
        if (some_relocs >= 0 && (relocs - some_relocs) % alignment != 0)
            return {};
        some_relocs = relocs;
    }
    part.begin -= (part.begin - some_relocs) & (alignment - 1);
    return part;
}

reloc* COFF_FILE::read_relocs(std::int64_t position, std::uint32_t count, std::unique_ptr<reloc[]>& own) {
    if (relocs_untouched_)
        return reinterpret_cast<reloc*>(&mixed_bytes_[static_cast<std::size_t>(position - mixed_part_.begin)]);
    reloc* entries = free_reloc_room_.data();
    if (count <= free_reloc_room_.size()) {
        free_reloc_room_ = free_reloc_room_.subspan(count);
    } else {
        const allocation_scope scope("ERROR: Unable to allocate storage for sect relocation table\n");
        own = std::make_unique_for_overwrite<reloc[]>(count);
        entries = own.get();
    }
    return read_at(position, entries, count * sizeof(reloc)) ? entries : nullptr;
}

const unsigned char* COFF_FILE::contents_at(std::int64_t position, std::size_t size, std::size_t ahead) {
    if (position >= mixed_part_.begin && position + static_cast<std::int64_t>(size) <= mixed_part_.end)
        return reinterpret_cast<const unsigned char*>(
            &mixed_bytes_[static_cast<std::size_t>(position - mixed_part_.begin)]);
    return window_.view(position, size, ahead);
}

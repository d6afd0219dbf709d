// Reading a COFF file: opening, headers, and the order in which the rest is read.
#include "coff/coff_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "format/limits.h"
#include "msg/allocation.h"
#include "msg/patient_io.h"
#include "msg/user_msg.h"

COFF_FILE::COFF_FILE(bool any_target) : any_target_(any_target) {}

COFF_FILE::COFF_FILE(std::FILE* fp, bool any_target) : COFF_FILE(any_target) {
    fp_ = fp;
}

COFF_FILE::~COFF_FILE() {
    close_input();
}

void COFF_FILE::close_input() {
    if (own_fp_)
        std::fclose(fp_);
    fp_ = nullptr;
    own_fp_ = false;
}

COFF_FILE* COFF_FILE::coff_init(std::FILE* fp, bool any_target) {
    auto file = std::make_unique<COFF_FILE>(fp, any_target);
    return file->read_headers() ? file.release() : nullptr;
}

int COFF_FILE::read(const char* path, bool flag) {
    file_name_ = std::make_unique<std::string>(path);
    std::FILE* const fp = std::fopen(path, "rb");
    if (!fp) {
        UMSG.message(USER_MSG::ERROR, "Cannot open input file '%s': %s", path, std::strerror(errno));
        return -1;
    }
    close_input();
    fp_ = fp;
    own_fp_ = true;
    return read(fp, flag);
}

int COFF_FILE::read(std::FILE* fp, bool) {
    if (!set_file_length(fp))
        return -1;
    if (fp != fp_)
        close_input();
    fp_ = fp;
    if (!read_headers()) {
        UMSG.message(USER_MSG::ERROR, "Failed to read file and/or section headers");
        return -1;
    }
    symtab_.read(this);
    if (!prepare_relocs())
        return -1;
    bool complete = true;
    for (const auto& section : sections_) {
        complete = section->read_scn();
        if (!complete)
            break;
        section->set_scnum(next_scnum_++);
    }
    free_reloc_room_ = {};
    relocs_untouched_ = false;
    return complete ? 0 : -1;
}

bool COFF_FILE::set_file_length(std::FILE* fp) {
    if (!fp)
        UMSG.die("COFF_FILE::set_file_length", "missing input file");
    failed_ = true;
    const long position = std::ftell(fp);
    const long length = position < 0 || std::fseek(fp, 0, SEEK_END) != 0 ? -1 : std::ftell(fp);
    // Opening and measuring a directory succeeds; the first read does not.
    char first;
    const bool sought = length >= 0 && std::fseek(fp, 0, SEEK_SET) == 0;
    if (sought && read_bytes(&first, 1, fp) == 0 && std::ferror(fp)) {
        UMSG.message(USER_MSG::ERROR, "%s: cannot be read: %s", label(), std::strerror(errno));
        return false;
    }
    if (!sought || std::fseek(fp, position, SEEK_SET) != 0) {
        UMSG.message(USER_MSG::ERROR, "%s: cannot be read in any order: %s", label(), std::strerror(errno));
        return false;
    }
    failed_ = false;
    if (length > max_coff_file_size) {
        UMSG.message(USER_MSG::ERROR, "%s: too long: a file may have %d bytes", label(), max_coff_file_size);
        return false;
    }
    file_length_ = static_cast<std::int32_t>(length);
    window_.open(fp, length);
    return true;
}

bool COFF_FILE::holds(std::int64_t position, std::uint64_t size) const {
    return position >= 0 && position <= file_length_ && size <= static_cast<std::uint64_t>(file_length_ - position);
}

bool COFF_FILE::read_at(std::int64_t position, void* buffer, std::size_t size) {
    return window_.read(position, buffer, size);
}

bool COFF_FILE::read_next(void* buffer, std::size_t size) {
    const std::size_t got = read_bytes(buffer, size, fp_);
    if (got == size)
        return true;
    failed_ = failed_ || holds(std::ftell(fp_) - static_cast<long>(got), size);
    return false;
}

bool COFF_FILE::read_headers() {
    if (!fp_)
        UMSG.die("COFF_FILE::read_headers", "missing input file");
    if (file_length_ < 0 && !set_file_length(fp_))
        return false;
    symtab_.make_symbols();  // of a file that was read before, while its sections are there
    file_start_ = static_cast<std::int32_t>(std::ftell(fp_));
    if (!read_file_hdr())
        return false;
    // A count that the file does not hold is told by the first header that is missing.
    if (file_hdr_.fh_nscns > max_sections &&
        holds(std::ftell(fp_), sizeof(scnhdr) * std::uint64_t{file_hdr_.fh_nscns})) {
        UMSG.message(USER_MSG::ERROR, "%s: %u sections: a file may have %u", label(), file_hdr_.fh_nscns, max_sections);
        return false;
    }
    return read_section_hdrs();
}

bool COFF_FILE::read_file_hdr() {
    if (!fp_)
        UMSG.die("COFF_FILE::read_file_hdr", "missing input file");
    if (std::fseek(fp_, file_start_, SEEK_SET) != 0)
        failed_ = true;
    if (failed_ || !read_next(&file_hdr_, sizeof file_hdr_))
        return false;
    byte_swapped_ = file_hdr_.fh_magic == swapped(coff_version_2);
    if (!byte_swapped_ && file_hdr_.fh_magic != coff_version_2)
        end_fatally("this application only supports COFF version 2");
    if (byte_swapped_)
        swap_record(file_hdr_);
    if (!any_target_ && file_hdr_.fh_target_id != 0) {
        // The question marks are part of the message.
        end_fatally("%s is not a valid ??? COFF file", label());
    }
    big_endian_ = (file_hdr_.fh_flags & f_big) != 0;
    strtab_position_ = std::int64_t{file_start_} + file_hdr_.fh_symptr +
                       std::int64_t{file_hdr_.fh_nsyms} * std::int64_t{sizeof(syment)};
    opt_hdr_ = opthdr{};
    // On purpose a header of any other size is neither read nor skipped.
    if (file_hdr_.fh_opthdr == sizeof opt_hdr_) {
        unsigned char bytes[sizeof opt_hdr_] = {};  // what a short file does not hold stays zero
        if (!read_next(bytes, sizeof bytes) && failed_)
            return false;
        std::memcpy(&opt_hdr_, bytes, sizeof opt_hdr_);
        if (byte_swapped_)
            swap_record(opt_hdr_);
    }
    return true;
}

void COFF_FILE::section_deleter::operator()(COFF_SECTION* section) const {
    if (section->in_room_)
        section->~COFF_SECTION();
    else
        delete section;
}

/// Makes a section of a header as it lies in the file, at `place` if there is one.
COFF_FILE::owned_section COFF_FILE::new_section(scnhdr header, void* place) {
    if (byte_swapped_)
        swap_record(header);
    owned_section section(place ? new (place) COFF_SECTION(this) : new COFF_SECTION(this));
    section->in_room_ = place != nullptr;
    section->owned_ = true;
    section->init_section(&header);
    return section;
}

/// All headers, from the current position of the stream.
bool COFF_FILE::read_section_hdrs() {
    sections_.clear();
    const std::int64_t position = std::ftell(fp_);
    const std::size_t count = file_hdr_.fh_nscns;
    if (count == 0)
        return true;
    if (!holds(position, sizeof(scnhdr)))
        return false;
    const std::size_t there = static_cast<std::size_t>(file_length_ - position) / sizeof(scnhdr);
    sections_.reserve(count);
    section_room_ = std::make_unique_for_overwrite<std::byte[]>(std::min(count, there) * sizeof(COFF_SECTION));
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t ahead = (count - k) * sizeof(scnhdr);
        const std::int64_t place = position + static_cast<std::int64_t>(k * sizeof(scnhdr));
        const unsigned char* const bytes = window_.view(place, sizeof(scnhdr), ahead);
        if (!bytes)
            return false;
        scnhdr header;
        std::memcpy(&header, bytes, sizeof header);
        sections_.push_back(new_section(header, &section_room_[k * sizeof(COFF_SECTION)]));
    }
    std::fseek(fp_, static_cast<long>(position + static_cast<std::int64_t>(count * sizeof(scnhdr))), SEEK_SET);
    return true;
}

bool COFF_FILE::read_section_hdr(int index) {
    if (!fp_)
        UMSG.die("COFF_FILE::read_section_hdr", "missing input file");
    scnhdr header;
    if (!read_next(&header, sizeof header))
        return false;
    if (index < 0 || index >= file_hdr_.fh_nscns)
        UMSG.die("COFF_FILE::read_section_hdr", "there is no section header %d", index);
    while (sections_.size() <= static_cast<std::size_t>(index))
        sections_.push_back(new_section(scnhdr{}, nullptr));
    sections_[static_cast<std::size_t>(index)] = new_section(header, nullptr);
    return true;
}

std::uint16_t COFF_FILE::swap2(std::uint16_t* value) {
    return *value = swapped(*value);
}

std::uint32_t COFF_FILE::swap4(std::uint32_t* value) {
    return *value = swapped(*value);
}

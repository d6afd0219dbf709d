// Reading a section, its accessors and its contents in memory.
#include "coff/coff_section.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <vector>

#include "coff/coff_file.h"
#include "coff/listing_text.h"
#include "coff/target_width.h"
#include "format/special_names.h"
#include "msg/allocation.h"
#include "msg/patient_io.h"
#include "msg/user_msg.h"

namespace {

constexpr std::uint64_t largest_size = std::numeric_limits<std::int32_t>::max();

}  // namespace

COFF_SECTION::COFF_SECTION() = default;

COFF_SECTION::COFF_SECTION(COFF_FILE* file) : COFF_SECTION() {
    file_ = file;
    width_ = get_trg_mem_width(file->fh_target_id());
}

COFF_SECTION::~COFF_SECTION() = default;

void COFF_SECTION::init_section(const scnhdr* header) {
    move_lnnos(header->s_lnnoptr);
    header_ = *header;
    if (header_.s_mwidth)
        width_ = header_.s_mwidth;
    if (name_is_offset(header_.s_name) && file_) {
        // A view, not a copy: many headers may share one very long string.
        name_ = file_->long_name(name_offset(header_.s_name));
        return;
    }
    std::memcpy(short_name_, header_.s_name, sizeof header_.s_name);
    short_name_[sizeof header_.s_name] = '\0';
    name_ = short_name_;
}

bool COFF_SECTION::read_scn() {
    if (!file_ || !file_->stream())
        UMSG.die("COFF_SECTION::read_scn", "missing input file");
    raw_data_.reset();
    raw_size_ = cursor_ = 0;
    lnnos_.reset();
    if (!relocs_in_file())
        return false;
    const std::uint32_t count = header_.s_nreloc;
    clear_relocs();
    decode_relocs(count);
    return true;
}

bool COFF_SECTION::relocs_in_file() const {
    const std::uint64_t size = std::uint64_t{header_.s_nreloc} * sizeof(reloc);
    if (size == 0 || (file_ && file_->holds(std::int64_t{file_->image_start()} + header_.s_relptr, size)))
        return true;
    UMSG.message(USER_MSG::ERROR, "%s: %u relocations of section %s at offset %u run past the end of the file",
                 file_ ? file_->label() : "no file", header_.s_nreloc, name(), header_.s_relptr);
    return false;
}

/// Takes the relocations from the file as they lie there, side by side.
void COFF_SECTION::decode_relocs(std::uint32_t count) {
    if (count == 0)
        return;
    reloc* const entries =
        file_->read_relocs(std::int64_t{file_->image_start()} + header_.s_relptr, count, own_relocs_);
    if (!entries)
        end_fatally("%s: cannot read the relocations of section %s", file_->label(), name());
    if (file_->byte_swapped()) {
        for (std::uint32_t k = 0; k < count; ++k)
            swap_record(entries[k]);
    }
    read_relocs_ = {entries, count};
    header_.s_nreloc = count;
}

bool COFF_SECTION::has_contents() const {
    return raw_data_ || (header_.s_scnptr != 0 && byte_size() != 0 && !is_bss());
}

bool COFF_SECTION::contents_in_file() const {
    if (raw_data_ || !has_contents())
        return true;
    return file_ && file_->stream() && byte_size() <= largest_size &&
           file_->holds(std::int64_t{file_->image_start()} + header_.s_scnptr, byte_size());
}

std::int64_t COFF_SECTION::contents_position() const {
    if (!file_ || !file_->stream())
        UMSG.die("COFF_SECTION::read_raw_data", "missing input file");
    if (!contents_in_file()) {
        end_fatally("%s: %llu bytes of section %s at offset %u run past the end of the file", file_->label(),
                    static_cast<unsigned long long>(byte_size()), name(), header_.s_scnptr);
    }
    return std::int64_t{file_->image_start()} + header_.s_scnptr;
}

void COFF_SECTION::end_on_unread_contents() const {
    end_fatally("%s: cannot read the contents of section %s", file_->label(), name());
}

bool COFF_SECTION::lists_contents() const {
    return has_contents() && !written_ && !contents_unlisted_ && contents_in_file();
}

void COFF_SECTION::visit_contents(const std::function<void(std::uint32_t, std::span<const unsigned char>)>& visit) {
    if (raw_data_)
        return visit(0, {raw_data_.get(), raw_size_});
    const std::int64_t position = contents_position();
    const std::uint32_t size = size_in_bytes();
    std::vector<unsigned char> piece(std::min(size, std::uint32_t{1} << 16));
    for (std::uint32_t place = 0; place < size; place += static_cast<std::uint32_t>(piece.size())) {
        piece.resize(std::min<std::size_t>(piece.size(), size - place));
        if (!file_->read_at(position + place, piece.data(), piece.size()))
            end_on_unread_contents();
        visit(place, piece);
    }
}

void COFF_SECTION::read_raw_data() {
    if (written_)
        UMSG.die("COFF_SECTION::read_raw_data", "Cannot read or modify raw data once it is written to a file");
    if (raw_data_ || !has_contents())
        return;
    const std::int64_t position = contents_position();
    const std::uint32_t size = size_in_bytes();
    std::unique_ptr<unsigned char[]> contents(new unsigned char[size]);
    if (!file_->read_at(position, contents.get(), size))
        end_on_unread_contents();
    raw_data_ = std::move(contents);
    raw_size_ = size;
    cursor_ = 0;
}

unsigned char* COFF_SECTION::raw_data() {
    read_raw_data();
    return raw_data_.get();
}

void COFF_SECTION::alloc_raw_data(std::uint32_t size) {
    const std::uint32_t bytes_per_unit = width_ >> 3U;
    if (bytes_per_unit == 0 || size > largest_size)
        UMSG.die("COFF_SECTION::alloc_raw_data", "%s: cannot hold %s in units of %s", name(),
                 counted(size, "byte").c_str(), counted(width_, "bit").c_str());
    lnnos_.reset();
    clear_relocs();
    raw_data_ = std::make_unique<unsigned char[]>(size);
    raw_size_ = size;
    cursor_ = 0;
    header_.s_size = size / bytes_per_unit;
    header_.s_nreloc = header_.s_nlnno = 0;
}

void COFF_SECTION::read_data_image(const char* path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> image(std::fopen(path, "rb"), std::fclose);
    if (!image) {
        UMSG.message(USER_MSG::ERROR, "Cannot open input file '%s': %s", path, std::strerror(errno));
        return;
    }
    std::fseek(image.get(), 0, SEEK_END);
    const long length = std::ftell(image.get());
    std::rewind(image.get());
    if (length < 0 || static_cast<std::uint64_t>(length) > largest_size) {
        UMSG.message(USER_MSG::ERROR, "Cannot take input file '%s': its size is not known or above %u bytes", path,
                     static_cast<unsigned>(largest_size));
        return;
    }
    set_mwidth(8);
    add_flag(s_copy);
    alloc_raw_data(static_cast<std::uint32_t>(length));
    if (read_bytes(raw_data_.get(), raw_size_, image.get()) != raw_size_)
        UMSG.message(USER_MSG::ERROR, "Cannot read input file '%s'", path);
}

bool COFF_SECTION::is_big_e() const {
    return file_ && file_->is_big_e();
}

bool COFF_SECTION::is_debug_section() const {
    return std::strncmp(name(), debug_section_prefix, std::strlen(debug_section_prefix)) == 0;
}

void COFF_SECTION::set_cfile(COFF_FILE* file) {
    if (file_ && file_ != file)
        leave_file();
    file_ = file;
}

/// Takes along what still lies in the file, which may end before the section does. Its symbol stays.
void COFF_SECTION::leave_file() {
    if (file_->stream() && !written_) {
        read_raw_data();
        read_lnnos();
    }
    if (name_ != short_name_ && name_ != own_name_.get())
        set_name(name_);
    symndx_ = 0;
}

void COFF_SECTION::set_name(const char* name) {
    const std::size_t size = std::strlen(name) + 1;
    auto copy = std::make_unique_for_overwrite<char[]>(size);
    std::memcpy(copy.get(), name, size);
    own_name_ = std::move(copy);  // now: `name` may be the one it had
    name_ = own_name_.get();
}

std::uint32_t COFF_SECTION::symndx() {
    if (symndx_)
        return symndx_;
    if (!file_)
        UMSG.die("COFF_SECTION::symndx", "%s: the section belongs to no file", name());
    COFF_SYMBOL_TABLE* const table = file_->symbol_table();
    for (const COFF_SYMBOL* symbol : items<COFF_SYMBOL>(table->symbols())) {
        if (symbol->is_section_sym() && static_cast<std::uint16_t>(symbol->scnum()) == scnum_ &&
            static_cast<std::uint32_t>(symbol->value()) == header_.s_vaddr)
            return symndx_ = symbol->coff_index();
    }
    return symndx_ = table->add_section_symbol(this);
}

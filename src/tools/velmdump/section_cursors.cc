// Both cursors step over packets that have nothing for them.
#include "tools/velmdump/section_cursors.h"

#include <cstring>
#include <iterator>

#include "coff/listing_text.h"
#include "format/reloc_types.h"

content_cursor::content_cursor(const velm_module& module, const section_place& section)
    : module_(module), packet_(module.packets(section).begin()) {
    settle();
}

void content_cursor::skip(std::size_t count) {
    bytes_.remove_prefix(count);
    if (bytes_.empty()) {
        ++packet_;
        settle();
    }
}

void content_cursor::settle() {
    while (packet_ != std::default_sentinel && packet_->header.data_size == 0)
        ++packet_;
    if (packet_ != std::default_sentinel)
        bytes_ = {reinterpret_cast<const char*>(&module_.raw.bytes[packet_->data()]), packet_->header.data_size};
}

reloc_cursor::reloc_cursor(brief_names& names, const section_place& section, const std::vector<std::uint32_t>& numbers)
    : names_(names), section_(section), numbers_(numbers), packet_(names.module().packets(section).begin()) {
    settle();
}

std::int64_t reloc_cursor::place() const {
    return section_.place(record_, start_);
}

void reloc_cursor::next() {
    ++index_;
    settle();
}

bool reloc_cursor::same_as(const reloc_cursor& other) const {
    return place() == other.place() && record_.r_type == other.record_.r_type &&
           record_.r_disp == other.record_.r_disp && word() == other.word();
}

std::string reloc_cursor::words() const {
    const std::string more = reloc_operand_words(names_, record_, index_words::without);
    return reloc_type_words(record_.r_type).append(more.empty() ? "" : ", ").append(more);
}

bool reloc_cursor::refers() const {
    return is_sym_reloc(record_.r_type, record_.r_symndx);
}

/// What the symbol word means: a symbol of either module, or the word itself.
std::uint32_t reloc_cursor::word() const {
    if (refers() && record_.r_symndx < numbers_.size())
        return numbers_[record_.r_symndx];
    std::uint32_t word = 0;
    std::memcpy(&word, &record_.r_symndx, sizeof word);
    return word;
}

void reloc_cursor::settle() {
    while (packet_ != std::default_sentinel && index_ == packet_->header.nreloc) {
        start_ += packet_->header.data_size;
        ++packet_;
        index_ = 0;
    }
    if (packet_ != std::default_sentinel)
        record_ = names_.module().reloc(*packet_, index_);
}

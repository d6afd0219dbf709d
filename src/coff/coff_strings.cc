// The string table of a COFF file: loaded from the input when a name first needs it, and built anew for writing.
#include <algorithm>
#include <cstring>
#include <functional>

#include "coff/coff_file.h"
#include "msg/user_msg.h"

namespace {

constexpr std::uint32_t first_capacity = 132;
constexpr std::uint32_t growth = 128;

/// Bytes of a string table whose strings' ends are looked for at once.
constexpr std::size_t stretch = 4096;

}  // namespace

const char* COFF_FILE::string(std::uint32_t offset) {
    if (!strtab_)
        load_strtab();
    if (!holds_string(offset))
        end_fatally("%s: no string at offset %u of the string table (%u bytes)", label(), offset, strtab_size_);
    return strtab_ + offset;
}

/// A name may begin in the middle of another one, but not in the length word, and it has to end.
bool COFF_FILE::holds_string(std::uint32_t offset) const {
    return offset >= strtab_length_word && offset <= strtab_last_nul_ && strtab_size_ > strtab_length_word;
}

std::string_view COFF_FILE::text_of(const char* name) const {
    const std::size_t length = strnlen(name, stretch);
    const std::string_view table = strtab_bytes();
    if (length < stretch || table.empty() || std::less<>()(name, table.data()) ||
        !std::less<>()(name, table.data() + table.size()))
        return {name, length < stretch ? length : std::strlen(name)};
    if (ends_noted_.data() != table.data() || ends_noted_.size() != table.size())
        note_string_ends();
    const auto begin = static_cast<std::size_t>(name - table.data());
    return {name, string_ends_[begin / stretch + 1] - begin};  // it goes on behind the stretch that it begins in
}

void COFF_FILE::note_string_ends() const {
    ends_noted_ = strtab_bytes();
    string_ends_.assign(ends_noted_.size() / stretch + 2, strtab_size_);
    for (std::size_t k = string_ends_.size() - 2; k > 0; --k) {
        const std::size_t nul = ends_noted_.substr(k * stretch, stretch).find('\0');
        string_ends_[k] =
            nul == std::string_view::npos ? string_ends_[k + 1] : static_cast<std::uint32_t>(k * stretch + nul);
    }
}

void COFF_FILE::load_strtab() {
    if (!fp_)
        UMSG.die("COFF_FILE::string", "missing input file");
    std::uint32_t length = 0;
    if (const char* const fault = strtab_fault(length))
        end_on_bad_strings(fault);
    read_strtab(length);
}

bool COFF_FILE::try_load_strings() {
    std::uint32_t length = 0;
    if (strtab_)
        return true;
    if (!fp_ || strtab_fault(length))
        return false;
    read_strtab(length);
    return true;
}

/// What is wrong with the input's string table, null if nothing is; its length then.
const char* COFF_FILE::strtab_fault(std::uint32_t& length) {
    if (!holds(strtab_position_, strtab_length_word))
        return "the file ends before its string table";
    if (!read_at(strtab_position_, &length, strtab_length_word))
        return "cannot read the string table";
    if (byte_swapped_)
        swap4(&length);
    if (length < strtab_length_word)
        return "the length of the string table is below 4";
    if (!holds(strtab_position_, length))
        return "the string table runs past the end of the file";
    return nullptr;
}

/// A symbol table that is cut short has its own message, whichever name asked for the strings behind it.
void COFF_FILE::end_on_bad_strings(const char* fault) {
    COFF_SYMBOL_TABLE::require_whole_table(this);
    end_fatally("%s: %s", label(), fault);
}

void COFF_FILE::read_strtab(std::uint32_t length) {
    auto table = std::make_unique_for_overwrite<char[]>(length);
    std::memset(table.get(), 0, strtab_length_word);
    if (!read_at(strtab_position_ + strtab_length_word, table.get() + strtab_length_word, length - strtab_length_word))
        end_on_bad_strings("cannot read the string table");
    // A string ends inside the table if and only if it begins at or before the last NUL.
    strtab_last_nul_ = length - 1;
    while (strtab_last_nul_ >= strtab_length_word && table[strtab_last_nul_] != '\0')
        --strtab_last_nul_;
    strtab_ = table.get();
    input_strtabs_.push_back(std::move(table));
    strtab_size_ = strtab_capacity_ = length;
}

/// Begins anew. Names of sections and symbols that were read point into the input's table, so that one stays.
void COFF_FILE::retire_strtab() {
    symtab_.make_symbols();  // whose names lie in it
    strtab_ = nullptr;
    new_strtab_.clear();
    strtab_size_ = strtab_capacity_ = strtab_last_nul_ = 0;
    string_hash_.clear();
}

std::uint32_t COFF_FILE::add_string(const char* text) {
    symtab_.make_symbols();  // whose names lie in the table that was read
    if (!strtab_) {
        new_strtab_.assign(strtab_length_word, '\0');
        strtab_capacity_ = first_capacity;
        strtab_size_ = strtab_length_word;
    }
    if (const auto known = string_hash_.find(text); known != string_hash_.end())
        return known->second;
    const std::size_t size = std::strlen(text) + 1;
    if (size > std::uint32_t{INT32_MAX} - strtab_size_)
        UMSG.die("COFF_FILE::add_string", "the string table would be longer than %d bytes", INT32_MAX);
    while (strtab_size_ + size > strtab_capacity_)
        strtab_capacity_ += growth;
    if (new_strtab_.empty())  // names point into the input's table: leave it where it is and go on in a copy
        new_strtab_.assign(strtab_, strtab_ + strtab_size_);
    const auto added = string_hash_.emplace(text, strtab_size_).first;
    const char* const copy = added->first.c_str();  // `text` may lie in the buffer that grows
    new_strtab_.insert(new_strtab_.end(), copy, copy + size);
    strtab_ = new_strtab_.data();
    strtab_size_ += static_cast<std::uint32_t>(size);
    strtab_last_nul_ = strtab_size_ - 1;
    return added->second;
}

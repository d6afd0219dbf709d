// The byte stream over the contents of a section: each operation makes sure that what it takes or puts lies inside, then
// leaves the rest to the plain-byte form.
#include <algorithm>
#include <cstring>

#include "coff/coff_section.h"
#include "msg/user_msg.h"

/// Where eos(), read() and write() see the end, bytes. On purpose the size in address units.
std::uint32_t COFF_SECTION::stream_end() const {
    return std::min(header_.s_size, raw_size_);
}

/// The next `size` bytes of the contents.
unsigned char* COFF_SECTION::room(const char* where, std::uint32_t size) {
    read_raw_data();
    if (size > raw_size_ - cursor_)
        UMSG.die(where, "%s: %u bytes at %u run past the end of the contents (%u bytes)", name(), size, cursor_,
                 raw_size_);
    return raw_data_.get() + cursor_;
}

/// The LEB128 number at the cursor, its last byte inside the contents.
unsigned char* COFF_SECTION::encoded_number(const char* where) {
    read_raw_data();
    std::uint32_t size = 1;
    while (size <= raw_size_ - cursor_ && (raw_data_[cursor_ + size - 1] & 0x80U) != 0)
        ++size;
    return room(where, size);
}

void COFF_SECTION::advance_to(const unsigned char* place) {
    cursor_ = static_cast<std::uint32_t>(place - raw_data_.get());
}

void COFF_SECTION::seek(std::uint32_t position) {
    read_raw_data();
    if (position > raw_size_)
        UMSG.die("COFF_SECTION::seek", "%s: position %u is past the end of the contents (%u bytes)", name(), position,
                 raw_size_);
    cursor_ = position;
}

std::uint32_t COFF_SECTION::tell() {
    read_raw_data();
    return cursor_;
}

bool COFF_SECTION::eos() {
    read_raw_data();
    return cursor_ >= stream_end();
}

std::uint32_t COFF_SECTION::read(unsigned char* buffer, std::uint32_t size) {
    const std::uint32_t count = eos() ? 0 : std::min(size, stream_end() - cursor_);
    if (count == 0)
        return 0;
    std::memcpy(buffer, raw_data_.get() + cursor_, count);
    cursor_ += count;
    return count;
}

std::uint32_t COFF_SECTION::write(const unsigned char* buffer, std::uint32_t size) {
    const std::uint32_t count = eos() ? 0 : std::min(size, stream_end() - cursor_);
    if (count == 0)
        return 0;
    std::memcpy(raw_data_.get() + cursor_, buffer, count);
    cursor_ += count;
    return count;
}

std::uint32_t COFF_SECTION::ULEB128_read() {
    std::uint32_t value = 0;
    advance_to(ULEB128_read(encoded_number("COFF_SECTION::ULEB128_read"), &value));
    return value;
}

std::int32_t COFF_SECTION::SLEB128_read() {
    std::int32_t value = 0;
    advance_to(SLEB128_read(encoded_number("COFF_SECTION::SLEB128_read"), &value));
    return value;
}

std::uint32_t COFF_SECTION::UINT32_read() {
    std::uint32_t value = 0;
    advance_to(UINT32_read(room("COFF_SECTION::UINT32_read", 4), &value, is_big_e()));
    return value;
}

std::uint16_t COFF_SECTION::UINT16_read() {
    std::uint16_t value = 0;
    advance_to(UINT16_read(room("COFF_SECTION::UINT16_read", 2), &value, is_big_e()));
    return value;
}

std::uint8_t COFF_SECTION::UINT8_read() {
    std::uint8_t value = 0;
    advance_to(UINT8_read(room("COFF_SECTION::UINT8_read", 1), &value));
    return value;
}

char* COFF_SECTION::string_read() {
    read_raw_data();
    const void* const nul =
        cursor_ < raw_size_ ? std::memchr(raw_data_.get() + cursor_, 0, raw_size_ - cursor_) : nullptr;
    if (!nul)
        UMSG.die("COFF_SECTION::string_read", "%s: the string at %u does not end inside the contents (%u bytes)",
                 name(), cursor_, raw_size_);
    char* const text = reinterpret_cast<char*>(raw_data_.get() + cursor_);
    advance_to(static_cast<const unsigned char*>(nul) + 1);
    return text;
}

void COFF_SECTION::ULEB128_write(std::uint32_t value) {
    advance_to(ULEB128_write(room("COFF_SECTION::ULEB128_write", ULEB128_size(value)), value));
}

void COFF_SECTION::SLEB128_write(std::int32_t value) {
    advance_to(SLEB128_write(room("COFF_SECTION::SLEB128_write", SLEB128_size(value)), value));
}

void COFF_SECTION::UINT32_write(std::uint32_t value) {
    advance_to(UINT32_write(room("COFF_SECTION::UINT32_write", 4), value, is_big_e()));
}

void COFF_SECTION::UINT16_write(std::uint16_t value) {
    advance_to(UINT16_write(room("COFF_SECTION::UINT16_write", 2), value, is_big_e()));
}

void COFF_SECTION::UINT8_write(std::uint8_t value) {
    advance_to(UINT8_write(room("COFF_SECTION::UINT8_write", 1), value));
}

void COFF_SECTION::string_write(const char* text) {
    read_raw_data();
    const std::size_t size = std::strlen(text) + 1;
    if (size > raw_size_ - cursor_)
        UMSG.die("COFF_SECTION::string_write",
                 "%s: a string of %zu bytes at %u runs past the end of the contents "
                 "(%u bytes)",
                 name(), size, cursor_, raw_size_);
    advance_to(string_write(raw_data_.get() + cursor_, text));
}

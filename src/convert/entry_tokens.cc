// Finds tokens without looking at each character alone, and reads on where a block ends.
#include "convert/entry_tokens.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "format/limits.h"
#include "msg/error_exit.h"
#include "msg/patient_io.h"

namespace {

bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The first character from `at` on that does not lie above the blank, or `end`.
const char* skip_above_blank(const char* at, const char* end) {
    for (; end - at >= 8; at += 8) {
        std::uint64_t word;
        std::memcpy(&word, at, sizeof word);
        // Subtracting '!' borrows from the highest bit of a byte below it. Bytes of 0x80 and above have that bit themselves.
        const std::uint64_t others = (word - 0x2121212121212121U) & ~word & 0x8080808080808080U;
        if (others == 0)
            continue;
        if constexpr (std::endian::native == std::endian::little)
            return at + std::countr_zero(others) / 8;  // a borrow misleads about later characters only
        break;
    }
    while (at != end && static_cast<unsigned char>(*at) > ' ')
        ++at;
    return at;
}

/// The first blank from `at` on, or `end`.
const char* find_blank(const char* at, const char* end) {
    while (at != end && !is_blank(*at))
        at = skip_above_blank(at + 1, end);
    return at;
}

}  // namespace

entry_tokens::entry_tokens(std::FILE* stream, const char* file_name, entry_texts& texts)
    : stream_(stream), file_name_(file_name), texts_(texts) {}

/// Goes on in a block that begins with what is left of this one from `from` on, at most a token. A block of which nothing
/// is kept is used again: a file of comments or repetitions takes no memory. False at the end of the file.
bool entry_tokens::refill(const char* from) {
    if (at_eof_)
        return false;
    if (kept_) {
        block_size_ = block_size_ == 0 ? first_block : later_block;
        texts_.push_back(std::make_unique_for_overwrite<char[]>(block_size_));
        kept_ = false;
    }
    char* const block = texts_.back().get();
    const auto left = static_cast<std::size_t>(end_ - from);
    if (left != 0)
        std::memmove(block, from, left);
    const std::size_t count = read_bytes(block + left, block_size_ - left, stream_);
    at_ = block;
    end_ = block + left + count;
    at_eof_ = count < block_size_ - left;
    return true;
}

/// False at the end of the file.
bool entry_tokens::skip_blanks() {
    for (;;) {
        for (; at_ != end_ && is_blank(*at_); ++at_)
            line_ += *at_ == '\n';
        if (at_ != end_)
            return true;
        if (!refill(end_))
            return false;
    }
}

void entry_tokens::skip_comment() {
    for (;;) {
        at_ = std::find(at_, end_, '\n');
        if (at_ != end_ || !refill(end_))
            return;
    }
}

std::optional<std::string_view> entry_tokens::next() {
    while (skip_blanks()) {
        if (*at_ == '#') {
            skip_comment();
            continue;
        }
        const char* const above = skip_above_blank(at_, end_);
        const char* const end = find_blank(above, end_);
        const auto length = static_cast<std::size_t>(end - at_);
        if (length > max_entry_length)
            error_exit("ERROR: %s:%lu: an entry has more than 255 characters\n", file_name_, line_);
        if (end == end_ && refill(at_))
            continue;  // it may go on
        const char* const token = std::exchange(at_, end);
        return std::string_view(token, end == above ? length : strnlen(token, length));
    }
    return std::nullopt;
}

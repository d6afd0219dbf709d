// Line breaks and commas by the levels that are open; text waits until a piece worth writing has come together.
#include "tools/common/json_writer.h"

#include <algorithm>
#include <charconv>

#include "tools/common/text_forms.h"

namespace {

constexpr std::size_t flush_size = 1U << 16;

/// What keeps a text from standing between quotes as it is.
enum class escapes { none, backslashes, more };

escapes escapes_of(std::string_view text) {
    bool marks = false;  // both without a branch: texts come by the gigabyte
    bool more = false;
    for (const char c : text) {
        marks |= c == '"' || c == '\\';
        more |= c < ' ' || c > '~';
    }
    return more ? escapes::more : marks ? escapes::backslashes : escapes::none;
}

/// A character, or as many bytes as begin like one and are none.
struct character {
    std::size_t size;
    std::uint32_t code;  ///< `stray` for none
};
constexpr std::uint32_t stray = 0xFFFD;

character first_character(std::string_view text) {
    const auto byte = [text](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned lead = byte(0);
    if (lead < 0x80)
        return {1, lead};
    if (lead < 0xC2 || lead > 0xF4)
        return {1, stray};
    const std::size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // What could be written shorter, surrogates and what lies behind the last character are none.
    unsigned least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    unsigned greatest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    std::uint32_t code = lead & (0xFFU >> (size + 1));
    for (std::size_t k = 1; k < size; ++k) {
        if (k == text.size() || byte(k) < least || byte(k) > greatest)
            return {k, stray};
        code = code << 6 | (byte(k) & 0x3FU);
        least = 0x80, greatest = 0xBF;
    }
    return {size, code};
}

bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        const character c = first_character(text);
        if (c.code == stray && !text.starts_with("\xEF\xBF\xBD"))
            return false;
        text.remove_prefix(c.size);
    }
    return true;
}

/// Puts "\u" with four digits, twice for what takes more than 16 bits.
char* put_code(char* to, std::uint32_t code) {
    static constexpr char digits[] = "0123456789abcdef";
    if (code > 0xFFFF) {
        to = put_code(to, 0xD7C0 + (code >> 10));
        return put_code(to, 0xDC00 | (code & 0x3FF));
    }
    *to++ = '\\', *to++ = 'u';
    for (int shift = 12; shift >= 0; shift -= 4)
        *to++ = digits[code >> shift & 15];
    return to;
}

/// As many bytes from the start as are worked on at once; no character is cut in two.
std::string_view first_piece(std::string_view text) {
    std::size_t size = std::min(flush_size, text.size());
    for (int i = 0; i < 3 && size < text.size() && (text[size] & 0xC0) == 0x80; ++i)
        --size;
    return text.substr(0, size);
}

}  // namespace

void json_writer::flush() {
    std::fwrite(waiting_.data(), 1, waiting_.size(), out_);
    waiting_.clear();
}

void json_writer::begin_item(std::string_view key) {
    if (waiting_.size() >= flush_size)
        flush();
    if (!has_items_.empty()) {
        waiting_ += has_items_.back() ? ",\n" : "\n";
        has_items_.back() = true;
        waiting_.append(has_items_.size(), ' ');
    }
    if (!key.empty())
        waiting_.append("\"").append(key).append("\": ");
}

void json_writer::open(char bracket, std::string_view key) {
    begin_item(key);
    waiting_ += bracket;
    has_items_.push_back(false);
}

void json_writer::close(char bracket) {
    const bool had_items = has_items_.back();
    has_items_.pop_back();
    if (had_items)
        waiting_.append("\n").append(has_items_.size(), ' ');
    waiting_ += bracket;
    if (!has_items_.empty())
        return;
    waiting_ += '\n';
    flush();
}

void json_writer::put_number(std::int64_t number) {
    char text[24];
    waiting_.append(text, std::to_chars(text, text + sizeof text, number).ptr);
}

void json_writer::put_string(std::string_view text) {
    waiting_ += '"';
    while (!text.empty()) {
        const std::string_view piece = first_piece(text);
        put_piece(piece);
        text.remove_prefix(piece.size());
        if (!text.empty())
            flush();
    }
    waiting_ += '"';
}

void json_writer::put_piece(std::string_view text) {
    const escapes own = escapes_of(text);
    if (own == escapes::none) {
        waiting_ += text;
        return;
    }
    if (own == escapes::backslashes) {
        put_with_backslashes(text);
        return;
    }
    put_escaped(text);
}

void json_writer::put_escaped(std::string_view text) {
    static constexpr std::string_view named = "\b\t\n\f\r\"\\", letters = "btnfr\"\\";
    const std::size_t start = waiting_.size();
    waiting_.resize(start + 6 * text.size());  // six characters for a byte, and never more
    char* end = waiting_.data() + start;
    while (!text.empty()) {
        const character c = first_character(text);
        const std::size_t letter = c.code < 0x80 ? named.find(text[0]) : std::string_view::npos;
        if (letter != std::string_view::npos)
            *end++ = '\\', *end++ = letters[letter];
        else if (c.code >= ' ' && c.code <= '~')
            *end++ = text[0];
        else
            end = put_code(end, c.code);
        text.remove_prefix(c.size);
    }
    waiting_.resize(static_cast<std::size_t>(end - waiting_.data()));
}

void json_writer::put_with_backslashes(std::string_view text) {
    const std::size_t start = waiting_.size();
    waiting_.resize(start + 2 * text.size());
    char* end = waiting_.data() + start;
    for (const char c : text) {
        *end = '\\';
        end += c == '"' || c == '\\';
        *end++ = c;
    }
    waiting_.resize(static_cast<std::size_t>(end - waiting_.data()));
}

void json_writer::member(std::string_view key, std::string_view text) {
    begin_item(key);
    put_string(text);
}

void json_writer::null(std::string_view key) {
    begin_item(key);
    waiting_ += "null";
}

void json_writer::hex(std::string_view key, std::span<const unsigned char> bytes) {
    begin_hex(key);
    put_digits(bytes);
    end_hex();
}

void json_writer::begin_hex(std::string_view key) {
    begin_item(key);
    waiting_ += '"';
}

void json_writer::put_digits(std::span<const unsigned char> bytes) {
    for (; !bytes.empty(); bytes = bytes.subspan(std::min(flush_size, bytes.size()))) {
        const auto* const text = reinterpret_cast<const char*>(bytes.data());
        waiting_ += hex_digits({text, std::min(flush_size, bytes.size())});
        if (waiting_.size() >= flush_size)
            flush();
    }
}

void json_writer::name(std::string_view key, std::string_view name) {
    member(key, name);
    for (std::string_view rest = name; !rest.empty();) {
        const std::string_view piece = first_piece(rest);
        if (escapes_of(piece) == escapes::more && !is_utf8(piece)) {
            hex(std::string(key) + "_hex", {reinterpret_cast<const unsigned char*>(name.data()), name.size()});
            return;
        }
        rest.remove_prefix(piece.size());
    }
}

std::string_view brief_front(std::string_view name, std::size_t most) {
    if (name.size() <= most / 6)  // however it is written
        return name;
    std::size_t size = 0;
    for (std::size_t taken = 0; size < name.size(); ++size) {
        const char c = name[size];
        taken += c == '"' || c == '\\' ? 2 : (c & 0x80) != 0 ? 3 : c < ' ' || c > '~' ? 6 : 1;  // 3: of most characters
        if (taken > most)
            break;
    }
    for (int i = 0; i < 3 && size < name.size() && (name[size] & 0xC0) == 0x80; ++i)
        --size;
    return name.substr(0, size);
}

// Line breaks and commas by the levels that are open; text waits until a piece worth writing has come together.
#include "tools/common/json_writer.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

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

/// Without exceptions: a million names may be none.
bool is_utf8(std::string_view text) {
    using handling = nlohmann::json::error_handler_t;
    const nlohmann::json value(text);
    return value.dump(-1, ' ', false, handling::ignore) == value.dump(-1, ' ', false, handling::replace);
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
    std::string escaped = nlohmann::json(text).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    for (std::size_t at = 0; (at = escaped.find('\x7F', at)) != std::string::npos;)
        escaped.replace(at, 1, "\\u007f");
    waiting_.append(escaped, 1, escaped.size() - 2);
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

void json_writer::hex(std::string_view key, const unsigned char* bytes, std::size_t size) {
    begin_item(key);
    waiting_ += '"';
    for (std::size_t at = 0; at < size; at += flush_size) {
        const std::size_t bite = std::min(flush_size, size - at);
        waiting_ += hex_digits({reinterpret_cast<const char*>(bytes) + at, bite});
        if (bite == flush_size)
            flush();
    }
    waiting_ += '"';
}

void json_writer::name(std::string_view key, std::string_view name) {
    member(key, name);
    for (std::string_view rest = name; !rest.empty();) {
        const std::string_view piece = first_piece(rest);
        if (escapes_of(piece) == escapes::more && !is_utf8(piece)) {
            hex(std::string(key) + "_hex", reinterpret_cast<const unsigned char*>(name.data()), name.size());
            return;
        }
        rest.remove_prefix(piece.size());
    }
}

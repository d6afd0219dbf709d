// JSON as it is printed: member by member, with nothing kept in memory.
#ifndef MODFORGE_TOOLS_COMMON_JSON_WRITER_H
#define MODFORGE_TOOLS_COMMON_JSON_WRITER_H

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// Writes one document, indented by a blank per level, in ASCII. Whoever calls it closes what was opened; the outermost
/// closing ends the line and hands over the rest. Trouble with the stream shows in the stream.
class json_writer {
public:
    explicit json_writer(std::FILE* out) : out_(out) {}

    /// As a member of the object that is open; without a key as an element of the array, or as the document.
    void begin_object(std::string_view key = {}) { open('{', key); }
    void begin_array(std::string_view key = {}) { open('[', key); }
    void end_object() { close('}'); }
    void end_array() { close(']'); }

    template <typename NUMBER>
    requires std::is_arithmetic_v<NUMBER>
    void member(std::string_view key, NUMBER number) {
        begin_item(key);
        if constexpr (std::is_same_v<NUMBER, bool>)
            waiting_ += number ? "true" : "false";
        else
            put_number(static_cast<std::int64_t>(number));
    }
    void member(std::string_view key, std::string_view text);
    void member(std::string_view key, const char* text) { member(key, std::string_view(text)); }
    void null(std::string_view key);
    /// Bytes as hexadecimal digits; or in pieces, between the other two.
    void hex(std::string_view key, std::span<const unsigned char> bytes);
    void begin_hex(std::string_view key);
    void put_digits(std::span<const unsigned char> bytes);
    void end_hex() { waiting_ += '"'; }

    /// A name from a file. Stray bytes of one that is no UTF-8 are replaced, and all its bytes stand in a second member,
    /// KEY_hex.
    void name(std::string_view key, std::string_view name);

private:
    void open(char bracket, std::string_view key);
    void close(char bracket);
    void begin_item(std::string_view key);
    void put_number(std::int64_t number);
    void put_string(std::string_view text);
    void put_piece(std::string_view text);
    void put_with_backslashes(std::string_view text);
    void put_escaped(std::string_view text);
    void flush();

    std::FILE* out_;
    std::string waiting_;
    std::vector<bool> has_items_;  ///< by level
};

/// As much of a name as takes some `most` characters of a document; no character is cut in two.
std::string_view brief_front(std::string_view name, std::size_t most);

#endif

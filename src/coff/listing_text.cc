// Bytes become text that can neither move a terminal nor break a document.
#include "coff/listing_text.h"

#include <algorithm>
#include <cstring>

#include "format/reloc_types.h"

namespace {

/// Bytes of a long text that are printed at once.
constexpr std::size_t print_piece = 1U << 16;

/// What stands for a character that means something in XML; null for any other.
const char* entity_of(char c) {
    return c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : nullptr;
}

/// Characters of a text that stand for one of the name.
std::size_t unit_length(std::string_view text) {
    if (text[0] == '\\')
        return text[1] == '\\' ? 2 : 4;
    return 1;
}

std::size_t xml_unit_length(std::string_view text) {
    return text[0] == '&' ? text.find(';') + 1 : unit_length(text);
}

/// Cuts `text`, which stands for the name or more of its front than `most` characters can show.
std::string cut(std::string text, std::string_view name, std::size_t most, std::size_t (*unit)(std::string_view)) {
    if (name.size() <= most && text.size() <= most)
        return text;
    std::size_t end = 0;
    for (std::size_t next = 0; next <= std::min(most, text.size());) {
        end = next;
        next += next < text.size() ? unit(std::string_view(text).substr(next)) : 1;
    }
    return text.substr(0, end) + "... (" + counted(name.size(), "byte") + ")";
}

}  // namespace

std::string brief(std::string_view name, std::size_t most) {
    return cut(shown_name(name.substr(0, most)), name, most, unit_length);
}

std::string brief_xml(std::string_view name, std::size_t most) {
    const std::string_view front = name.substr(0, most);
    return cut(xml_text(front.data(), front.size()), name, most, xml_unit_length);
}

std::string printable(const char* text, std::size_t length) {
    static constexpr char digits[] = "0123456789ABCDEF";
    constexpr std::size_t piece = 256;  // a name may stand in millions of lines: it does not grow byte by byte
    char room[4 * piece];
    std::string out;
    for (std::size_t at = 0; at < length; at += piece) {
        char* end = room;
        for (std::size_t k = at; k < std::min(at + piece, length); ++k) {
            const auto c = static_cast<unsigned char>(text[k]);
            const bool shown = c >= 0x20 && c < 0x7F;
            *end++ = shown ? text[k] : '\\';
            if (!shown)
                *end++ = 'x', *end++ = digits[c >> 4], *end++ = digits[c & 15];
            else if (c == '\\')
                *end++ = '\\';
        }
        out.append(room, end);
    }
    return out;
}

std::string printable(const char* text) {
    return printable(text, std::strlen(text));
}

std::string shown_name(std::string_view name) {
    return name.empty() ? "\"\"" : printable(name.data(), name.size());
}

void print_to_end(std::FILE* out, std::string_view text) {
    const bool hidden = text.ends_with(' ');
    text.remove_suffix(hidden ? 1 : 0);
    for (; !text.empty(); text.remove_prefix(std::min(print_piece, text.size())))
        std::fputs(printable(text.data(), std::min(print_piece, text.size())).c_str(), out);
    std::fputs(hidden ? "\\x20\n" : "\n", out);
}

void print_xml(std::FILE* out, std::string_view text) {
    for (; !text.empty(); text.remove_prefix(std::min(print_piece, text.size())))
        std::fputs(xml_text(text.data(), std::min(print_piece, text.size())).c_str(), out);
}

std::string xml_text(const char* text, std::size_t length) {
    std::string shown = printable(text, length);
    bool plain = true;
    for (const char c : shown)
        plain &= entity_of(c) == nullptr;
    if (plain)
        return shown;
    std::string out;
    for (const char c : shown) {
        if (const char* const entity = entity_of(c))
            out += entity;
        else
            out += c;
    }
    return out;
}

std::string xml_text(const char* text) {
    return xml_text(text, std::strlen(text));
}

std::string counted(unsigned long long number, std::string_view word) {
    return std::to_string(number).append(1, ' ').append(word).append(number == 1 ? "" : "s");
}

std::string reloc_type_words(std::uint16_t type) {
    const char* const name = reloc_type_name(type);
    return name ? name : "type " + std::to_string(type);
}

// Bytes become text that can neither move a terminal nor break a document.
#include "coff/listing_text.h"

#include <algorithm>
#include <cstring>

#include "format/reloc_types.h"

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
    constexpr std::size_t piece = 1U << 16;
    const bool hidden = text.ends_with(' ');
    text.remove_suffix(hidden ? 1 : 0);
    for (; !text.empty(); text.remove_prefix(std::min(piece, text.size())))
        std::fputs(printable(text.data(), std::min(piece, text.size())).c_str(), out);
    std::fputs(hidden ? "\\x20\n" : "\n", out);
}

std::string xml_text(const char* text, std::size_t length) {
    std::string out;
    for (const char c : printable(text, length)) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
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

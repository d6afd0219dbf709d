// Bytes become text that can neither move a terminal nor break a document.
#include "coff/listing_text.h"

#include <cstring>

#include "format/reloc_types.h"

std::string printable(const char* text, std::size_t length) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string out;
    for (std::size_t k = 0; k < length; ++k) {
        const auto c = static_cast<unsigned char>(text[k]);
        if (c == '\\')
            out += "\\\\";
        else if (c >= 0x20 && c < 0x7F)
            out += text[k];
        else
            out.append("\\x").append(1, digits[c >> 4]).append(1, digits[c & 15]);
    }
    return out;
}

std::string printable(const char* text) {
    return printable(text, std::strlen(text));
}

std::string shown_name(std::string_view name) {
    return name.empty() ? "\"\"" : printable(name.data(), name.size());
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

// One way to write a name, a byte, a number and a count, for both companions.
#include "tools/common/text_forms.h"

#include <cstdio>

#include "coff/listing_text.h"

std::string printable(std::string_view name) {
    return printable(name.data(), name.size());
}

std::string hex_digits(std::string_view bytes) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::string hex_number(std::uint64_t number) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(number));
    return text;
}

std::string hex_place(std::int64_t place) {
    return place < 0 ? "-" + hex_number(-static_cast<std::uint64_t>(place))
                     : hex_number(static_cast<std::uint64_t>(place));
}

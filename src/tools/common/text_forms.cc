// One way to write a name, a byte, a number and a count, for both companions.
#include "tools/common/text_forms.h"

#include <iterator>

#include "coff/listing_text.h"

namespace {

constexpr char upper_digits[] = "0123456789ABCDEF";

}  // namespace

std::string printable(std::string_view name) {
    return printable(name.data(), name.size());
}

std::string hex_digits(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += upper_digits[byte >> 4];
        text += upper_digits[byte & 15];
    }
    return text;
}

std::string hex_number(std::uint64_t number) {
    char text[16];
    char* const end = std::end(text);
    char* at = end;
    do {
        *--at = upper_digits[number & 15];
    } while ((number >>= 4) != 0);
    return std::string("0x").append(at, end);
}

std::string hex_place(std::int64_t place) {
    return place < 0 ? "-" + hex_number(-static_cast<std::uint64_t>(place))
                     : hex_number(static_cast<std::uint64_t>(place));
}

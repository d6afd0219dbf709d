// How the companions write names and bytes.
#ifndef MODFORGE_TOOLS_COMMON_TEXT_FORMS_H
#define MODFORGE_TOOLS_COMMON_TEXT_FORMS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "coff/listing_text.h"

/// As printable(const char*, std::size_t).
std::string printable(std::string_view name);

/// "0x1F", or "-0x1F" for a place that lies before what it is counted from.
std::string hex_place(std::int64_t place);

/// Two upper-case hexadecimal digits for each byte.
std::string hex_digits(std::string_view bytes);

/// What stands before a finding.
inline const char* severity_word(bool error) {
    return error ? "error" : "warning";
}

/// "0x1F": a number in upper-case hexadecimal digits, without leading zeros.
std::string hex_number(std::uint64_t number);

/// For %llu and %llX, whatever a host calls its 64 bits.
inline unsigned long long wide(std::uint64_t number) {
    return number;
}

#endif

// How the companions write names and bytes.
#ifndef MODFORGE_TOOLS_COMMON_TEXT_FORMS_H
#define MODFORGE_TOOLS_COMMON_TEXT_FORMS_H

#include <cstdint>
#include <string>
#include <string_view>

/// The name, with "\xNN" for each byte that is no printable ASCII character and "\\" for a backslash.
std::string printable(std::string_view name);

/// Two upper-case hexadecimal digits for each byte.
std::string hex_digits(std::string_view bytes);

/// "0x1F": a number in upper-case hexadecimal digits, without leading zeros.
std::string hex_number(std::uint64_t number);

/// "1 section", "2 sections": the number with the word, which takes an s unless the number is 1.
std::string counted(unsigned long long number, std::string_view word);

#endif

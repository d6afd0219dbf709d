// Text from a COFF file on its way into a listing.
#ifndef MODFORGE_COFF_LISTING_TEXT_H
#define MODFORGE_COFF_LISTING_TEXT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

/// The name, with "\xNN" for each byte that is no printable ASCII character and "\\" for a backslash.
std::string printable(const char* text, std::size_t length);
std::string printable(const char* text);
/// The same, and "" between quotes where there is nothing: for places where nothing would not be seen.
std::string shown_name(std::string_view name);
/// Prints a text of any length as printable gives it, and ends the line; a last blank, which nobody would see, becomes
/// "\x20".
void print_to_end(std::FILE* out, std::string_view text);

/// The same with the characters that mean something in XML as entities: fit for an attribute or an element.
std::string xml_text(const char* text, std::size_t length);
std::string xml_text(const char* text);

/// "1 section", "2 sections": the number with the word, which takes an s unless the number is 1.
std::string counted(unsigned long long number, std::string_view word);

/// "R_RELLONG", or "type 22" for a relocation type without a name.
std::string reloc_type_words(std::uint16_t type);

#endif

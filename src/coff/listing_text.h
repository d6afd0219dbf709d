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
/// The same for places where a name stands once more in every line: if it takes more than `most` characters, it is cut,
/// and its length said. Thousands of symbols may share the longest name that a string table can hold.
std::string brief(std::string_view name, std::size_t most = 255);
/// Prints a text of any length as printable gives it, and ends the line; a last blank, which nobody would see, becomes
/// "\x20".
void print_to_end(std::FILE* out, std::string_view text);

/// The same with the characters that mean something in XML as entities: fit for an attribute or an element.
std::string xml_text(const char* text, std::size_t length);
std::string xml_text(const char* text);
/// Prints a text of any length in that form.
void print_xml(std::FILE* out, std::string_view text);
/// The same, cut as brief() does.
std::string brief_xml(std::string_view name, std::size_t most);

/// "1 section", "2 sections": the number with the word, which takes an s unless the number is 1.
std::string counted(unsigned long long number, std::string_view word);

/// "R_RELLONG", or "type 22" for a relocation type without a name.
std::string reloc_type_words(std::uint16_t type);

#endif

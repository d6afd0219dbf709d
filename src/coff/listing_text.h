// Text from a COFF file on its way into a listing.
#ifndef MODFORGE_COFF_LISTING_TEXT_H
#define MODFORGE_COFF_LISTING_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

/// The name, with "\xNN" for each byte that is no printable ASCII character and "\\" for a backslash.
std::string printable(const char* text, std::size_t length);
std::string printable(const char* text);

/// The same with the characters that mean something in XML as entities: fit for an attribute or an element.
std::string xml_text(const char* text, std::size_t length);
std::string xml_text(const char* text);

/// "R_RELLONG", or "type 22" for a relocation type without a name.
std::string reloc_type_words(std::uint16_t type);

#endif

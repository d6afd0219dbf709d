// Numbers as people read them.
#ifndef MODFORGE_TOOLS_VELMDUMP_WORDS_H
#define MODFORGE_TOOLS_VELMDUMP_WORDS_H

#include <cstdint>
#include <string>
#include <string_view>

/// "45,932".
std::string grouped(std::uint64_t number);

/// "1 relocation", "1,085 relocations".
std::string counted_words(std::uint64_t number, std::string_view word);

/// "0x00010000".
std::string hex_word(std::uint32_t word);

/// "2024-03-14 08:23:16 UTC", for seconds since 1970.
std::string time_words(std::uint32_t seconds);

#endif

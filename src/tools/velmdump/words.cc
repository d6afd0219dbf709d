// Digits in groups, hexadecimal words, dates.
#include "tools/velmdump/words.h"

#include <cstdio>
#include <ctime>

std::string grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3)
        text.insert(at - 3, ",");
    return text;
}

std::string counted_words(std::uint64_t number, std::string_view word) {
    return grouped(number) + " " + std::string(word) + (number == 1 ? "" : "s");
}

std::string hex_word(std::uint32_t word) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", word);
    return text;
}

std::string time_words(std::uint32_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    char text[40] = "";
    if (const std::tm* parts = std::gmtime(&time))
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", parts);
    return text;
}

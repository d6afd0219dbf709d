// The two forms of a module become one here.
//
// The text form is read leniently and then compared with what the writer would have written for the same words, so
// that every deviation is found, and the rest of a damaged text can still be looked at.
#include "tools/velmdump/module_bytes.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <optional>

#include "format/module_format.h"

namespace {

constexpr bool host_is_big = std::endian::native == std::endian::big;

/// Where the reserved half-word and the target id lie: the one is 0, the other is not.
constexpr std::size_t reserved_offset = offsetof(velm_filehdr, reserved);

std::uint32_t swapped(std::uint32_t w) {
    return w << 24 | (w & 0xFF00U) << 8 | (w >> 8 & 0xFF00U) | w >> 24;
}

bool is_separator(unsigned char c) {
    return c == ',' || c == ' ' || (c >= '\t' && c <= '\r');
}

/// Every number of the text, in order; 0 for what is none.
std::vector<std::uint32_t> words_of(const std::vector<unsigned char>& text) {
    std::vector<std::uint32_t> words;
    words.reserve(text.size() / 8);
    const auto* at = reinterpret_cast<const char*>(text.data());
    const char* const end = at + text.size();
    while (at != end) {
        if (is_separator(static_cast<unsigned char>(*at))) {
            ++at;
            continue;
        }
        std::uint32_t word = 0;
        if (end - at > 2)
            at = std::from_chars(at + 2, end, word, 16).ptr;
        words.push_back(word);
        at = std::find_if(at, end, [](char c) { return is_separator(static_cast<unsigned char>(c)); });
    }
    return words;
}

/// Where `text` stops being what the writer makes of the words.
std::optional<std::size_t> first_deviation(const std::vector<unsigned char>& text,
                                           const std::vector<std::uint32_t>& words) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < words.size(); ++i) {
        char line[16] = "0x";
        char* end = std::to_chars(line + 2, line + sizeof line, words[i], 16).ptr;
        if (i + 1 != words.size())
            *end++ = ',';
        *end++ = '\n';
        for (const char* c = line; c != end; ++c, ++at) {
            if (at == text.size() || text[at] != static_cast<unsigned char>(*c))
                return at;
        }
    }
    return at == text.size() ? std::nullopt : std::optional(at);
}

void put_word(unsigned char* place, std::uint32_t word, bool big_endian) {
    if (big_endian != host_is_big)
        word = swapped(word);
    std::memcpy(place, &word, sizeof word);
}

void decode_text(const std::vector<unsigned char>& text, module_bytes& result) {
    const std::vector<std::uint32_t> words = words_of(text);
    if (const auto deviation = first_deviation(text, words))
        result.findings.push_back({true, *deviation, "not in the text form of a module from here on"});
    const std::uint32_t mixed = words.size() > reserved_offset / 4 ? words[reserved_offset / 4] : 0;
    result.big_endian = (mixed & 0xFFFFU) != 0 && mixed >> 16 == 0;
    result.bytes.resize(words.size() * 4);
    for (std::size_t i = 0; i < words.size(); ++i)
        put_word(&result.bytes[i * 4], words[i], result.big_endian);
}

}  // namespace

std::uint32_t module_bytes::word(std::size_t offset) const {
    std::uint32_t w = 0;
    std::memcpy(&w, &bytes[offset], sizeof w);
    return big_endian == host_is_big ? w : swapped(w);
}

std::uint16_t module_bytes::half(std::size_t offset) const {
    const unsigned first = bytes[offset];
    const unsigned second = bytes[offset + 1];
    return static_cast<std::uint16_t>(big_endian ? first << 8 | second : second << 8 | first);
}

std::uint32_t module_bytes::sum(std::size_t offset, std::size_t size) const {
    std::uint32_t total = 0;
    const bool swap = big_endian != host_is_big;
    for (const unsigned char* at = bytes.data() + offset; size >= 4; at += 4, size -= 4) {
        std::uint32_t w = 0;
        std::memcpy(&w, at, sizeof w);
        total += swap ? swapped(w) : w;
    }
    return total;
}

module_bytes decode_module(std::vector<unsigned char> contents) {
    module_bytes result;
    result.text_form = contents.size() >= 2 && contents[0] == '0' && (contents[1] | 0x20) == 'x';
    if (result.text_form) {
        decode_text(contents, result);
        return result;
    }
    result.bytes = std::move(contents);
    // Big-endian only when it says so: everything else is judged as little-endian, and found faulty by its checks.
    static const unsigned char big_mark[] = {0, 1, 2, 3};
    result.big_endian = result.bytes.size() >= 12 && std::memcmp(&result.bytes[8], big_mark, 4) == 0;
    return result;
}

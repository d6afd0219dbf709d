// Pictures and pages show names as people write them; but no name may break the page around it, hide in it, or pass for
// another by what cannot be seen.
#include "tools/velmdump/drawn_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace {

struct character {
    char32_t code;
    unsigned bytes;  ///< 0: no valid UTF-8 starts here
};

/// The character at the start of the text, which is not empty.
character first_character(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return {lead, 1};
    const unsigned size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < size)
        return {0, 0};
    char32_t code = lead & (0x7FU >> size);
    for (unsigned i = 1; i < size; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80)
            return {0, 0};
        code = code << 6 | (next & 0x3F);
    }
    static constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool valid = code >= least[size] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
    return valid ? character{code, size} : character{0, 0};
}

struct range {
    char32_t first, last;
};

template <std::size_t N> bool is_in(char32_t code, const std::array<range, N>& ranges) {
    const auto* const at = std::lower_bound(ranges.begin(), ranges.end(), code,
                                            [](const range& r, char32_t wanted) { return r.last < wanted; });
    return at != ranges.end() && at->first <= code;
}

// Controls, marks of direction, blanks other than the ordinary one, what has no width, and what is no character.
constexpr std::array<range, 22> unseen = {{
    {0, 0x1F},        {0x7F, 0xA0},     {0xAD, 0xAD},       {0x34F, 0x34F},     {0x61C, 0x61C},   {0x115F, 0x1160},
    {0x1680, 0x1680}, {0x17B4, 0x17B5}, {0x180B, 0x180F},   {0x2000, 0x200F},   {0x2028, 0x202F}, {0x205F, 0x206F},
    {0x2800, 0x2800}, {0x3000, 0x3000}, {0x3164, 0x3164},   {0xFDD0, 0xFDEF},   {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF},
    {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFB}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
}};

constexpr std::array<range, 11> combining = {{
    {0x300, 0x36F},
    {0x483, 0x489},
    {0x591, 0x5BD},
    {0x610, 0x61A},
    {0x64B, 0x65F},
    {0x93C, 0x93C},
    {0xE34, 0xE3A},
    {0x1AB0, 0x1AFF},
    {0x1DC0, 0x1DFF},
    {0x20D0, 0x20FF},
    {0xFE20, 0xFE2F},
}};

constexpr std::array<range, 11> double_width = {{
    {0x1100, 0x115F},
    {0x2E80, 0xA4CF},
    {0xA960, 0xA97F},
    {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F},
    {0xFF00, 0xFF60},
    {0xFFE0, 0xFFE6},
    {0x1F300, 0x1F64F},
    {0x1F680, 0x1FAFF},
    {0x20000, 0x3FFFD},
}};

bool shows(char32_t code) {
    return !is_in(code, unseen) && (code & 0xFFFE) != 0xFFFE;
}

std::size_t cells_of(char32_t code) {
    return is_in(code, combining) ? 0 : is_in(code, double_width) ? 2 : 1;
}

void append_code(std::string& text, unsigned char byte) {
    char code[8];
    std::snprintf(code, sizeof code, "\\x%02X", byte);
    text += code;
}

}  // namespace

std::string drawn_name(std::string_view name, std::size_t most) {
    const bool cut = name.size() > most;
    std::string text;
    for (std::string_view rest = name.substr(0, most); !rest.empty();) {
        const auto [code, bytes] = first_character(rest);
        const std::size_t taken = std::max(1U, bytes);
        // At the start an accent would sit on what stands before the name.
        const bool stray_accent = rest.size() == name.size() && is_in(code, combining);
        if (cut && bytes == 0 && rest.size() < 4)
            break;  // a character that the cut went through
        if (code == '\\')
            text += "\\\\";
        else if (bytes == 0 || !shows(code) || stray_accent)
            std::for_each(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(taken),
                          [&text](char c) { append_code(text, static_cast<unsigned char>(c)); });
        else
            text += rest.substr(0, taken);
        rest.remove_prefix(taken);
    }
    return cut ? text + "\u2026" : text;
}

std::string drawn_file_name(const std::string& path) {
#ifdef _WIN32
    constexpr const char* separators = "/\\";
#else
    constexpr const char* separators = "/";
#endif
    return path == "-" ? "standard input"
                       : drawn_name(std::string_view(path).substr(path.find_last_of(separators) + 1));
}

std::size_t cells(std::string_view text) {
    std::size_t result = 0;
    while (!text.empty()) {
        const auto [code, bytes] = first_character(text);
        result += cells_of(code);
        text.remove_prefix(std::max(1U, bytes));
    }
    return result;
}

std::size_t bytes_in_cells(std::string_view text, std::size_t most) {
    std::size_t taken = 0;
    for (std::size_t used = 0; taken < text.size();) {
        const auto [code, bytes] = first_character(text.substr(taken));
        used += cells_of(code);
        if (used > most && taken != 0)
            break;
        taken += std::max(1U, bytes);
    }
    return taken;
}

std::string markup(std::string_view text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '&':
            result += "&amp;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

// The two forms of a module become one here.
//
// The text form is read leniently and then compared with what the converter would have written for the same words, so
// that every deviation is found, and the rest of a damaged text can still be looked at.
#include "tools/velmdump/module_bytes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <utility>

#include "format/coff_records.h"
#include "format/module_format.h"

namespace {

constexpr bool host_is_big = std::endian::native == std::endian::big;

/// File header and verification record.
constexpr std::size_t head_words = velm_strtab_offset / 4;
using module_head = std::array<std::uint32_t, head_words>;

/// More stretches than a text that people edited has; behind so many, lines are not known.
constexpr std::size_t most_stretches = 65536;

std::uint32_t load(const unsigned char* place, bool big_endian) {
    std::uint32_t w = 0;
    std::memcpy(&w, place, sizeof w);
    return big_endian == host_is_big ? w : swapped(w);
}

void store(unsigned char* place, std::uint32_t word, bool big_endian) {
    if (big_endian != host_is_big)
        word = swapped(word);
    std::memcpy(place, &word, sizeof word);
}

/// Takes the numbers out of a text, one at a time, wherever one may be.
class text_words {
public:
    explicit text_words(const std::vector<unsigned char>& text)
        : at_(reinterpret_cast<const char*>(text.data())), end_(at_ + text.size()) {}

    /// The next number, 0 for what is none; false at the end.
    bool next(std::uint32_t& word) {
        while (at_ != end_ && is_separator(*at_))
            line_ += *at_++ == '\n';
        if (at_ == end_)
            return false;
        word = 0;
        if (end_ - at_ > 2)
            at_ = std::from_chars(at_ + 2, end_, word, 16).ptr;
        at_ = std::find_if(at_, end_, is_separator);
        return true;
    }

    /// Of the number that came last, from 1.
    [[nodiscard]] std::size_t line() const { return line_; }

private:
    static bool is_separator(char c) { return c == ',' || c == ' ' || (c >= '\t' && c <= '\r'); }

    const char* at_;
    const char* end_;
    std::size_t line_ = 1;
};

/// Whether the header or the verification record adds up. Damage to the one leaves the other right.
bool adds_up(const module_head& head) {
    const auto verification = head.begin() + sizeof(velm_filehdr) / 4;
    std::uint32_t sums[2] = {};
    std::for_each(head.begin(), verification, [&sums](std::uint32_t w) { sums[0] += w; });
    std::for_each(verification, head.end(), [&sums](std::uint32_t w) { sums[1] += w; });
    return sums[0] == 0xFFFFFFFFU || sums[1] == 0xFFFFFFFFU;
}

/// The byte order of a binary module; nothing when this is none.
std::optional<bool> binary_order(const std::vector<unsigned char>& contents) {
    constexpr std::size_t mark = offsetof(velm_filehdr, byte_order_mark);
    for (const bool big : {false, true}) {
        if (contents.size() >= mark + 4 && load(&contents[mark], big) == velm_byte_order_mark)
            return big;
    }
    if (contents.size() < velm_strtab_offset)
        return std::nullopt;
    for (const bool big : {false, true}) {
        module_head head{};
        for (std::size_t i = 0; i < head.size(); ++i)
            head[i] = load(&contents[i * 4], big);
        if (adds_up(head))
            return big;
    }
    return std::nullopt;
}

/// Whether the half-words of a text stand in the order of a big-endian machine. Of two that share a word, one has values
/// that the other has not. `words` goes on behind `head`.
bool words_are_big_endian(const module_head& head, text_words& words) {
    const auto low = [](std::uint32_t pair) { return pair & 0xFFFFU; };
    // Reserved half-word, target id: the first is 0.
    if (const std::uint32_t pair = head[offsetof(velm_filehdr, reserved) / 4]; pair != 0)
        return low(pair) == pair;
    // The target without a number is for modules without sections: behind their string table are symbols, or nothing.
    const std::uint64_t symbol_word =
        head[offsetof(velm_filehdr, strtab_size) / 4] / 4 + offsetof(velm_symbol_record, section) / 4;
    std::uint32_t pair = 0;
    bool there = true;
    for (std::uint64_t i = 0; there && i <= symbol_word; ++i)
        there = words.next(pair);
    // Section, storage class: no class is 0 or has more than 8 bits, and a section is 0 or negative.
    if (there)
        return low(pair) != 0 && low(pair) <= 0xFF;
    // File flags, entry section: the second is 0 or all ones.
    pair = head[offsetof(velm_filehdr, flags) / 4];
    return low(pair) == velm_absolute_entry || (low(pair) == 0 && pair >> 16 != velm_absolute_entry);
}

/// The byte order of the machine that wrote a text; nothing when this is no module in text form.
std::optional<bool> text_order(const std::vector<unsigned char>& contents) {
    module_head head{};
    text_words words(contents);
    std::size_t count = 0;
    while (count < head.size() && words.next(head[count]))
        ++count;
    const bool marked = head[offsetof(velm_filehdr, byte_order_mark) / 4] == velm_byte_order_mark;
    if (!marked && (count < head.size() || !adds_up(head)))
        return std::nullopt;
    return words_are_big_endian(head, words);
}

/// Where `text` stops being what the converter makes of the words.
std::optional<text_deviation> deviation_of(const std::vector<unsigned char>& text, const module_bytes& module) {
    std::size_t at = 0;
    const std::size_t words = module.bytes.size() / 4;
    for (std::size_t i = 0; i < words; ++i) {
        char line[16] = "0x";
        char* end = std::to_chars(line + 2, line + sizeof line, module.word(i * 4), 16).ptr;
        if (i + 1 != words)
            *end++ = ',';
        *end++ = '\n';
        for (const char* c = line; c != end; ++c, ++at) {
            if (at == text.size() || text[at] != static_cast<unsigned char>(*c))
                return text_deviation{i, i + 1, static_cast<std::size_t>(c - line) + 1};
        }
    }
    return at == text.size() ? std::nullopt : std::optional(text_deviation{words, words + 1, 1});
}

void note_line(std::vector<line_stretch>& lines, std::size_t word, std::size_t line) {
    const bool goes_on = !lines.empty() && lines.back().line + (word - lines.back().first_word) == line;
    if (!goes_on && lines.size() < most_stretches)
        lines.push_back({word, line});
}

module_bytes decode_text(const std::vector<unsigned char>& text, bool big_endian) {
    module_bytes result;
    result.text_form = true;
    result.big_endian = big_endian;
    std::size_t count = 0;
    std::uint32_t word = 0;
    for (text_words counted(text); counted.next(word);)
        ++count;
    result.bytes.resize(count * 4);
    text_words words(text);
    for (std::size_t i = 0; words.next(word); ++i) {
        store(&result.bytes[i * 4], word, big_endian);
        note_line(result.lines, i, words.line());
    }
    result.deviation = deviation_of(text, result);
    return result;
}

std::string why_nothing(const std::vector<unsigned char>& contents) {
    if (contents.empty())
        return "it is empty";
    if (contents.size() >= 2 && contents[0] + contents[1] == coff_version_2 && contents[0] * contents[1] == 0)
        return "it looks like a COFF file, of which modforge makes a module";
    return "neither its byte-order word nor a checksum of its header is in place";
}

}  // namespace

std::uint32_t module_bytes::word(std::size_t offset) const {
    return load(&bytes[offset], big_endian);
}

std::uint16_t module_bytes::half(std::size_t offset) const {
    const unsigned first = bytes[offset];
    const unsigned second = bytes[offset + 1];
    return static_cast<std::uint16_t>(big_endian ? first << 8 | second : second << 8 | first);
}

std::uint32_t module_bytes::sum(std::size_t offset, std::size_t size) const {
    std::uint32_t total = 0;
    for (const unsigned char* at = bytes.data() + offset; size >= 4; at += 4, size -= 4)
        total += load(at, big_endian);
    return total;
}

std::size_t module_bytes::line_of(std::uint64_t offset) const {
    const auto behind = std::upper_bound(lines.begin(), lines.end(), offset / 4,
                                         [](std::uint64_t word, const line_stretch& s) { return word < s.first_word; });
    return behind == lines.begin() ? 0 : behind[-1].line + (offset / 4 - behind[-1].first_word);
}

module_bytes decode_module(std::vector<unsigned char> contents) {
    module_bytes result;
    if (const auto order = binary_order(contents)) {
        result.bytes = std::move(contents);
        result.big_endian = *order;
    } else if (const auto writer = text_order(contents)) {
        result = decode_text(contents, *writer);
    } else {
        result.why_no_module = why_nothing(contents);
        return result;
    }
    if (result.bytes.size() < velm_strtab_offset)
        result.why_no_module = "it ends inside the header";
    return result;
}

bool is_no_list(const std::vector<unsigned char>& contents) {
    return std::find(contents.begin(), contents.end(), 0) != contents.end() || text_order(contents).has_value();
}

// A module as bytes, whichever of its two forms it came in.
#ifndef MODFORGE_TOOLS_VELMDUMP_MODULE_BYTES_H
#define MODFORGE_TOOLS_VELMDUMP_MODULE_BYTES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The first place where a text is not what the converter writes.
struct text_deviation {
    std::size_t word;    ///< the word there, counted from 0
    std::size_t line;    ///< from 1
    std::size_t column;  ///< from 1
};

/// Words from `first_word` on, one a line; until the next stretch begins.
struct line_stretch {
    std::size_t first_word;
    std::size_t line;
};

/// The bytes of a module in the binary form. In the text form a word has no byte order: half-words that share one tell
/// that of the writer.
struct module_bytes {
    std::vector<unsigned char> bytes;
    std::string why_no_module;  ///< why this is no VELM module, a clause; empty when it is one, sound or not
    bool big_endian = false;
    bool text_form = false;
    std::optional<text_deviation> deviation;
    std::vector<line_stretch> lines;  ///< of the text form

    [[nodiscard]] std::uint32_t word(std::size_t offset) const;
    [[nodiscard]] std::uint16_t half(std::size_t offset) const;
    /// Sum of the 32-bit words in [offset, offset + size), `size` a multiple of 4.
    [[nodiscard]] std::uint32_t sum(std::size_t offset, std::size_t size) const;
    /// The line of the text on which the word at `offset` stands; 0 in the binary form.
    [[nodiscard]] std::size_t line_of(std::uint64_t offset) const;
};

/// Takes the contents of a file. What is in the header tells the form, and whether this is a module at all: the
/// byte-order word in its place, or a header or verification record whose checksum is right.
module_bytes decode_module(std::vector<unsigned char> contents);

/// Whether the contents are those of a module, or no text: then they are no list of names either.
bool is_no_list(const std::vector<unsigned char>& contents);

#endif

// A module as bytes, whichever of its two forms it came in.
#ifndef MODFORGE_TOOLS_VELMDUMP_MODULE_BYTES_H
#define MODFORGE_TOOLS_VELMDUMP_MODULE_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// One thing that is wrong, or odd, with a module.
struct finding {
    bool error;            ///< else a warning
    std::uint64_t offset;  ///< in the file, bytes
    std::string text;
};

/// The bytes of a module in the binary form. In the text form a word has no byte order: the one of the writer is
/// guessed from the reserved half-word of the header.
struct module_bytes {
    std::vector<unsigned char> bytes;
    bool big_endian = false;
    bool text_form = false;
    std::vector<finding> findings;  ///< deviations from the text form, at offsets in the text

    [[nodiscard]] std::uint32_t word(std::size_t offset) const;
    [[nodiscard]] std::uint16_t half(std::size_t offset) const;
    /// Sum of the 32-bit words in [offset, offset + size), `size` a multiple of 4.
    [[nodiscard]] std::uint32_t sum(std::size_t offset, std::size_t size) const;
};

/// Takes the contents of a file, in either form.
module_bytes decode_module(std::vector<unsigned char> contents);

#endif

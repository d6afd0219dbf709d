// Sections as they go by, without the packets: nothing of them is held in memory.
#ifndef MODFORGE_TOOLS_VELMDUMP_SECTION_CURSORS_H
#define MODFORGE_TOOLS_VELMDUMP_SECTION_CURSORS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/velmdump/module_words.h"
#include "tools/velmdump/velm_module.h"

/// The bytes of a section, packet after packet. The module must outlive it, and stay where it is.
class content_cursor {
public:
    content_cursor(const velm_module& module, const section_place& section);

    /// The bytes at hand; empty at the end of the section.
    [[nodiscard]] std::string_view bytes() const { return bytes_; }
    /// Goes on by at most as many bytes as are at hand.
    void skip(std::size_t count);

private:
    void settle();

    const velm_module& module_;
    packet_range::iterator packet_;
    std::string_view bytes_;
};

/// The relocations of a section, with places in the section. What it is made from must outlive it.
class reloc_cursor {
public:
    /// `names`: those of the module. `numbers`: for each of its symbols a number that is the same for the same symbol of
    /// another module.
    reloc_cursor(brief_names& names, const section_place& section, const std::vector<std::uint32_t>& numbers);

    [[nodiscard]] bool at_end() const { return packet_ == std::default_sentinel; }
    /// Address units from the start of the section.
    [[nodiscard]] std::int64_t place() const;
    void next();
    /// Whether both mean the same.
    [[nodiscard]] bool same_as(const reloc_cursor& other) const;
    /// "R_RELLONG, _printf, displacement 0x0004".
    [[nodiscard]] std::string words() const;

private:
    [[nodiscard]] bool refers() const;
    [[nodiscard]] std::uint32_t word() const;
    void settle();

    brief_names& names_;
    const section_place& section_;
    const std::vector<std::uint32_t>& numbers_;
    packet_range::iterator packet_;
    std::uint64_t start_ = 0;  ///< of the packet, bytes
    std::uint32_t index_ = 0;
    reloc_record record_{};
};

#endif

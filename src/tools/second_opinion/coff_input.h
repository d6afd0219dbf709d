// A COFF file taken apart: everything that a conversion asks of it, in host order.
//
// Names and relocations stay where they lie in the file: tables may overlap there, and a small file could otherwise
// ask for any amount of memory.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_COFF_INPUT_H
#define MODFORGE_TOOLS_SECOND_OPINION_COFF_INPUT_H

#include <array>
#include <string_view>
#include <vector>

#include "tools/second_opinion/bytes.h"
#include "tools/second_opinion/string_table.h"

namespace second_opinion {

struct relocation {
    u32 vaddr = 0;                   ///< address units
    u32 symndx = 0;                  ///< the symbol word as a number
    std::array<u8, 4> descriptor{};  ///< the same four bytes as they lie in the file
    u16 disp = 0;
    u16 type = 0;
};

struct section {
    std::string_view name = {};
    u32 number = 0;              ///< from 1
    u32 paddr = 0, vaddr = 0;    ///< run and load address, address units
    u32 size = 0;                ///< address units
    u32 scnptr = 0, relptr = 0;  ///< file offsets of contents (0: none) and relocations
    u32 nreloc = 0;
    u32 flags = 0;
    u32 width = 0;  ///< bits per address unit
    u16 page = 0;

    [[nodiscard]] u32 byte_size() const { return (width >> 3) * size; }  ///< wraps
};

struct symbol {
    std::string_view name = {};
    u32 index = 0;  ///< in the symbol table, auxiliary entries counted
    u32 value = 0;
    i16 scnum = 0;
    i8 sclass = 0;
};

/// The symbols of a file, each made anew where it is asked for: there may be millions.
class symbol_list {
public:
    class iterator {
    public:
        iterator(const symbol_list& list, std::size_t k) : list_(&list), k_(k) {}
        symbol operator*() const { return (*list_)[k_]; }
        iterator& operator++() {
            ++k_;
            return *this;
        }
        bool operator==(const iterator& other) const { return k_ == other.k_; }

    private:
        const symbol_list* list_;
        std::size_t k_;
    };

    symbol_list() = default;
    /// Takes the table at `place` of a file, which must outlive it: so many entries. Throws a refusal for a table, or a
    /// name, that is not there; names, which count behind everything else, in check_names().
    symbol_list(const bytes& file, byte_order order, u64 place, u32 entries);
    void check_names();

    [[nodiscard]] std::size_t size() const { return indices_.size(); }
    symbol operator[](std::size_t k) const;
    [[nodiscard]] iterator begin() const { return {*this, 0}; }
    [[nodiscard]] iterator end() const { return {*this, size()}; }

    /// The name in the first eight bytes of the section header at `at`. Throws a refusal.
    std::string_view section_name(u64 at);

private:
    [[nodiscard]] const u8* entry(u32 index) const;

    const bytes* file_ = nullptr;
    byte_order order_ = byte_order::little;
    u64 place_ = 0;
    std::vector<u32> indices_;  // of the entries that are symbols
    string_table strings_;
};

class coff_input {
public:
    /// Takes the file apart; it must outlive the result. Throws a refusal for what no conversion accepts.
    explicit coff_input(const bytes& file);

    byte_order order = byte_order::little;
    u32 timestamp = 0, entry_point = 0;
    u32 nsyms = 0;  ///< entries of the symbol table, auxiliary ones included
    u16 flags = 0, target = 0;
    std::vector<section> sections = {};
    symbol_list symbols = {};

    /// Relocation `i` of a section of this input, which has so many.
    [[nodiscard]] relocation relocation_at(const section& scn, u32 i) const;
    /// The file from an offset on.
    [[nodiscard]] const u8* at(u64 offset) const { return file_->data() + offset; }
    [[nodiscard]] u64 size() const { return file_->size(); }
    /// Whether the file holds `length` bytes from `offset` on.
    [[nodiscard]] bool holds(u64 offset, u64 length) const { return offset + length <= file_->size(); }

private:
    const bytes* file_;
};

}  // namespace second_opinion

#endif

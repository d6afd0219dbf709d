// A module taken apart: where everything lies. Nothing is judged here; what does not fit the file is left out.
#ifndef MODFORGE_TOOLS_VELMDUMP_VELM_MODULE_H
#define MODFORGE_TOOLS_VELMDUMP_VELM_MODULE_H

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

#include "format/module_format.h"
#include "format/reloc_record.h"
#include "tools/velmdump/module_bytes.h"

/// One image packet. Offsets in the file, bytes.
struct packet_place {
    std::uint64_t offset;
    velm_packet_header header;

    [[nodiscard]] std::uint64_t data() const { return offset + sizeof(velm_packet_header); }
    [[nodiscard]] std::uint64_t padded_size() const {
        return (std::uint64_t{header.data_size} + 3) & ~std::uint64_t{3};
    }
    [[nodiscard]] std::uint64_t relocs() const { return data() + padded_size(); }
    [[nodiscard]] std::uint64_t end() const { return relocs() + sizeof(reloc_record) * std::uint64_t{header.nreloc}; }
};

/// Packets one behind the other, read when they are looked at: a file can hold more of them than memory should.
class packet_range {
public:
    class iterator {
    public:
        using value_type = packet_place;
        using difference_type = std::ptrdiff_t;

        iterator() = default;
        iterator(const module_bytes& raw, std::uint64_t offset, std::uint32_t left);
        const packet_place& operator*() const { return packet_; }
        const packet_place* operator->() const { return &packet_; }
        iterator& operator++();
        iterator operator++(int);
        bool operator==(std::default_sentinel_t /*end*/) const { return left_ == 0; }
        bool operator==(const iterator& other) const { return left_ == other.left_; }

    private:
        const module_bytes* raw_ = nullptr;
        packet_place packet_{};
        std::uint32_t left_ = 0;  ///< packets from this one on
    };

    packet_range(const module_bytes& raw, std::uint64_t offset, std::uint32_t count)
        : raw_(raw), offset_(offset), count_(count) {}
    [[nodiscard]] iterator begin() const { return {raw_, offset_, count_}; }
    [[nodiscard]] static std::default_sentinel_t end() { return {}; }
    [[nodiscard]] std::uint32_t size() const { return count_; }
    [[nodiscard]] bool empty() const { return count_ == 0; }

private:
    const module_bytes& raw_;
    std::uint64_t offset_;
    std::uint32_t count_;
};

struct section_place {
    std::uint64_t offset;  ///< of its header
    velm_scnhdr_record header;
    std::uint32_t packets_in_file = 0;  ///< as many of its packets as lie in the file; velm_module::packets gives them
    int width = 8;                      ///< bits of an address unit, from the contents; else the target's; else 8
    std::uint64_t contents_size = 0;    ///< bytes in the packets
    std::uint64_t nreloc = 0;

    /// The place of a relocation, bytes from the start of its packet's data. Nothing wraps; a place before the packet is
    /// negative.
    [[nodiscard]] std::int64_t byte_place(const reloc_record& rec) const {
        return std::int64_t{static_cast<std::int32_t>(rec.r_vaddr)} * (width / 8);
    }
    /// The same in address units from the start of the section, for a packet that begins `packet_start` bytes behind it;
    /// negative when it lies before the section.
    [[nodiscard]] std::int64_t place(const reloc_record& rec, std::uint64_t packet_start) const {
        return static_cast<std::int64_t>(packet_start / (static_cast<unsigned>(width) / 8U)) +
               static_cast<std::int32_t>(rec.r_vaddr);
    }
    /// The run address of a place in the section; it wraps as the target's addresses do.
    [[nodiscard]] std::uint32_t run_address(std::int64_t place) const {
        return header.paddr + static_cast<std::uint32_t>(place);
    }
};

class velm_module {
public:
    explicit velm_module(module_bytes bytes);

    module_bytes raw;
    bool has_header = false;  ///< the file is a module: it holds header and verification record
    velm_filehdr header{};
    velm_verifyrec verify{};
    std::uint64_t strtab_size = 0;  ///< as much of it as the file holds
    std::vector<section_place> sections;
    std::vector<velm_symbol_record> symbols;
    std::uint64_t tables_end = 0;   ///< where the first packet belongs
    std::uint64_t packets_end = 0;  ///< where the last packet ends; the end of the file in a sound module

    [[nodiscard]] std::uint64_t section_headers() const {
        return velm_strtab_offset + std::uint64_t{header.strtab_size};
    }
    [[nodiscard]] std::uint64_t symbol_records() const {
        return section_headers() + sizeof(velm_scnhdr_record) * std::uint64_t{header.nscns};
    }
    [[nodiscard]] std::uint64_t size() const { return raw.bytes.size(); }

    /// The string at an offset of the string table, as far as the table goes; empty outside it.
    [[nodiscard]] std::string_view string(std::uint32_t offset) const;
    [[nodiscard]] std::string_view name(const section_place& section) const {
        return string(section.header.name_offset);
    }
    /// The symbol's name; empty for a nameless one.
    [[nodiscard]] std::string_view name(const velm_symbol_record& symbol) const { return string(symbol.name_offset); }
    /// The packets of a section; valid as long as the module stays where it is.
    [[nodiscard]] packet_range packets(const section_place& section) const {
        return {raw, section.header.first_packet, section.packets_in_file};
    }
    /// The packet that begins at a file offset; its header must lie in the file.
    [[nodiscard]] packet_place packet(std::uint64_t offset) const;
    /// Relocation `i` of a packet.
    [[nodiscard]] reloc_record reloc(const packet_place& packet, std::uint32_t i) const;
    /// The contents of a section, put together.
    [[nodiscard]] std::vector<unsigned char> contents(const section_place& section) const;

    [[nodiscard]] bool is_export(const velm_symbol_record& s) const { return is_named(s) && s.section != 0; }
    [[nodiscard]] bool is_import(const velm_symbol_record& s) const { return is_named(s) && s.section == 0; }
    static bool is_named(const velm_symbol_record& s) { return s.storage_class != velm_local_class; }
    /// Whether nothing in the module says that it has more than symbols.
    [[nodiscard]] bool symbols_only() const;

private:
    [[nodiscard]] bool fits(std::uint64_t offset, std::uint64_t bytes) const {
        return offset <= size() && bytes <= size() - offset;
    }
    void read_header();
    void read_sections();
    void read_symbols();
    void read_packets();
    [[nodiscard]] int width_of(const section_place& section) const;
};

#endif

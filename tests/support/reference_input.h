// The reference converter's view of its input: the COFF image taken apart, and the entries files.
// Everything is held as it will be needed, in host order; nothing is shared with the product.
#ifndef MODFORGE_SUPPORT_REFERENCE_INPUT_H
#define MODFORGE_SUPPORT_REFERENCE_INPUT_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "support/bytes.h"

namespace support::reference {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using i32 = std::int32_t;

/// Thrown where the run would end with status 1.
struct run_over {
    std::string err = {};  ///< what it says on standard error; nothing when the words are the product's own
    std::string out = {};  ///< what it says on standard output
};

struct relocation {
    u32 vaddr = 0;
    u32 symndx = 0;
    std::array<u8, 4> descriptor{};  ///< the same four bytes as they lie in the file
    u16 disp = 0;
    u16 type = 0;
};

struct section {
    std::string name = {};
    u32 number = 0, paddr = 0, vaddr = 0, size = 0, scnptr = 0, flags = 0, width = 0;
    u16 page = 0;
    std::vector<relocation> relocs = {};
    // In the module:
    u32 name_offset = 0, first_packet = 0, packet_count = 0;
    u16 module_number = 0, module_flags = 0;
    std::optional<bytes> contents = {};

    [[nodiscard]] u32 byte_size() const { return (width >> 3) * size; }
};

struct symbol {
    std::string name = {};
    u32 index = 0;  ///< in the symbol table, auxiliary entries counted
    u32 value = 0;
    int scnum = 0, sclass = 0;
};

struct coff_input {
    u32 timestamp = 0, nsyms = 0, entry_point = 0;
    u16 flags = 0, target = 0;
    std::vector<section> sections = {};
    std::vector<symbol> symbols = {};
};

/// What a run may take for relocations and for contents, in bytes, from an input of that size.
inline std::uint64_t memory_limit(const bytes& data) {
    return 16 * data.size() + (16 << 20);
}

/// Whether the input holds `length` bytes from `offset` on.
inline bool holds(const bytes& data, std::uint64_t offset, std::uint64_t length) {
    return offset + length <= data.size();
}

coff_input read_coff(const bytes& data);

/// All entries files of a run.
class entries {
public:
    /// Takes the contents of the files; `warnings` gets what is said about duplicates, unless null.
    entries(const std::vector<std::string>& files, std::string* warnings);

    /// Whether the symbol is to be exported; marks the entry that says so.
    bool exports(const symbol& sym, const std::vector<section>& sections);
    bool excludes(std::string section_name);
    /// The warnings about entries that matched nothing.
    [[nodiscard]] std::string missing(const std::string& input_name) const;

private:
    struct entry {
        std::string name;
        bool optional = false, found = false;
    };
    using table = std::array<std::vector<entry>, 32>;  // each bucket with its latest entry first

    void read(const std::string& text);
    void add(std::string token);
    void add_to_table(table& to, const std::string& name, bool optional);
    static std::vector<entry>& bucket(table& in, const std::string& name);
    static entry* find(table& in, const std::string& name);

    bool everything_;  // no files: every symbol is an entry, no section is excluded
    std::string* warnings_;
    table symbols_, excluded_sections_;
    std::vector<entry> prefixes_, exporting_sections_;
};

}  // namespace support::reference

#endif

// What of a module's bytes is what.
#ifndef MODFORGE_TOOLS_VELMDUMP_MODULE_SIZES_H
#define MODFORGE_TOOLS_VELMDUMP_MODULE_SIZES_H

#include <cstdint>

#include "tools/velmdump/velm_module.h"

/// Bytes. `code` and `data` are contents in the module; `bss` is memory for which it holds none.
struct size_shares {
    std::uint64_t code = 0;
    std::uint64_t data = 0;
    std::uint64_t bss = 0;
    std::uint64_t relocs = 0;   ///< relocation records
    std::uint64_t packets = 0;  ///< packet headers and padding

    size_shares& operator+=(const size_shares& other);
    /// What of it lies in the file.
    [[nodiscard]] std::uint64_t in_file() const { return code + data + relocs + packets; }
};

size_shares sizes_of(const velm_module& module, const section_place& section);

/// The sum over all sections.
size_shares sizes_of(const velm_module& module);

/// File header, verification record, names, section headers and symbols.
inline std::uint64_t table_bytes(const velm_module& module) {
    return module.tables_end;
}

/// The memory that the section takes at run time, bytes.
std::uint64_t memory_bytes(const section_place& section);

#endif

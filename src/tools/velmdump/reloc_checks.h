// Relocation records.
#ifndef MODFORGE_TOOLS_VELMDUMP_RELOC_CHECKS_H
#define MODFORGE_TOOLS_VELMDUMP_RELOC_CHECKS_H

#include <cstdint>

#include "tools/velmdump/velm_module.h"

class finding_list;

/// The relocations of one section, packet by packet.
class reloc_checker {
public:
    reloc_checker(const velm_module& module, const section_place& section, finding_list& report)
        : module_(module), section_(section), report_(report) {}

    /// One record at file offset `at`, in a packet that starts `packet_start` bytes into the section.
    void check(const reloc_record& rec, std::uint64_t at, std::int64_t packet_start, std::uint32_t packet_size);

private:
    void check_words(const reloc_record& rec, std::uint64_t at);
    void check_field(const reloc_record& rec, std::uint64_t at);

    const velm_module& module_;
    const section_place& section_;
    finding_list& report_;
    std::int64_t last_ = 0;  ///< place of the record before, bytes from the start of the section
};

#endif

#include "tools/velmdump/checks.h"

#include <algorithm>
#include <cstddef>
#include <unordered_map>

#include "tools/common/text_forms.h"
#include "tools/velmdump/check_report.h"
#include "tools/velmdump/packet_checks.h"
#include "tools/velmdump/show.h"
#include "tools/velmdump/string_checks.h"

namespace {

constexpr std::uint16_t f_relflg = 0x0001;  ///< COFF file flag: relocations stripped

/// The storage classes that a module holds.
bool is_module_class(std::uint16_t sclass) {
    constexpr std::uint16_t classes[] = {2, 3, 5, 6, 14, 19, 21, 23, 24, 25, 26, 28};
    return std::find(std::begin(classes), std::end(classes), sclass) != std::end(classes);
}

void check_sum(const velm_module& module, std::uint64_t offset, std::uint64_t size, std::uint32_t stored,
               std::uint64_t stored_at, const char* what, check_report& report) {
    if (offset + size > module.size())
        return;  // the end of the file is told elsewhere
    const std::uint32_t computed = ~module.raw.sum(offset, size);
    if (computed != stored)
        report.error(stored_at, "%s checksum is 0x%08X, but should be 0x%08X", what, stored, computed);
}

void check_header(const velm_module& module, check_report& report) {
    const velm_filehdr& header = module.header;
    check_sum(module, 0, 32, header.header_checksum, 32, "header", report);
    check_sum(module, 36, 16, module.verify.verifyrec_checksum, 52, "verification record", report);
    if (header.byte_order_mark != velm_byte_order_mark)
        report.error(offsetof(velm_filehdr, byte_order_mark), "byte-order word is 0x%08X", header.byte_order_mark);
    if (header.strtab_size % 4 != 0)
        report.error(0, "size of the string table, %u, is no multiple of 4", header.strtab_size);
    if (header.reserved != 0)
        report.error(offsetof(velm_filehdr, reserved), "reserved field is not zero");
}

void check_entry(const velm_module& module, check_report& report) {
    const velm_filehdr& header = module.header;
    constexpr std::uint64_t at = offsetof(velm_filehdr, entry_scn);
    if (header.entry_scn == velm_absolute_entry)
        return;
    if (header.entry_scn > header.nscns) {
        report.error(at, "entry point in section %u of %u", header.entry_scn, header.nscns);
    } else if (header.entry_scn == 0) {
        if (header.entry_point != 0)
            report.warning(at, "entry point 0x%08X in a section that is not in the module", header.entry_point);
    } else if (header.entry_scn <= module.sections.size() &&
               header.entry_point >= module.sections[header.entry_scn - 1U].header.size) {
        report.warning(at, "entry point 0x%08X lies outside its section", header.entry_point);
    }
}

void check_flags(const velm_module& module, const section_place& section, check_report& report) {
    const velm_scnhdr_record& header = section.header;
    const std::uint64_t at = section.offset + offsetof(velm_scnhdr_record, flags);
    const unsigned type = header.flags & velm_scn_type_mask;
    const bool relocated = (header.flags & velm_scn_relocated) != 0;
    const bool data = (header.flags & velm_scn_has_data) != 0;
    constexpr unsigned known = velm_scn_type_mask | velm_scn_relocated | velm_scn_has_data | velm_scn_align_mask;
    if ((header.flags & ~known) != 0 || type > velm_scn_init_table)
        report.error(at, "section flags 0x%04X", header.flags);
    if (header.size == 0 && (relocated || data))
        report.error(at, "empty section with the flags of one that has contents");
    if (relocated && (module.header.flags & f_relflg) != 0)
        report.error(at, "relocated section in a module whose relocations were stripped");
    if (relocated && type == velm_scn_init_table)
        report.error(at, "initialisation table that is relocated in place");
    // Uninitialised sections have the flag without packets where the COFF file gave them a file pointer; code too.
    if (data && header.npackets == 0 && (type == velm_scn_data || type == velm_scn_init_table))
        report.error(at, "section with contents, but without packets");
    if (header.npackets != 0 && type == velm_scn_uninitialised)
        report.error(at, "uninitialised section with packets");
    // Only copy sections carry packets without the flag, and those have no address.
    if (header.npackets != 0 && !data && relocated)
        report.error(at, "section with packets, but without the flag for contents");
    const bool copied = header.npackets != 0 && (!data || type == velm_scn_init_table);
    if (copied && (header.paddr != 0 || header.vaddr != 0))
        report.error(section.offset + 4, "copy section with contents and an address");
}

/// The group that the section must be in, as far as its header tells; 2 stands for the last two, 0 for any.
int group_of(const velm_module& module, const section_place& section) {
    const unsigned flags = section.header.flags;
    if ((flags & velm_scn_type_mask) == velm_scn_init_table)
        return 3;
    if ((flags & velm_scn_relocated) != 0)
        return 1;
    if ((flags & velm_scn_has_data) != 0)  // a copy section of that name has the flag as well
        return module.name(section) == ".cinit" ? 0 : 1;
    return section.header.npackets != 0 ? 3 : 2;
}

void check_sections(const velm_module& module, check_report& report) {
    int group = 1;
    bool tables_over = false;  // another section of the third group, or of an unknown one, came behind its tables
    unsigned relocated = 0;
    for (const section_place& section : module.sections) {
        check_flags(module, section, report);
        relocated += (section.header.flags & velm_scn_relocated) != 0;
        const int own = group_of(module, section);
        const bool table = (section.header.flags & velm_scn_type_mask) == velm_scn_init_table;
        if (own == 1 && group > 1)
            report.error(section.offset, "loaded section stands behind one that is not loaded");
        if (table && tables_over)
            report.error(section.offset, "initialisation table is not at the head of its group");
        group = std::max(group, own);
        tables_over |= group == 3 && !table;
    }
    if (relocated != module.header.n_reloc_scns)
        report.error(offsetof(velm_filehdr, n_reloc_scns), "%u relocated sections, but the header says %u", relocated,
                     module.header.n_reloc_scns);
}

void check_symbols(const velm_module& module, check_report& report) {
    std::unordered_map<std::uint32_t, std::uint64_t> exported;  // by name offset
    std::uint64_t at = module.symbol_records();
    for (const velm_symbol_record& symbol : module.symbols) {
        const bool named = velm_module::is_named(symbol);
        if (named == (symbol.name_offset == velm_no_name))
            report.error(at, named ? "symbol without a name of class %u" : "symbol with a name of class %u",
                         symbol.storage_class);
        if (!is_module_class(symbol.storage_class))
            report.error(at + 10, "symbol of class %u", symbol.storage_class);
        if (symbol.section > static_cast<int>(module.header.nscns))
            report.error(at + 8, "symbol in section %d of %u", symbol.section, module.header.nscns);
        if (module.is_import(symbol) && symbol.value != 0)
            report.warning(at, "symbol %s has a value, but its section is not in the module",
                           printable(module.name(symbol)).c_str());
        if (module.is_export(symbol) && !exported.emplace(symbol.name_offset, at).second)
            report.warning(at, "symbol %s is exported twice", printable(module.name(symbol)).c_str());
        at += sizeof symbol;
    }
}

}  // namespace

std::vector<finding> check_module(const velm_module& module) {
    check_report report;
    if (!module.has_header) {
        report.error(0, "not a VELM module: %s", module.raw.why_no_module.c_str());
        return std::move(report).sorted(module.raw);
    }
    if (const auto& deviation = module.raw.deviation)
        report.error(deviation->word * 4, "column %zu: not in the text form of a module from here on",
                     deviation->column);
    check_header(module, report);
    check_sum(module, velm_strtab_offset, module.header.strtab_size & ~3U, module.verify.strtab_checksum, 44,
              "string table", report);
    check_sum(module, module.section_headers(), module.symbol_records() - module.section_headers(),
              module.verify.scnhdr_checksum, 40, "section header", report);
    check_sum(module, module.symbol_records(), module.tables_end - module.symbol_records(),
              module.verify.symtab_checksum, 48, "symbol table", report);
    check_entry(module, report);
    check_sections(module, report);
    check_symbols(module, report);
    check_strings(module, report);
    check_packets(module, report);
    return std::move(report).sorted(module.raw);
}

bool has_errors(const std::vector<finding>& findings) {
    return std::any_of(findings.begin(), findings.end(), [](const finding& f) { return f.error; });
}

// The order of the checks: first what holds the parts together, then each part by itself. Where the parts are not where
// the header says, everything else would be read from the wrong place: then nothing more is said.
#include "tools/velmdump/checks.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "format/limits.h"
#include "format/targets.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/packet_checks.h"
#include "tools/velmdump/section_checks.h"
#include "tools/velmdump/string_checks.h"
#include "tools/velmdump/symbol_checks.h"

namespace {

/// A table of the module with its checksum in the verification record.
struct summed_table {
    const char* name;
    std::uint64_t offset;
    std::uint64_t size;
    std::uint64_t stored_at;
    bool& sound;

    [[nodiscard]] std::uint32_t right_sum(const velm_module& module) const { return ~module.raw.sum(offset, size); }
};

constexpr std::uint64_t verify_offset = sizeof(velm_filehdr);

/// The sums of the verification record and of the tables. Where the record is wrong, but right with the sums that the
/// tables should have, one of its fields was hit and the tables are sound.
void check_table_sums(const velm_module& module, sound_parts& parts, finding_list& report) {
    summed_table tables[] = {
        {"section header", module.section_headers(), module.symbol_records() - module.section_headers(),
         verify_offset + offsetof(velm_verifyrec, scnhdr_checksum), parts.sections},
        {"string table", velm_strtab_offset, module.header.strtab_size,
         verify_offset + offsetof(velm_verifyrec, strtab_checksum), parts.strings},
        {"symbol table", module.symbol_records(), module.tables_end - module.symbol_records(),
         verify_offset + offsetof(velm_verifyrec, symtab_checksum), parts.symbols},
    };
    const std::uint32_t record = module.raw.sum(verify_offset, sizeof(velm_verifyrec));
    std::uint32_t mended = record;
    for (const summed_table& table : tables)
        mended += table.right_sum(module) - module.raw.word(table.stored_at);
    const bool record_hit = record != 0xFFFFFFFFU && mended == 0xFFFFFFFFU;
    for (const summed_table& table : tables) {
        const std::uint32_t stored = module.raw.word(table.stored_at);
        const std::uint32_t right = table.right_sum(module);
        table.sound = stored == right || record_hit;
        if (stored != right)
            report.error(table.stored_at, "%s checksum is 0x%08X, but should be 0x%08X", table.name, stored, right);
    }
    if (record != 0xFFFFFFFFU && !record_hit)
        report.error(verify_offset + offsetof(velm_verifyrec, verifyrec_checksum),
                     "verification record checksum is 0x%08X, but should be 0x%08X", module.verify.verifyrec_checksum,
                     ~(record - module.verify.verifyrec_checksum));
}

/// Whether the first packet, or else the end of the file, lies where the tables end.
bool tables_end_in_place(const velm_module& module, const sound_parts& parts, finding_list& report) {
    if (!parts.sections)
        return true;  // not known where the packets are
    const auto first = std::find_if(module.sections.begin(), module.sections.end(),
                                    [](const section_place& section) { return section.header.first_packet != 0; });
    if (first == module.sections.end()) {
        if (module.tables_end < module.size())
            report.error(module.tables_end, "%s behind the end of the module",
                         counted(module.size() - module.tables_end, "byte").c_str());
        return module.tables_end == module.size();
    }
    if (first->header.first_packet != module.tables_end)
        report.error(first->offset + offsetof(velm_scnhdr_record, first_packet),
                     "the first packet is to be at 0x%X, but strings, %s and %s end at 0x%llX",
                     first->header.first_packet, counted(module.header.nscns, "section header").c_str(),
                     counted(module.header.nsyms, "symbol").c_str(), wide(module.tables_end));
    return first->header.first_packet == module.tables_end;
}

/// Sums and places. False when the parts are not where they seem to be.
bool check_frame(const velm_module& module, sound_parts& parts, finding_list& report) {
    const std::uint32_t sum = module.raw.sum(0, sizeof(velm_filehdr));
    parts.header = sum == 0xFFFFFFFFU;
    finding_list tables;
    const bool in_file = module.tables_end <= module.size() && module.header.strtab_size % 4 == 0;
    if (in_file)
        check_table_sums(module, parts, tables);
    if (!parts.header) {
        report.error(offsetof(velm_filehdr, header_checksum), "header checksum is 0x%08X, but should be 0x%08X",
                     module.header.header_checksum, ~(sum - module.header.header_checksum));
        if (!in_file || tables.has_errors())
            return false;
    }
    if (module.header.strtab_size % 4 != 0)
        report.error(0, "size of the string table, %u, is no multiple of 4", module.header.strtab_size);
    else if (!in_file)
        report.error(module.size(), "the file ends inside its tables, at byte %llu of %llu", wide(module.size()),
                     wide(module.tables_end));
    report.take(std::move(tables));
    return in_file && tables_end_in_place(module, parts, report);
}

void check_header(const velm_module& module, finding_list& report) {
    const velm_filehdr& header = module.header;
    if (header.byte_order_mark != velm_byte_order_mark)
        report.error(offsetof(velm_filehdr, byte_order_mark), "byte-order word is 0x%08X", header.byte_order_mark);
    if (header.reserved != 0)
        report.error(offsetof(velm_filehdr, reserved), "reserved field is not zero");
    if (header.nscns != 0 && target_width(header.target_id) == 0)
        report.error(offsetof(velm_filehdr, target_id), "no target has the id 0x%04X", header.target_id);
    if (header.nscns > max_sections)
        report.error(offsetof(velm_filehdr, nscns), "%u sections: a module has at most %u", header.nscns, max_sections);
}

}  // namespace

std::vector<finding> check_module(const velm_module& module) {
    finding_list report;
    sound_parts parts;
    if (!module.has_header) {
        report.error(0, "not a VELM module: %s", module.raw.why_no_module.c_str());
        return std::move(report).sorted(module.raw);
    }
    if (const auto& deviation = module.raw.deviation)
        report.error(deviation->word * 4, "column %zu: not in the text form of a module from here on",
                     deviation->column);
    if (check_frame(module, parts, report)) {
        if (parts.header)
            check_header(module, report);
        check_sections(module, parts, report);
        check_symbols(module, parts, report);
        check_strings(module, parts, report);
        check_packets(module, parts, report);
    }
    return std::move(report).sorted(module.raw);
}

bool has_errors(const std::vector<finding>& findings) {
    return std::any_of(findings.begin(), findings.end(), [](const finding& f) { return f.error; });
}

// Lays the string table out again, name by name, as the converter did.
//
// Every name offset must be that of a name already laid, or the place where the next one begins. So a name that was
// moved, cut or doubled shows, even when the checksum was repaired. Behind a wrong offset the layout goes on from there:
// it is told once.
#include "tools/velmdump/string_checks.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

#include "tools/common/text_forms.h"
#include "tools/velmdump/checks.h"
#include "tools/velmdump/findings.h"
#include "tools/velmdump/velm_module.h"

namespace {

class table_layout {
public:
    table_layout(const velm_module& module, finding_list& report) : module_(module), report_(report) {}

    /// The module's own name, which nothing refers to and which does not count as the longest.
    void lay_module_name() {
        lay(0, velm_strtab_offset, "the module's name");
        longest_ = 0;
    }

    /// The name at `offset`, which the record at file offset `where` refers to.
    void lay(std::uint32_t offset, std::uint64_t where, const char* whose) {
        if (starts_.contains(offset))
            return;
        if (offset != next_ && !faulty_) {
            faulty_ = true;
            report_.error(where, "%s: name offset %u, but the next name begins at %u", whose, offset, next_);
        }
        if (offset < next_)
            return;
        const std::string_view name = module_.string(offset);
        if (offset + name.size() >= module_.strtab_size) {
            if (!faulty_)
                report_.error(where, "%s: the name at offset %u does not end inside the string table", whose, offset);
            faulty_ = true;
            return;
        }
        starts_.insert(offset);
        if (!texts_.insert(name).second && !faulty_)
            report_.error(velm_strtab_offset + std::uint64_t{offset},
                          "%s: the name at offset %u stands in the table twice", whose, offset);
        next_ = offset + static_cast<std::uint32_t>(name.size()) + 1;
        longest_ = std::max<std::size_t>(longest_, name.size() + 1);
    }

    /// From here on, names may lie anywhere.
    void forgive() { faulty_ = true; }

    /// Where the next new name begins.
    [[nodiscard]] std::uint32_t next() const { return next_; }
    [[nodiscard]] std::size_t longest() const { return longest_; }
    /// Whether an offset was wrong: then totals mean nothing.
    [[nodiscard]] bool faulty() const { return faulty_; }

private:
    const velm_module& module_;
    finding_list& report_;
    std::unordered_set<std::uint32_t> starts_;
    std::unordered_set<std::string_view> texts_;
    std::uint32_t next_ = 0;
    std::size_t longest_ = 0;
    bool faulty_ = false;
};

void lay_sections(const velm_module& module, table_layout& layout) {
    for (const section_place& section : module.sections)
        layout.lay(section.header.name_offset, section.offset, "section");
}

void lay_symbols(const velm_module& module, table_layout& layout) {
    std::uint64_t where = module.symbol_records();
    for (const velm_symbol_record& symbol : module.symbols) {
        const bool has_name = symbol.name_offset != velm_no_name;
        if (has_name != velm_module::is_named(symbol))
            layout.forgive();  // what it should be is not known, and told with the symbol
        else if (has_name)
            layout.lay(symbol.name_offset, where, "symbol");
        where += sizeof symbol;
    }
}

void check_totals(const velm_module& module, const table_layout& layout, const sound_parts& parts,
                  finding_list& report) {
    const std::uint64_t padded = (std::uint64_t{layout.next()} + 3) & ~std::uint64_t{3};
    const auto table = module.raw.bytes.begin() + velm_strtab_offset;
    const auto end = table + static_cast<std::ptrdiff_t>(module.strtab_size);
    if (padded != module.header.strtab_size)
        report.error(0, "the string table has %s, but its names take %llu",
                     counted(module.header.strtab_size, "byte").c_str(), wide(padded));
    else if (std::any_of(table + layout.next(), end, [](unsigned char byte) { return byte != 0; }))
        report.error(velm_strtab_offset + std::uint64_t{layout.next()}, "padding of the string table is not zero");
    else if (parts.header && layout.longest() != module.header.max_str_len)
        report.error(offsetof(velm_filehdr, max_str_len), "the longest name takes %s, not %u",
                     counted(layout.longest(), "byte").c_str(), module.header.max_str_len);
}

}  // namespace

bool begins_with_module_name(const velm_module& module) {
    if (module.sections.empty())
        return module.header.scn_name_size != 0;
    if (module.sections[0].header.name_offset != 0 || !module.symbols_only())
        return true;
    // The first section's name may equal the module's; only then does the longest name not count it.
    finding_list ignored;
    table_layout without(module, ignored);
    lay_sections(module, without);
    lay_symbols(module, without);
    return without.longest() != module.header.max_str_len;
}

void check_strings(const velm_module& module, const sound_parts& parts, finding_list& report) {
    if (!parts.strings || !parts.sections)
        return;
    table_layout layout(module, report);
    if (begins_with_module_name(module))
        layout.lay_module_name();
    lay_sections(module, layout);
    if (parts.header && !layout.faulty() && layout.next() != module.header.scn_name_size) {
        report.error(offsetof(velm_filehdr, scn_name_size), "the names of module and sections take %s, not %u",
                     counted(layout.next(), "byte").c_str(), module.header.scn_name_size);
        layout.forgive();
    }
    if (!parts.symbols)
        return;
    lay_symbols(module, layout);
    if (!layout.faulty())
        check_totals(module, layout, parts, report);
}

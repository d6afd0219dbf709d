// Lays the string table out again, name by name, as the converter did.
//
// Every name offset must be that of a name already laid, or the place where the next one begins. So a name that was
// moved, cut or doubled shows, even when the checksum was repaired.
#include "tools/velmdump/string_checks.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "tools/velmdump/check_report.h"
#include "tools/velmdump/velm_module.h"

namespace {

class table_layout {
public:
    table_layout(const velm_module& module, check_report& report) : module_(module), report_(report) {}

    /// The module's own name, which nothing refers to and which does not count as the longest.
    void lay_module_name() {
        lay(0, velm_strtab_offset, "the module's name");
        longest_ = 0;
    }

    /// The name at `offset`, which the record at file offset `where` refers to.
    void lay(std::uint32_t offset, std::uint64_t where, const char* whose) {
        if (offset < next_) {
            if (starts_.count(module_.string(offset)) == 0 || starts_[module_.string(offset)] != offset)
                report_.error(where, "%s: name offset %u is not the start of a name", whose, offset);
            return;
        }
        if (offset != next_) {
            report_.error(where, "%s: name offset %u, but the next name begins at %u", whose, offset, next_);
            return;
        }
        const std::string_view name = module_.string(offset);
        if (offset + name.size() >= module_.strtab_size) {
            report_.error(where, "%s: the name at offset %u does not end inside the string table", whose, offset);
            return;
        }
        if (!starts_.emplace(name, offset).second)
            report_.error(velm_strtab_offset + offset, "%s: the name at offset %u stands in the table twice", whose,
                          offset);
        next_ += static_cast<std::uint32_t>(name.size()) + 1;
        longest_ = std::max<std::size_t>(longest_, name.size() + 1);
    }

    [[nodiscard]] std::uint32_t next() const { return next_; }
    [[nodiscard]] std::size_t longest() const { return longest_; }

private:
    const velm_module& module_;
    check_report& report_;
    std::unordered_map<std::string_view, std::uint32_t> starts_;
    std::uint32_t next_ = 0;  ///< where the next new name begins
    std::size_t longest_ = 0;
};

void lay_sections(const velm_module& module, table_layout& layout) {
    for (const section_place& section : module.sections)
        layout.lay(section.header.name_offset, section.offset, "section");
}

/// Whether the table begins with the name of the module, as it does unless only symbols were wanted. Where both would
/// do, the size of the first part decides.
bool begins_with_module_name(const velm_module& module) {
    if (module.header.scn_name_size == 0)
        return false;
    if (module.sections.empty() || module.sections[0].header.name_offset != 0)
        return true;
    if (!module.symbols_only())
        return true;
    // The first section's name may equal the module's; only then does the longest name not count it.
    check_report ignored;
    table_layout without(module, ignored);
    lay_sections(module, without);
    for (const velm_symbol_record& symbol : module.symbols) {
        if (symbol.name_offset != velm_no_name)
            without.lay(symbol.name_offset, 0, "");
    }
    return without.longest() != module.header.max_str_len;
}

void check_padding(const velm_module& module, std::uint32_t used, check_report& report) {
    const std::uint64_t padded = (std::uint64_t{used} + 3) & ~std::uint64_t{3};
    if (padded != module.header.strtab_size) {
        report.error(0, "the string table has %u bytes, but its names take %llu", module.header.strtab_size,
                     static_cast<unsigned long long>(padded));
        return;
    }
    for (std::uint64_t i = used; i < module.strtab_size; ++i) {
        if (module.raw.bytes[velm_strtab_offset + i] != 0)
            report.error(velm_strtab_offset + i, "padding byte of the string table is not zero");
    }
}

}  // namespace

void check_strings(const velm_module& module, check_report& report) {
    table_layout layout(module, report);
    if (begins_with_module_name(module))
        layout.lay_module_name();
    lay_sections(module, layout);
    if (layout.next() != module.header.scn_name_size)
        report.error(offsetof(velm_filehdr, scn_name_size), "the names of module and sections take %u bytes, not %u",
                     layout.next(), module.header.scn_name_size);
    std::uint64_t where = module.symbol_records();
    for (const velm_symbol_record& symbol : module.symbols) {
        if (symbol.name_offset != velm_no_name)
            layout.lay(symbol.name_offset, where, "symbol");
        where += sizeof symbol;
    }
    if (layout.longest() != module.header.max_str_len)
        report.error(offsetof(velm_filehdr, max_str_len), "the longest name takes %zu bytes, not %u", layout.longest(),
                     module.header.max_str_len);
    check_padding(module, layout.next(), report);
}

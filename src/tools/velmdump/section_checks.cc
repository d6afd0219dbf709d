// Section by section what its header may say, then what holds for all together: order, places, the entry point.
#include "tools/velmdump/section_checks.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "format/coff_records.h"
#include "format/special_names.h"
#include "format/targets.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/checks.h"
#include "tools/velmdump/findings.h"
#include "tools/velmdump/module_words.h"
#include "tools/velmdump/velm_module.h"

namespace {

unsigned type_of(const section_place& section) {
    return section.header.flags & velm_scn_type_mask;
}

bool is_relocated(const section_place& section) {
    return (section.header.flags & velm_scn_relocated) != 0;
}

bool has_data(const section_place& section) {
    return (section.header.flags & velm_scn_has_data) != 0;
}

/// What is wrong with the flags, null when nothing is. `cinit`: whether the section is named so; `stripped`: whether the
/// relocations were.
const char* fault_in_flags(const section_place& section, bool cinit, bool stripped) {
    constexpr unsigned known = velm_scn_type_mask | velm_scn_relocated | velm_scn_has_data | velm_scn_align_mask;
    const unsigned type = type_of(section);
    const bool packets = section.header.npackets != 0;
    const bool table = type == velm_scn_init_table;
    const struct {
        bool wrong;
        const char* text;
    } rules[] = {
        {(section.header.flags & ~known) != 0 || type > velm_scn_init_table, "a value that no section has"},
        {section.header.size == 0 && (is_relocated(section) || has_data(section) || packets),
         "an empty section has no contents"},
        {is_relocated(section) && stripped, "relocated, though the file flags say that relocations were stripped"},
        {is_relocated(section) && table, "an initialisation table is not relocated in place"},
        {table && !cinit, "an initialisation table is named .cinit"},
        // Uninitialised sections have the flag without packets where the COFF file gave them a file pointer; code too.
        {has_data(section) && !packets && (type == velm_scn_data || table), "contents, but no packets"},
        {packets && type == velm_scn_uninitialised, "uninitialised, but with packets"},
        // Only copy sections carry packets without the flag, and they are not relocated.
        {packets && !has_data(section) && is_relocated(section), "packets, but not the flag for contents"},
        {packets && !has_data(section) && cinit, "a .cinit with packets, but not the flag for contents"},
        {has_data(section) && !is_relocated(section) && !stripped && !cinit,
         "contents, but not relocated, though the file flags say that relocations are there"},
    };
    const auto* const broken = std::find_if(std::begin(rules), std::end(rules), [](const auto& r) { return r.wrong; });
    return broken == std::end(rules) ? nullptr : broken->text;
}

/// What the file flags say of the relocations. Where every section says the opposite, it is they that are wrong.
bool were_stripped(const velm_module& module, const sound_parts& parts, finding_list& report) {
    const auto speaks = [](const section_place& s) { return is_relocated(s) || has_data(s); };
    const auto speaking = std::count_if(module.sections.begin(), module.sections.end(), speaks);
    const auto relocated = std::count_if(module.sections.begin(), module.sections.end(), is_relocated);
    const bool stripped = (module.header.flags & f_relflg) != 0;
    if (!parts.header)
        return relocated == 0;
    if (!stripped || relocated < 2 || relocated < speaking - 1)
        return stripped;
    report.error(offsetof(velm_filehdr, flags),
                 "file flags 0x%04X say that relocations were stripped, but %u sections are relocated",
                 module.header.flags, static_cast<unsigned>(relocated));
    return false;
}

void check_section(const velm_module& module, const section_place& section, const sound_parts& parts, bool stripped,
                   finding_list& report) {
    const velm_scnhdr_record& header = section.header;
    // Without a name to trust, the rules about .cinit cannot be asked.
    const bool cinit = !parts.strings || module.name(section) == cinit_section_name;
    if (const char* fault = fault_in_flags(section, cinit, stripped)) {
        report.error(section.offset + offsetof(velm_scnhdr_record, flags), "section flags 0x%04X: %s", header.flags,
                     fault);
        return;
    }
    if (is_copy_without_address(section)) {
        if (header.paddr != 0 || header.vaddr != 0)
            report.error(section.offset + offsetof(velm_scnhdr_record, paddr),
                         "copy section with contents and an address");
        return;
    }
    const unsigned alignment = 1U << ((header.flags & velm_scn_align_mask) >> 8);
    if (header.paddr % alignment != 0)
        report.warning(section.offset + offsetof(velm_scnhdr_record, paddr),
                       "run address 0x%08X does not fit the alignment of %s", header.paddr,
                       counted(alignment, "unit").c_str());
    if (std::uint64_t{header.paddr} + header.size > 0x100000000U ||
        std::uint64_t{header.vaddr} + header.size > 0x100000000U)
        report.warning(section.offset + offsetof(velm_scnhdr_record, size), "section goes past the last address");
    const int width = target_width(module.header.target_id);
    if (parts.header && width != 0 && section.contents_size != 0 && section.width != width)
        report.warning(section.offset + offsetof(velm_scnhdr_record, size),
                       "address units of %d bits, where the target has %d", section.width, width);
}

/// The group that the section must be in, as far as its header tells; 2 stands for the last two, 0 for any.
int group_of(const velm_module& module, const section_place& section) {
    if (type_of(section) == velm_scn_init_table)
        return 3;
    if (is_relocated(section))
        return 1;
    if (has_data(section))  // a copy section of that name has the flag as well
        return module.name(section) == cinit_section_name ? 0 : 1;
    return section.header.npackets != 0 ? 3 : 2;
}

void check_order(const velm_module& module, finding_list& report) {
    int group = 1;
    bool tables_over = false;  // another section of the third group, or of an unknown one, came behind its tables
    for (const section_place& section : module.sections) {
        const int own = group_of(module, section);
        const bool table = type_of(section) == velm_scn_init_table;
        const bool loaded_late = own == 1 && group > 1;
        if (loaded_late || (table && tables_over)) {
            report.error(section.offset, loaded_late ? "loaded section stands behind one that is not loaded"
                                                     : "initialisation table is not at the head of its group");
            return;
        }
        group = std::max(group, own);
        tables_over |= group == 3 && !table;
    }
}

struct extent {
    std::uint16_t page;
    std::uint64_t start;
    std::uint64_t end;
    const section_place* section;
};

/// A warning for each section that begins inside another one of its page.
void check_overlaps(const velm_module& module, std::vector<extent> extents, const char* which, finding_list& report) {
    std::sort(extents.begin(), extents.end(), [](const extent& a, const extent& b) {
        return std::tie(a.page, a.start, a.section) < std::tie(b.page, b.start, b.section);
    });
    const extent* reaching = nullptr;  // goes furthest of those before
    for (const extent& own : extents) {
        if (reaching && reaching->page == own.page && own.start < reaching->end)
            report.warning(own.section->offset, "%s address of section %s lies inside section %s", which,
                           brief(module.name(*own.section)).c_str(), brief(module.name(*reaching->section)).c_str());
        if (!reaching || reaching->page != own.page || own.end > reaching->end)
            reaching = &own;
    }
}

/// Sections that are not loaded, as those with debugging information, have addresses that mean nothing.
void check_places(const velm_module& module, const sound_parts& parts, finding_list& report) {
    const bool stripped = !parts.header || (module.header.flags & f_relflg) != 0;
    std::vector<extent> run;
    std::vector<extent> load;
    bool apart = false;
    for (const section_place& section : module.sections) {
        const velm_scnhdr_record& h = section.header;
        if (h.size == 0 || is_copy_without_address(section) ||
            !(is_relocated(section) || has_data(section) || stripped))
            continue;
        run.push_back({h.page, h.paddr, std::uint64_t{h.paddr} + h.size, &section});
        if (h.npackets != 0)
            load.push_back({h.page, h.vaddr, std::uint64_t{h.vaddr} + h.size, &section});
        apart |= h.paddr != h.vaddr;
    }
    check_overlaps(module, std::move(run), "run", report);
    if (apart)
        check_overlaps(module, std::move(load), "load", report);
}

void check_entry(const velm_module& module, const sound_parts& parts, finding_list& report) {
    const velm_filehdr& header = module.header;
    constexpr std::uint64_t at = offsetof(velm_filehdr, entry_scn);
    const section_place* section = nullptr;
    if (header.entry_scn == velm_absolute_entry) {
        const auto holds = [&header](const section_place& s) {
            return header.entry_point - s.header.paddr < s.header.size && !is_copy_without_address(s);
        };
        const auto found = std::find_if(module.sections.begin(), module.sections.end(), holds);
        section = parts.sections && found != module.sections.end() ? &*found : nullptr;
    } else if (header.entry_scn > header.nscns) {
        report.error(at, "entry point in section %u of %u", header.entry_scn, header.nscns);
    } else if (header.entry_scn == 0) {
        if (header.entry_point != 0)
            report.warning(at, "entry point 0x%08X in a section that is not in the module", header.entry_point);
    } else if (parts.sections) {
        section = &module.sections[header.entry_scn - 1U];
        if (header.entry_point >= section->header.size)
            report.warning(at, "entry point 0x%08X lies outside its section", header.entry_point);
    }
    if (section && section->header.npackets == 0)
        report.warning(at, "entry point in section %s, which has no contents", brief(module.name(*section)).c_str());
}

}  // namespace

bool is_copy_without_address(const section_place& section) {
    return section.header.npackets != 0 && (!has_data(section) || type_of(section) == velm_scn_init_table);
}

void check_sections(const velm_module& module, const sound_parts& parts, finding_list& report) {
    if (parts.header)
        check_entry(module, parts, report);
    if (!parts.sections)
        return;
    const std::uint64_t before = report.errors();
    const bool stripped = were_stripped(module, parts, report);
    unsigned relocated = 0;
    for (const section_place& section : module.sections) {
        check_section(module, section, parts, stripped, report);
        relocated += is_relocated(section);
    }
    if (report.errors() != before)
        return;
    if (parts.header && relocated != module.header.n_reloc_scns)
        report.error(offsetof(velm_filehdr, n_reloc_scns), "%s, but the header says %u",
                     counted(relocated, "relocated section").c_str(), module.header.n_reloc_scns);
    if (parts.strings)
        check_order(module, report);
    if (!module.symbols_only())
        check_places(module, parts, report);
}

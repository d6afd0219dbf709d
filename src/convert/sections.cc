// Chooses the sections of the module, sorts them into three groups and numbers them.
#include "convert/sections.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "coff/coff_section.h"
#include "convert/entries_files.h"
#include "convert/options.h"
#include "convert/string_table.h"
#include "format/address_units.h"
#include "format/limits.h"
#include "format/reloc_types.h"
#include "format/special_names.h"
#include "msg/allocation.h"
#include "msg/error_exit.h"

namespace {

bool has_flag(COFF_SECTION* scn, std::uint32_t flag) {
    return (scn->sh_flags() & flag) != 0;
}

bool is_cinit(COFF_SECTION* scn) {
    return std::strcmp(scn->name(), cinit_section_name) == 0;
}

bool has_contents(COFF_SECTION* scn) {
    return scn->sh_scnptr() != 0 && !scn->is_bss() && scn->size_in_words() != 0;
}

/// Ends the run when the contents do not fit the arithmetic of packets, or when all contents together outgrow the
/// input, which takes sections that share their bytes in the file. `total` counts the contents seen so far.
void check_contents_size(COFF_SECTION* scn, std::uint64_t& total) {
    const std::uint64_t size = scn->byte_size();
    const std::int32_t packed = AUtobyte(static_cast<std::int32_t>(scn->size_in_words()), scn->wordsz());
    if (packed < 0 || size != static_cast<std::uint64_t>(packed))
        error_exit("ERROR: Section %s: contents of %llu bytes are too large\n", scn->name(),
                   static_cast<unsigned long long>(size));
    total += size;
    if (total > proportionate_size(coff_file.file_length()))
        error_exit("ERROR: Section %s: the contents of the sections are out of proportion to the input\n", scn->name());
}

std::uint16_t section_type(COFF_SECTION* scn) {
    // The order of the tests decides: a section that is both text and bss is code.
    if (has_flag(scn, s_text))
        return velm_scn_code;
    if (has_flag(scn, s_bss))
        return velm_scn_uninitialised;
    if (has_flag(scn, s_copy) && is_cinit(scn))
        return velm_scn_init_table;
    return velm_scn_data;
}

/// The flags that say how the loader treats the contents.
std::uint32_t load_flags(COFF_SECTION* scn) {
    // Nobody runs the start-up code of a file that is not executable: its initialisation tables are the loader's work.
    const bool loader_initialises = (coff_file.fh_flags() & f_exec) == 0 && !allow_runtime_cinit;
    if (loader_initialises && !has_flag(scn, s_copy) && is_cinit(scn))
        scn->add_flag(s_copy);
    const bool copied = has_flag(scn, s_copy);
    std::uint32_t flags = 0;
    // On purpose a bss section with a file pointer counts as one with data here, though it gets no packets, and a copy
    // section with contents counts only when it is ".cinit", though it gets packets.
    if (scn->sh_scnptr() != 0 && (!copied || is_cinit(scn)))
        flags |= velm_scn_has_data;
    if (!copied && (coff_file.fh_flags() & f_relflg) == 0)
        flags |= velm_scn_relocated;
    return flags;
}

/// The group of the header. Reads the COFF flags as init_sect_flags left them.
scn_group group_of(const velm_scnhdr& hdr, COFF_SECTION* scn) {
    if (has_flag(scn, s_copy))
        return (hdr.flags & velm_scn_type_mask) == velm_scn_init_table ? scn_group::init_table : scn_group::copy;
    return (hdr.flags & (velm_scn_relocated | velm_scn_has_data)) != 0 ? scn_group::loaded : scn_group::other;
}

/// Adds the section, which is kept, to the model. `total_contents`: bytes of contents in the module so far.
void init_sect_hdr(COFF_SECTION* scn, std::uint32_t coff_scnum, std::uint64_t& total_contents) {
    velm_scnhdr& hdr = velm_file.sections.emplace_back();
    hdr.coff_name = scn->name();
    hdr.wordsz = scn->wordsz();
    hdr.coff_scnum = coff_scnum;
    hdr.contents = -1;
    if (!symbols_only) {  // with -s neither is ever looked at
        if (has_contents(scn)) {
            check_contents_size(scn, total_contents);
            hdr.contents = scn->contents_position();
        }
        init_sect_relocs(scn, &hdr);
    }
    init_sect_flags(&hdr, scn);
    hdr.paddr = scn->sh_paddr();
    hdr.vaddr = scn->sh_vaddr();
    hdr.page = scn->sh_page();
    hdr.size = scn->size_in_words();
    hdr.group = group_of(hdr, scn);
}

/// From the order of the input to that of the module.
void order_sections() {
    const auto place_of = [](const velm_scnhdr& hdr) {
        const auto number = static_cast<std::int32_t>(hdr.coff_scnum);
        return std::pair(hdr.group, hdr.group == scn_group::init_table ? -number : number);
    };
    if (!std::ranges::is_sorted(velm_file.sections, {}, place_of))
        std::ranges::sort(velm_file.sections, {}, place_of);
}

void number_sections() {
    for (velm_scnhdr& hdr : velm_file.sections) {
        c2v_scn_xtbl[hdr.coff_scnum] = ++velm_file.nscns;
        hdr.name_offset = add_to_string_list(hdr.coff_name);
    }
    velm_file.scn_name_size = velm_file.strtab_size;
}

}  // namespace

bool keep_section(COFF_SECTION* scn) {
    const bool referenced = scn_refd[static_cast<std::size_t>(scn->scnum())] != 0;
    if (symbols_only)
        return referenced;
    if (has_flag(scn, s_dummy | s_noload))
        return false;
    if (scn->wordsz() != 8 && scn->wordsz() != 16 && scn->wordsz() != 32)
        error_exit("ERROR: Section %s: a memory width of %d bits is not supported\n", scn->name(), scn->wordsz());
    // A size that wraps to 0 bytes is no empty section; where the contents are taken, it is refused.
    const bool empty = scn->size_in_bytes() == 0 && !has_contents(scn);
    if (empty && !referenced)
        return false;
    return !is_entries_section(scn);
}

void init_sect_hdrs() {
    const std::uint32_t nscns = coff_file.fh_nscns();
    {
        const allocation_scope scope("ERROR: Unable to allocate storage for sect xlation table\n");
        c2v_scn_xtbl.assign(nscns + std::size_t{1}, 0);
    }
    {
        const allocation_scope scope("ERROR: Unable to allocate storage for sectionheader entry\n");
        velm_file.sections.reserve(nscns);  // room that is not used costs nothing
    }
    reserve_strings(nscns);
    std::uint64_t total_contents = 0;
    for (std::uint32_t n = 1; n <= nscns; ++n) {
        COFF_SECTION* scn = coff_file.get_section(static_cast<std::int16_t>(n));
        if (keep_section(scn))
            init_sect_hdr(scn, n, total_contents);
    }
    order_sections();
    number_sections();
}

void init_sect_flags(velm_scnhdr* hdr, COFF_SECTION* scn) {
    std::uint32_t flags = 0;
    if (!symbols_only && scn->size_in_bytes() != 0)
        flags = load_flags(scn);
    flags |= scn->sh_flags() & s_align;
    flags |= section_type(scn);
    hdr->flags = static_cast<std::uint16_t>(flags);
    if (flags & velm_scn_relocated)
        ++velm_file.n_reloc_scns;
}

void init_sect_relocs(COFF_SECTION* scn, scnhdrlist_entry* hdr) {
    const std::span<reloc_record> table = scn->take_relocs();
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        reloc_record& record = table[i];  // most need no change, and a copy of each costs more than all the rest
        const reloc_type_facts& facts = reloc_facts(record.r_type);
        // 0x5001 is left out as well, on purpose, although it has a displacement.
        if (facts.word == reloc_word::internal)
            continue;
        if (facts.word == reloc_word::field)
            record.r_field.unused = 0;
        if (!facts.displacement)
            record.r_disp = 0;
        if (count != i)
            table[count] = record;
        ++count;
    }
    hdr->relocs = {count, 0, table.data()};
}

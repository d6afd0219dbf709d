// In the order of a conversion: what can be judged before it is mended, and what counts only if the module holds it is
// noted for afterwards.
#include "tools/coffdump/conversion_checks.h"

#include <algorithm>
#include <cstdlib>

#include "coff/listing_text.h"
#include "tools/common/text_forms.h"
#include "tools/second_opinion/facts.h"

namespace {

namespace so = second_opinion;

constexpr const char* damaged = "the file is damaged: link again";
constexpr const char* out_of_order_words =
    "link again; look whether something edited the file. A loader may not apply these relocations";
/// Noted of each section; a damaged table can hold millions.
constexpr std::uint32_t most_noted = 10;

std::uint32_t width_of(const raw_image& image, const scnhdr& section) {
    return section.s_mwidth ? section.s_mwidth : so::unit_width(image.header().fh_target_id);
}

bool has_contents(const scnhdr& section) {
    return section.s_scnptr != 0 && (section.s_flags & s_bss) == 0 && section.s_size != 0;
}

std::int32_t difference(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

/// Bytes that a relocated field takes from its address on.
std::int64_t extent(const so::relocation& entry) {
    return (so::has_descriptor(entry.type) ? entry.descriptor[2] : so::container_bits(entry.type)) / 8;
}

}  // namespace

conversion_checks::conversion_checks(raw_image& image, const std::string& path, bool symbols_only,
                                     finding_list& findings)
    : image_(image), path_(path), symbols_only_(symbols_only), symbols_told_(image.header().fh_nsyms),
      findings_(findings) {}

void conversion_checks::error(const std::string& text, const std::string& says, const std::string& way_out,
                              unsigned line) {
    findings_.add({true, path_, text, says, way_out, conversion_kinds + line});
}

void conversion_checks::warn(const std::string& text, const std::string& says, const std::string& way_out,
                             unsigned line) {
    findings_.add({false, path_, text, says, way_out, conversion_kinds + line});
}

std::string conversion_checks::reloc_title(std::uint32_t section, std::uint32_t i, const reloc& entry) const {
    return "relocation " + std::to_string(i) + " of " + image_.section_title(section) + " (" +
           reloc_type_words(entry.r_type) + " at address " + hex_number(entry.r_vaddr) + ", file offset " +
           hex_number(raw_image::reloc_at(image_.section(section), i)) + ")";
}

// --- before the conversion

void conversion_checks::mend() {
    look_at_symbols();
    for (std::uint32_t n = 1; n <= image_.header().fh_nscns; ++n)
        look_at_section(n);
}

void conversion_checks::look_at_symbols() {
    const std::uint32_t count = image_.header().fh_nsyms;
    slots_.assign(count, slot::auxiliary);
    for (std::uint32_t i = 0; i < count; ++i) {
        const syment symbol = image_.symbol(i);
        slots_[i] = so::is_kept_class(symbol.n_sclass) ? slot::good : slot::bad_class;
        look_at_symbol(i, symbol);
        i += symbol.n_numaux > 0;
    }
}

void conversion_checks::look_at_symbol(std::uint32_t index, syment symbol) {
    const int sections = image_.header().fh_nscns;
    const std::string_view entry_symbol = so::entry_symbol;
    const bool is_start =
        !symbols_only_ && image_.name(symbol.n_name, image_.symbol_at(index), entry_symbol.size() + 1) == entry_symbol;
    if (is_start && symbol.n_scnum == 0)
        error(placed_title(index) + ", is undefined",
              "ERROR: Symbol _DLStart is undefined. Improper linkage for entry point",
              "link the object that defines _DLStart, or convert with -s if only symbols are wanted");
    else if (is_start && symbol.n_scnum > sections)
        error(placed_title(index) + ", lies in section " + std::to_string(symbol.n_scnum) + ", but there are only " +
                  std::to_string(sections),
              "ERROR: Symbol _DLStart lies in section " + std::to_string(symbol.n_scnum) + ", but there are only " +
                  std::to_string(sections),
              damaged);
    if (symbol.n_scnum > sections)
        noted_symbols_.push_back({index, symbol.n_scnum});
    else if (!is_start || symbol.n_scnum != 0)
        return;
    symbol.n_scnum = -1;
    image_.put(image_.symbol_at(index), symbol);
}

std::string conversion_checks::placed_title(std::uint32_t index) const {
    return image_.symbol_title(index) + ", at offset " + hex_number(image_.symbol_at(index));
}

void conversion_checks::look_at_section(std::uint32_t number) {
    scnhdr section = image_.section(number);
    const std::uint32_t width = width_of(image_, section);
    const bool dropped = symbols_only_ || (section.s_flags & (s_dummy | s_noload)) != 0;
    if (!dropped && width != 8 && width != 16 && width != 32)
        error(image_.section_title(number) + " has a memory width of " + counted(width, "bit") + " (file offset " +
                  hex_number(image_.section_at(number) + offsetof(scnhdr, s_mwidth)) + ")",
              "ERROR: Section " + image_.section_name(number) + ": a memory width of " + std::to_string(width) +
                  " bits is not supported",
              "only 8, 16 and 32 are: the file is damaged, or made for another target");
    if (width != 8 && width != 16 && width != 32)
        section.s_mwidth = 0;
    else if (!dropped && has_contents(section))
        look_at_contents(number, section);
    image_.put(image_.section_at(number), section);
    look_at_relocations(number);
}

void conversion_checks::look_at_contents(std::uint32_t number, scnhdr& section) {
    const std::uint32_t width = width_of(image_, section);
    const std::uint64_t length = std::uint64_t{width / 8} * section.s_size;
    const std::string title = image_.section_title(number);
    if (length > so::largest_contents ||
        static_cast<std::int32_t>(length) != so::units_to_bytes(section.s_size, width)) {
        noted_sections_.push_back({number, length, title + " has contents of " + std::to_string(length) + " bytes",
                                   "ERROR: Section " + image_.section_name(number) + ": contents of " +
                                       std::to_string(length) + " bytes are too large"});
    } else if (!image_.holds(section.s_scnptr, length)) {
        noted_sections_.push_back(
            {number, length,
             "the " + std::to_string(length) + " bytes of " + title + ", at offset " + hex_number(section.s_scnptr) +
                 ", end at " + hex_number(section.s_scnptr + length) + ", the file at " + hex_number(image_.size()),
             ">> fatal error: " + path_ + ": " + std::to_string(length) + " bytes of section " +
                 image_.section_name(number) + " at offset " + std::to_string(section.s_scnptr) +
                 " run past the end of the file"});
    } else {
        return;
    }
    section.s_scnptr = 0;
    section.s_size = 1;  // not empty: that alone could leave it out
}

void conversion_checks::look_at_relocations(std::uint32_t number) {
    const scnhdr section = image_.section(number);
    // Where tables overlap, a symbol that was mended may have been a part of this header.
    const bool in_file = image_.holds(section.s_relptr, std::uint64_t{section.s_nreloc} * sizeof(reloc));
    std::uint32_t ordinal = 0;
    for (std::uint32_t i = 0; in_file && i < section.s_nreloc; ++i) {
        const auto entry = image_.get<reloc>(raw_image::reloc_at(section, i));
        if (so::refers_to_symbol(entry.r_type, entry.r_symndx) &&
            (entry.r_symndx >= slots_.size() || slots_[entry.r_symndx] != slot::good))
            look_at_target(number, i, ordinal, entry);
        ordinal += !so::is_internal(entry.r_type);
    }
    if (!in_file || lies_over_tables(section)) {  // what was mended there were no relocations only
        scnhdr emptied = image_.section(number);
        emptied.s_nreloc = 0;
        image_.put(image_.section_at(number), emptied);
    }
}

/// Whether the relocations share their bytes with headers or symbols.
bool conversion_checks::lies_over_tables(const scnhdr& section) const {
    const std::uint64_t begin = section.s_relptr;
    const std::uint64_t end = begin + std::uint64_t{section.s_nreloc} * sizeof(reloc);
    return begin < image_.section_at(image_.header().fh_nscns + 1U) ||
           (begin < image_.strings_at() && end > image_.header().fh_symptr);
}

void conversion_checks::look_at_target(std::uint32_t number, std::uint32_t i, std::uint32_t ordinal, reloc entry) {
    const std::string title = reloc_title(number, i, entry) + " refers to ";
    if (entry.r_symndx >= symbols_told_) {
        error(title + "symbol " + std::to_string(entry.r_symndx) + ", but the symbol table has " +
                  std::to_string(symbols_told_) + (symbols_told_ == 1 ? " entry" : " entries"),
              "ERROR: sym_refd array out of bounds", damaged);
    } else if (entry.r_symndx < slots_.size()) {
        const auto noted = std::count_if(noted_relocs_.begin(), noted_relocs_.end(),
                                         [number](const noted_reloc& n) { return n.section == number; });
        if (noted < most_noted)
            noted_relocs_.push_back(
                {number, ordinal,
                 title + (slots_[entry.r_symndx] == slot::auxiliary
                              ? "entry " + std::to_string(entry.r_symndx) +
                                    " of the symbol table, which is the auxiliary entry of the symbol before it"
                              : image_.symbol_title(entry.r_symndx) + ", whose storage class " +
                                    std::to_string(image_.symbol(entry.r_symndx).n_sclass) + " no module holds")});
    }
    if (lies_over_tables(image_.section(number)))
        return;
    entry.r_symndx = so::no_symbol;
    image_.put(raw_image::reloc_at(image_.section(number), i), entry);
}

bool conversion_checks::mend_cut(const so::conversion& refused) {
    const std::string head = "section ";
    const std::string middle = " cannot be cut at byte ";
    const std::size_t at = refused.why.find(middle);
    if (!refused.why.starts_with(head) || at == std::string::npos)
        return false;
    const auto number = static_cast<std::uint32_t>(std::strtoul(refused.why.c_str() + head.size(), nullptr, 10));
    const auto byte = std::strtoul(refused.why.c_str() + at + middle.size(), nullptr, 10);
    if (number == 0 || number > image_.header().fh_nscns)
        return false;
    scnhdr section = image_.section(number);
    const std::string at_byte = " at byte " + std::to_string(byte);
    error(image_.section_title(number) + " cannot be cut into packets" + at_byte +
              ": a relocated field there, or before it, reaches beyond the contents (" +
              std::to_string(std::uint64_t{width_of(image_, section) / 8} * section.s_size) +
              " bytes), or is wider than a packet",
          "ERROR: Cannot cut section " + image_.section_name(number) + at_byte + ": a relocated field leaves no packet",
          "look at the relocations there (coffdump --relocs): the file is damaged, or something edited it");
    section.s_scnptr = 0;
    image_.put(image_.section_at(number), section);
    uncut_.insert(number);
    return true;
}

// --- after it

void conversion_checks::judge(const so::account& told, const std::string& refusal) {
    // Tables that overlap can be so damaged that mending one fault makes another file of it.
    if (told.sections.size() != image_.header().fh_nscns || told.input->nsyms != image_.header().fh_nsyms)
        return;
    judge_symbols(told, refusal);
    judge_contents(told);
    const std::string says = "Internal Error in translating symbols";
    for (const noted_reloc& noted : noted_relocs_) {
        const so::module_section* const made = told.in_module(told.input->sections[noted.section - 1]);
        // Of a section that could not be cut nobody knows how far it was.
        const bool may_have_been = uncut_.count(noted.section) != 0 && refusal == says;
        if ((made && noted.ordinal < made->placed) || may_have_been)
            error(noted.text, says, "link again; tell us if it stays. (modforge says it on standard output)");
    }
    for (const so::module_section& made : told.module_sections) {
        if (made.has_contents)
            judge_order(made, *told.input);
    }
}

/// In the order of a run: whether contents are in proportion is asked before whether they are there.
void conversion_checks::judge_contents(const so::account& told) {
    std::uint64_t total = 0;
    auto noted = noted_sections_.begin();
    for (std::uint32_t n = 1; n <= told.sections.size(); ++n) {
        const bool kept = told.sections[n - 1].fate == so::section_fate::kept;
        const so::module_section* const made = told.in_module(told.input->sections[n - 1]);
        if (noted == noted_sections_.end() || noted->number != n) {
            total += made && made->has_contents ? std::uint64_t{made->from->width / 8} * made->from->size : 0;
            continue;
        }
        total += kept ? noted->length : 0;
        const bool out_of_proportion = noted->length <= so::largest_contents && total > so::memory_limit(image_.size());
        if (kept)
            error(noted->text,
                  out_of_proportion ? "ERROR: Section " + image_.section_name(n) +
                                          ": the contents of the sections are out of proportion to the input"
                                    : noted->says,
                  "the file is damaged or was cut short: link again");
        ++noted;
    }
}

void conversion_checks::judge_symbols(const so::account& told, const std::string& refusal) {
    const std::string says = "ERROR: scn_refd array out of bounds";
    std::vector<bool> kept(image_.header().fh_nsyms);
    for (std::size_t k = 0; k < told.symbols.size(); ++k)
        kept[told.input->symbols[k].index] = told.symbols[k].fate <= so::symbol_fate::nameless;
    // Which sections are in use is found with a count that takes no notice of auxiliary entries: so it can trip over a
    // symbol that will not be in the module.
    const bool any_kept = std::any_of(noted_symbols_.begin(), noted_symbols_.end(),
                                      [&kept](const noted_symbol& noted) { return kept[noted.index]; });
    for (const noted_symbol& noted : noted_symbols_) {
        if (kept[noted.index] || (!any_kept && refusal == says))
            error(placed_title(noted.index) + ", lies in section " + std::to_string(noted.section) +
                      ", but there are only " + std::to_string(image_.header().fh_nscns),
                  says, damaged);
    }
}

/// A loader applies relocations packet by packet, in ascending order.
void conversion_checks::judge_order(const so::module_section& made, const so::coff_input& input) {
    const so::section& section = *made.from;
    const std::string says =
        "WARNING: Section " + std::string(section.name) + ": relocations out of order or outside its packets";
    const std::int32_t base = so::units_to_bytes(section.vaddr, section.width);
    const std::int32_t length = so::units_to_bytes(section.size, section.width);
    std::int32_t last = 0;
    for (std::uint32_t i = 0; i < section.nreloc; ++i) {
        const so::relocation entry = input.relocation_at(section, i);
        if (so::is_internal(entry.type))
            continue;
        const std::int32_t place = difference(so::units_to_bytes(entry.vaddr, section.width), base);
        const char* const why = place < 0                        ? " lies before the contents"
                                : place < last                   ? " lies before the one in front of it"
                                : place >= length                ? " lies behind the contents"
                                : place + extent(entry) > length ? " reaches beyond the contents"
                                                                 : nullptr;
        last = place;
        if (why)
            warn(reloc_title(section.number, i, image_.get<reloc>(section.relptr + std::uint64_t{i} * sizeof(reloc))) +
                     why,
                 says, out_of_order_words);
    }
}

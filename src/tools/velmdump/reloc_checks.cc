// What a relocation record says by itself, and where its field lies in packet and section.
#include "tools/velmdump/reloc_checks.h"

#include <cstddef>

#include "format/reloc_types.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/findings.h"

namespace {

/// Behind the conversion from bytes, whose product wraps at 32 bits, no place is further away. Bytes.
constexpr std::int64_t furthest_place = 0x10000000;

}  // namespace

void reloc_checker::check_words(const reloc_record& rec, std::uint64_t at) {
    if (is_internal_reloc(rec.r_type))
        report_.error(at + offsetof(reloc_record, r_type), "relocation type 0x%04X is never part of a module",
                      rec.r_type);
    else if (reloc_facts(rec.r_type).type != rec.r_type)
        report_.warning(at + offsetof(reloc_record, r_type), "unknown relocation type 0x%04X", rec.r_type);
    if (is_sym_reloc(rec.r_type, rec.r_symndx) && rec.r_symndx >= module_.header.nsyms)
        report_.error(at + offsetof(reloc_record, r_symndx), "relocation refers to symbol %u of %u", rec.r_symndx,
                      module_.header.nsyms);
    if (!has_displacement(rec.r_type) && rec.r_disp != 0)
        report_.error(at + offsetof(reloc_record, r_disp),
                      "relocation type 0x%04X has no displacement, but 0x%04X stands there", rec.r_type, rec.r_disp);
}

void reloc_checker::check_field(const reloc_record& rec, std::uint64_t at) {
    const reloc_field& field = rec.r_field;
    if (field.unused != 0)
        report_.error(at + offsetof(reloc_record, r_symndx) + 3, "unused byte of a field relocation is not zero");
    if (field.r_fieldsz == 0 || field.r_offset + field.r_fieldsz > field.r_wordsz)
        report_.warning(at + offsetof(reloc_record, r_symndx), "field of %s at bit %u in a container of %s",
                        counted(field.r_fieldsz, "bit").c_str(), field.r_offset,
                        counted(field.r_wordsz, "bit").c_str());
}

void reloc_checker::check(const reloc_record& rec, std::uint64_t at, std::int64_t packet_start,
                          std::uint32_t packet_size) {
    check_words(rec, at);
    if (is_field_reloc(rec.r_type))
        check_field(rec, at);
    const std::int64_t place = section_.byte_place(rec);
    if (section_.width != 8 && (place < -furthest_place || place >= furthest_place))
        report_.error(at, "place 0x%08X is further away than a converter puts it", rec.r_vaddr);
    else if (place < 0 || place + container_bytes(rec) > packet_size)
        report_.warning(at, "relocated field reaches past its packet");
    else if (packet_start + place < last_)
        report_.warning(at, "relocation out of order");
    else
        last_ = packet_start + place;
}

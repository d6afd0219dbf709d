// One table of fields for each kind of record, and the walk from header to header.
#include "support/records.h"

#include <algorithm>

#include "support/module_sums.h"

namespace support {
namespace {

// Of a COFF file.
constexpr field file_header_fields[] = {fh_magic, fh_nscns,  fh_timdat, fh_symptr,
                                        fh_nsyms, fh_opthdr, fh_flags,  fh_target_id};
constexpr field optional_header_fields[] = {ofh_magic, ofh_vstamp,  ofh_tsize,      ofh_dsize,
                                            ofh_bsize, ofh_entrypt, ofh_text_start, ofh_data_start};
constexpr field section_fields[] = {s_name_zero, s_name_offset, sh_paddr, sh_vaddr, sh_size,   sh_scnptr, sh_relptr,
                                    sh_lnnoptr,  sh_nreloc,     sh_nlnno, sh_flags, sh_mwidth, {45, 1},   sh_page};
constexpr field reloc_fields[] = {r_vaddr, r_symndx, r_disp, r_type, {4, 1}, {5, 1}, {6, 1}};
constexpr field line_fields[] = {{0, 4}, {4, 2}};
constexpr field symbol_fields[] = {sym_name_zero, sym_name_offset, sym_value, sym_scnum,
                                   sym_type,      sym_sclass,      sym_naux};
constexpr field aux_fields[] = {{0, 4}, {4, 4}, {4, 2}, {6, 2}, {8, 4}, {8, 2}, {10, 2}, {12, 4}, {12, 2}, {14, 2}};
constexpr field length_fields[] = {{0, 4}};

constexpr record_kind file_header = {"file header", 22, file_header_fields};
constexpr record_kind optional_header = {"optional header", 28, optional_header_fields};
constexpr record_kind section_header = {"section header", 48, section_fields};
constexpr record_kind relocation = {"relocation", 12, reloc_fields};
constexpr record_kind line_number = {"line number", 6, line_fields};
constexpr record_kind symbol = {"symbol", 18, symbol_fields};
constexpr record_kind auxiliary = {"auxiliary entry", 18, aux_fields};
constexpr record_kind string_table = {"string table length", 4, length_fields};

// Of a module.
constexpr field module_header_fields[] = {{0, 4},  {4, 4},  {8, 4},  {12, 4}, {16, 2}, {18, 2}, {20, 2},
                                          {22, 2}, {24, 2}, {26, 2}, {28, 2}, {30, 2}, {32, 4}};
constexpr field verification_fields[] = {{0, 4}, {4, 4}, {8, 4}, {12, 4}, {16, 4}};
constexpr field module_section_fields[] = {{0, 4}, {4, 4}, {8, 4}, {12, 4}, {16, 2}, {18, 2}, {20, 4}, {24, 4}};
constexpr field module_symbol_fields[] = {{0, 4}, {4, 4}, {8, 2}, {10, 2}};
constexpr field packet_fields[] = {{0, 4}, {4, 4}, {8, 4}};

constexpr record_kind module_header = {"header", 36, module_header_fields};
constexpr record_kind verification = {"verification record", 20, verification_fields};
constexpr record_kind module_section = {"section header", 28, module_section_fields};
constexpr record_kind module_symbol = {"symbol", 12, module_symbol_fields};
constexpr record_kind packet = {"packet header", 12, packet_fields};

/// Collects records, one table after the other, and reads numbers that may lie outside the file as 0.
class collector {
public:
    collector(const bytes& input, byte_order order, std::size_t start) : input_(input), map_{order, start} {}

    [[nodiscard]] std::size_t number(std::size_t part, field place) const {
        const bool inside = part <= input_.size() && place.offset + place.width <= input_.size() - part;
        return inside ? get(input_, part + place.offset, place.width, map_.order) : 0;
    }

    /// False when it does not lie in the file, or there are enough.
    bool add(const record_kind& kind, std::size_t offset) {
        if (offset > input_.size() || kind.size > input_.size() - offset || map_.records.size() >= most_records)
            return false;
        map_.records.push_back({&kind, offset});
        return true;
    }

    void add_table(const record_kind& kind, std::size_t offset, std::size_t count) {
        while (count-- > 0 && add(kind, offset))
            offset += kind.size;
    }

    record_map take() { return std::move(map_); }

private:
    static constexpr std::size_t most_records = 4000;
    const bytes& input_;
    record_map map_;
};

void add_symbols(collector& all, std::size_t from, std::size_t count) {
    std::size_t offset = from;
    const std::size_t end = from + count * symbol.size;
    while (offset < end && all.add(symbol, offset)) {
        offset += symbol.size;
        const std::size_t naux = all.number(offset - symbol.size, sym_naux);
        if (naux == 0 || naux >= 0x80)
            continue;
        all.add(auxiliary, offset);  // one, whatever the number
        offset += auxiliary.size;
    }
    all.add(string_table, end);
}

}  // namespace

record_map records_of_image(const bytes& input, std::size_t start) {
    const bool big = input.size() > start + 1 && input[start] == 0 && input[start + 1] == 0xC2;
    collector all(input, big ? byte_order::big : byte_order::little, start);
    all.add(file_header, start);
    if (all.number(start, fh_opthdr) == optional_header.size)
        all.add(optional_header, start + file_header.size);
    const std::size_t headers = start + file_header.size + all.number(start, fh_opthdr);
    for (std::size_t i = 0; i < all.number(start, fh_nscns); ++i) {
        const std::size_t header = headers + i * section_header.size;
        if (!all.add(section_header, header))
            break;
        all.add_table(relocation, start + all.number(header, sh_relptr), all.number(header, sh_nreloc));
        all.add_table(line_number, start + all.number(header, sh_lnnoptr), all.number(header, sh_nlnno));
    }
    add_symbols(all, start + all.number(start, fh_symptr), all.number(start, fh_nsyms));
    return all.take();
}

record_map records_of_module(const bytes& module) {
    if (module.size() < 56)
        return {};
    collector all(module, order_of(module), 0);
    all.add(module_header, 0);
    all.add(verification, 36);
    const std::size_t sections = 56 + all.number(0, {0, 4}), nscns = all.number(0, {20, 2});
    const std::size_t symbols = sections + module_section.size * nscns, nsyms = all.number(0, {16, 2});
    all.add_table(module_section, sections, nscns);
    all.add_table(module_symbol, symbols, nsyms);
    std::size_t next = symbols + module_symbol.size * nsyms;
    while (all.add(packet, next)) {
        const std::size_t nreloc = all.number(next, {0, 4}), size = all.number(next, {4, 4});
        const std::size_t relocs = next + packet.size + (size + 3) / 4 * 4;
        all.add_table(relocation, relocs, nreloc);
        next = relocs + nreloc * relocation.size;
    }
    return all.take();
}

std::vector<std::uint32_t> breaking_values(std::uint32_t value, std::size_t width, std::size_t file_size) {
    const std::uint32_t most = 0xFFFFFFFFU >> (32 - 8 * width), size = static_cast<std::uint32_t>(file_size);
    std::vector<std::uint32_t> values = {0,         1,         most / 2,  most / 2 + 1, most,
                                         value - 1, value + 1, size - 1U, size,         size + 1U};
    for (std::uint32_t& each : values)
        each &= most;
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    std::erase(values, value);
    return values;
}

}  // namespace support

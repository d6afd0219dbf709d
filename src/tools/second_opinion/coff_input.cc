// Reads in the order in which the converter must refuse: headers, symbols, names, relocations.
#include "tools/second_opinion/coff_input.h"

#include <algorithm>
#include <optional>
#include <string>

#include "tools/second_opinion/facts.h"
#include "tools/second_opinion/refusal.h"

namespace second_opinion {
namespace {

constexpr std::string_view error = ">>   error: ", fatal = ">> fatal error: ";

/// The string table of a file, looked at when a name first needs it.
class string_table {
public:
    string_table(const coff_input& input, u64 place) : input_(input), place_(place) {}

    /// The string at an offset of the table. Refuses one that does not begin and end in the table.
    std::string_view at(u32 offset) {
        if (next_nul_.empty())
            open();
        if (offset < 4 || offset >= length_)
            refuse("no string at offset " + std::to_string(offset) + " of the string table");
        const u32 end = end_of(offset);
        if (end == length_)
            refuse("the string at offset " + std::to_string(offset) + " of the string table has no end");
        return {reinterpret_cast<const char*>(input_.at(place_ + offset)), end - offset};
    }

private:
    static constexpr u32 stretch = 64;

    void open() {
        length_ = input_.holds(place_, 4) ? get_word(input_.at(place_), input_.order) : 0;
        if (length_ < 4 || !input_.holds(place_, length_))
            refuse("the string table is cut short or missing");
        // Many long names may end in the same place, so the ends are looked for once and not name by name.
        next_nul_.assign(length_ / stretch + 2, length_);
        for (u32 i = length_ / stretch + 1; i-- > 0;)
            next_nul_[i] = nul_in(i * stretch).value_or(next_nul_[i + 1]);
    }

    /// The first NUL from `from` on in the same stretch.
    [[nodiscard]] std::optional<u32> nul_in(u32 from) const {
        const u32 end = std::min(length_, (from / stretch + 1) * stretch);
        const u8* const found = std::find(input_.at(place_ + from), input_.at(place_ + end), u8{0});
        const auto place = static_cast<u32>(found - input_.at(place_));
        return place < end ? std::optional(place) : std::nullopt;
    }

    [[nodiscard]] u32 end_of(u32 offset) const { return nul_in(offset).value_or(next_nul_[offset / stretch + 1]); }

    const coff_input& input_;
    u64 place_;
    u32 length_ = 0;
    std::vector<u32>
        next_nul_;  ///< of each stretch the first NUL at or behind its begin; the length when there is none
};

class reader {
public:
    explicit reader(coff_input& input) : input_(input) {}

    void read() {
        read_headers();
        read_symbols();
        read_names();
        check_relocations();
    }

private:
    [[nodiscard]] u32 word(u64 offset) const { return get_word(input_.at(offset), input_.order); }
    [[nodiscard]] u16 half(u64 offset) const { return get_half(input_.at(offset), input_.order); }

    void read_headers() {
        if (input_.size() > largest_input)
            refuse("longer than " + std::to_string(largest_input) + " bytes");
        if (!input_.holds(0, file_header_size))
            refuse_saying(error, "Failed to read file and/or section headers");
        input_.order = get_half(input_.at(0), byte_order::big) == coff_version ? byte_order::big : byte_order::little;
        if (half(0) != coff_version)
            refuse_saying(fatal, "this application only supports COFF version 2");
        const u16 nscns = half(2);
        const u16 optional_size = half(16);
        input_.timestamp = word(4);
        input_.nsyms = word(12);
        input_.flags = half(18);
        input_.target = half(20);
        input_.entry_point = optional_size == 0 ? no_optional_header : 0;
        u32 at = file_header_size;
        if (optional_size == optional_header_size) {  // one of another size is neither read nor skipped
            input_.entry_point = entry_point_of_header();
            at += optional_header_size;
        }
        for (u32 i = 0; i < nscns; ++i, at += section_header_size)
            read_section_header(at);
        if (nscns > most_sections)
            refuse(std::to_string(nscns) + " sections, more than " + std::to_string(most_sections));
    }

    /// What the file does not hold of the optional header counts as zero.
    [[nodiscard]] u32 entry_point_of_header() const {
        u8 held[4] = {};
        for (u32 i = 0; i < 4; ++i)
            if (input_.holds(file_header_size + 16 + i, 1))
                held[i] = *input_.at(file_header_size + 16 + i);
        return get_word(held, input_.order);
    }

    void read_section_header(u32 at) {
        if (!input_.holds(at, section_header_size))
            refuse_saying(error, "Failed to read file and/or section headers");
        const u32 width = unit_width(input_.target);
        if (width == 0)
            refuse_saying("", "Invalid target type");
        const u8 own_width = *input_.at(at + 44);
        input_.sections.push_back({.number = static_cast<u32>(input_.sections.size() + 1),
                                   .paddr = word(at + 8),
                                   .vaddr = word(at + 12),
                                   .size = word(at + 16),
                                   .scnptr = word(at + 20),
                                   .relptr = word(at + 24),
                                   .nreloc = word(at + 32),
                                   .flags = word(at + 40),
                                   .width = own_width != 0 ? own_width : width,
                                   .page = half(at + 46)});
    }

    void read_symbols() {
        u64 at = word(8);
        for (u32 i = 0; i < input_.nsyms; ++i, at += symbol_size) {
            if (!input_.holds(at, symbol_size))
                refuse_saying(fatal, "failed to read symbol table");
            input_.symbols.push_back({.index = i,
                                      .value = word(at + 8),
                                      .scnum = static_cast<i16>(half(at + 12)),
                                      .sclass = static_cast<i8>(*input_.at(at + 16))});
            if (static_cast<i8>(*input_.at(at + 17)) > 0) {  // one, whatever the number says
                ++i;
                at += symbol_size;
                if (!input_.holds(at, symbol_size))
                    refuse_saying(fatal, "failed to read auxiliary entry");
            }
        }
    }

    /// Names last: what the file does not hold of the symbols counts before what it does not hold of their names.
    void read_names() {
        string_table strings(input_, word(8) + u64{symbol_size} * input_.nsyms);
        const u32 headers =
            half(16) == optional_header_size ? file_header_size + optional_header_size : file_header_size;
        for (section& scn : input_.sections)
            scn.name = name_at(headers + section_header_size * (scn.number - 1), strings);
        for (symbol& sym : input_.symbols)
            sym.name = name_at(word(8) + u64{symbol_size} * sym.index, strings);
    }

    [[nodiscard]] std::string_view name_at(u64 at, string_table& strings) const {
        const u8* const name = input_.at(at);
        if (word(at) != 0)
            return {reinterpret_cast<const char*>(name), static_cast<std::size_t>(std::find(name, name + 8, 0) - name)};
        const u32 offset = word(at + 4);
        return offset == 0 ? std::string_view() : strings.at(offset);
    }

    void check_relocations() const {
        u64 total = 0;
        for (const section& scn : input_.sections) {
            const u64 size = u64{relocation_size} * scn.nreloc;
            total += size;
            if (scn.nreloc != 0 && !input_.holds(scn.relptr, size))
                refuse("the file does not hold the " + std::to_string(scn.nreloc) + " relocations of section " +
                       std::to_string(scn.number));
            if (total > memory_limit(input_.size()))
                refuse("overlapping relocation tables, out of proportion to the file");
        }
    }

    coff_input& input_;
};

}  // namespace

coff_input::coff_input(const bytes& file) : file_(&file) {
    reader(*this).read();
}

relocation coff_input::relocation_at(const section& scn, u32 i) const {
    const u8* const entry = at(scn.relptr + u64{relocation_size} * i);
    relocation reloc{.vaddr = get_word(entry, order),
                     .symndx = get_word(entry + 4, order),
                     .disp = get_half(entry + 8, order),
                     .type = get_half(entry + 10, order)};
    std::copy_n(entry + 4, reloc.descriptor.size(), reloc.descriptor.begin());
    return reloc;
}

}  // namespace second_opinion

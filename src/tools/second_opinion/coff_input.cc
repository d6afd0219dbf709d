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

/// The offset that a name refers to; nothing when it stands in the eight bytes itself.
std::optional<u32> name_offset(const u8* name, byte_order order) {
    return get_word(name, order) != 0 ? std::nullopt : std::optional(get_word(name + 4, order));
}

std::string_view short_name(const u8* name) {
    return {reinterpret_cast<const char*>(name), static_cast<std::size_t>(std::find(name, name + 8, 0) - name)};
}

class reader {
public:
    reader(coff_input& input, const bytes& file) : input_(input), file_(file) {}

    void read() {
        read_headers();
        input_.symbols = symbol_list(file_, input_.order, word(8), input_.nsyms);
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

    /// Names last: what the file does not hold of the symbols counts before what it does not hold of their names.
    void read_names() {
        const u32 headers =
            half(16) == optional_header_size ? file_header_size + optional_header_size : file_header_size;
        for (section& scn : input_.sections)
            scn.name = input_.symbols.section_name(headers + section_header_size * (scn.number - 1));
        input_.symbols.check_names();
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
    const bytes& file_;
};

}  // namespace

symbol_list::symbol_list(const bytes& file, byte_order order, u64 place, u32 entries)
    : file_(&file), order_(order), place_(place), strings_(file, order, place + u64{symbol_size} * entries) {
    const u64 there = place < file.size() ? (file.size() - place) / symbol_size : 0;
    indices_.reserve(std::min<u64>(entries, there));
    for (u32 i = 0; i < entries; ++i) {
        if (i >= there)
            refuse_saying(fatal, "failed to read symbol table");
        indices_.push_back(i);
        if (static_cast<i8>(entry(i)[17]) > 0 && ++i >= there)  // one, whatever the number says
            refuse_saying(fatal, "failed to read auxiliary entry");
    }
}

void symbol_list::check_names() {
    for (const u32 index : indices_)
        if (const auto offset = name_offset(entry(index), order_); offset.value_or(0) != 0)
            strings_.at(*offset);
}

symbol symbol_list::operator[](std::size_t k) const {
    const u8* const at = entry(indices_[k]);
    const auto offset = name_offset(at, order_);
    return {.name = !offset        ? short_name(at)
                    : *offset == 0 ? std::string_view()
                                   : strings_.known(*offset),
            .index = indices_[k],
            .value = get_word(at + 8, order_),
            .scnum = static_cast<i16>(get_half(at + 12, order_)),
            .sclass = static_cast<i8>(at[16])};
}

std::string_view symbol_list::section_name(u64 at) {
    const u8* const name = file_->data() + at;
    const auto offset = name_offset(name, order_);
    return !offset ? short_name(name) : *offset == 0 ? std::string_view() : strings_.at(*offset);
}

const u8* symbol_list::entry(u32 index) const {
    return file_->data() + place_ + u64{symbol_size} * index;
}

coff_input::coff_input(const bytes& file) : file_(&file) {
    reader(*this, file).read();
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

// The records in front of the packets, field by field as they lie in the file, and the text form.
#include "tools/second_opinion/module_bytes.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>

#include "tools/second_opinion/facts.h"

namespace second_opinion {
namespace {

/// Writes numbers one behind the other.
class pen {
public:
    pen(u8* at, byte_order order) : at_(at), order_(order) {}

    void words(std::initializer_list<u32> values) {
        for (const u32 value : values) {
            put_word(at_, value, order_);
            at_ += 4;
        }
    }
    void halves(std::initializer_list<u32> values) {
        for (const u32 value : values) {
            put_half(at_, static_cast<u16>(value), order_);
            at_ += 2;
        }
    }

private:
    u8* at_;
    byte_order order_;
};

void put_sections(const selection& selected, pen to) {
    for (const module_section& scn : selected.sections) {
        to.words({scn.name_offset, scn.run_address, scn.load_address, scn.from->size});
        to.halves({scn.from->page, scn.flags});
        to.words({scn.first_packet, scn.packets});
    }
}

void put_symbols(const selection& selected, pen to) {
    for (const module_symbol& sym : selected.symbols) {
        to.words({sym.name_offset, sym.value});
        to.halves({sym.section, sym.sclass});
    }
}

void put_header(const coff_input& input, const selection& selected, const name_table& names, byte_order order,
                u8* header) {
    const auto relocated =
        std::count_if(selected.sections.begin(), selected.sections.end(),
                      [](const module_section& scn) { return (scn.flags & module_section_relocated) != 0; });
    pen to(header, order);
    to.words({names.size(), selected.entry_point, order_mark, selected.loader_strings});
    to.halves({static_cast<u32>(selected.symbols.size()), static_cast<u32>(names.longest()),
               static_cast<u32>(selected.sections.size()), static_cast<u32>(relocated), 0, input.target, input.flags,
               selected.entry_section});
    to.words({~sum_of_words(header, module_header_size - 4, order)});
}

}  // namespace

u64 front_size(const selection& selected, const name_table& names) {
    return u64{module_header_size} + verification_size + names.size() +
           u64{section_record_size} * selected.sections.size() + u64{symbol_record_size} * selected.symbols.size();
}

void fill_front(const coff_input& input, const selection& selected, const name_table& names, byte_order order,
                bytes& module) {
    u8* const verification = module.data() + module_header_size;
    u8* const strings = verification + verification_size;
    u8* const sections = strings + names.size();
    u8* const symbols = sections + section_record_size * selected.sections.size();
    put_header(input, selected, names, order, module.data());
    std::copy(names.data().begin(), names.data().end(), strings);
    put_sections(selected, {sections, order});
    put_symbols(selected, {symbols, order});
    pen to(verification, order);
    to.words({input.timestamp, ~sum_of_words(sections, section_record_size * selected.sections.size(), order),
              ~sum_of_words(strings, names.size(), order),
              ~sum_of_words(symbols, symbol_record_size * selected.symbols.size(), order)});
    to.words({~sum_of_words(verification, verification_size - 4, order)});
}

bytes as_text(const bytes& module, byte_order order) {
    bytes text;
    text.reserve(module.size() * 3);
    for (std::size_t at = 0; at < module.size(); at += 4) {
        char digits[8];
        char* const end = std::to_chars(digits, digits + 8, get_word(&module[at], order), 16).ptr;
        text.insert(text.end(), {'0', 'x'});
        text.insert(text.end(), digits, end);
        if (at + 4 != module.size())
            text.push_back(',');
        text.push_back('\n');
    }
    return text;
}

}  // namespace second_opinion

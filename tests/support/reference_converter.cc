// The stages in the order of a run behind the reading: mark, select, number, cut, write.
// Addresses in bytes are computed with 32 bits that wrap, as on the target.
#include "support/reference_converter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <initializer_list>
#include <map>
#include <set>

#include "support/reference_input.h"

namespace support {
namespace reference {
namespace {

constexpr byte_order host = std::endian::native == std::endian::little ? byte_order::little : byte_order::big;
constexpr u32 flag_dummy = 1, flag_noload = 2, flag_copy = 0x10, flag_text = 0x20, flag_bss = 0x80;
constexpr u32 no_symbol = 0xFFFFFFFF;

bool one_of(int value, std::initializer_list<int> list) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

bool within(int value, int low, int high) {
    return low <= value && value <= high;
}

i32 units_to_bytes(u32 units, u32 width) {
    return width == 8 ? static_cast<i32>(units) : static_cast<i32>(units * width) >> 3;
}

i32 bytes_to_units(i32 count, u32 width) {
    return width == 8 ? count : static_cast<i32>(static_cast<u32>(count) * 8) / static_cast<i32>(width);
}

bool is_field_operator(int type) {
    return within(type, 0x400D, 0x4010) || type == 0x4016;
}

bool has_displacement(int type) {
    return type < 0x4000 || type == 0x4011 || type == 0xC011;
}

bool refers_to_symbol(int type, u32 symndx) {
    const bool never = within(type, 0x4000, 0x4010) || within(type, 0x4012, 0x4016) || within(type, 0x5000, 0x5002);
    return !never && symndx != no_symbol;
}

int field_bits(int type) {
    static const std::map<int, std::set<int>> types_by_bits = {
        {1, {52, 53}},
        {4, {144}},
        {5, {145, 146}},
        {6, {147}},
        {7, {112, 120, 122}},
        {8, {14, 15, 18, 29, 40, 49, 88, 89, 93, 96, 99, 104, 136, 138, 140, 142}},
        {9, {123}},
        {10, {83}},
        {12, {113, 148}},
        {15, {56, 57, 58, 59, 60, 61, 62, 63, 64, 65, 66, 67, 68, 69, 70, 71}},
        {16, {16, 19, 25, 27, 32,  33,  41,  42,  44,  45,  50,  84,  85,  87,  90,
              94, 95, 97, 98, 100, 101, 102, 103, 105, 106, 137, 139, 141, 143, 149}},
        {18, {128, 129, 132}},
        {19, {80, 81, 86}},
        {21, {82, 130, 131}},
        {24, {5, 21, 22, 23, 43, 91, 124}},
        {32, {6, 17, 20, 24, 26, 28, 79}},
    };
    for (const auto& [bits, types] : types_by_bits)
        if (types.contains(type))
            return bits;
    return 0;
}

int container_bits(int type) {
    if (one_of(type, {136, 138, 140, 142}))
        return 8;
    if (one_of(type, {122, 123, 137, 139, 141, 143, 149}))
        return 16;
    if (one_of(type, {22, 23, 43, 95, 100, 112, 113}) || within(type, 80, 87) || within(type, 128, 132))
        return 32;
    if (one_of(type, {52, 53}) || within(type, 56, 71))
        return 64;
    return (field_bits(type) + 7) / 8 * 8;
}

int extent(const relocation& reloc) {
    return (is_field_operator(reloc.type) ? reloc.descriptor[2] : container_bits(reloc.type)) >> 3;
}

class converter {
public:
    converter(const conversion_request& request, conversion& result)
        : request_(request), result_(result), input_(read_coff(request.input)),
          entries_(request.entries, request.quiet ? nullptr : &result.err) {}

    void run() {
        if (!request_.symbols_only)
            add_string(request_.input_name.substr(request_.input_name.rfind('/') + 1));
        longest_string_ = 0;
        mark_references();
        select_sections();
        select_symbols();
        if (!request_.quiet)
            result_.err += entries_.missing(request_.input_name);
        string_table_.resize((string_table_.size() + 3) / 4 * 4);
        if (!request_.symbols_only)
            cut_sections();
        write();
    }

private:
    // --- selection

    section& section_of(const symbol& sym) { return input_.sections.at(static_cast<std::size_t>(sym.scnum - 1)); }

    bool is_entry(const symbol& sym) { return entries_.exports(sym, input_.sections); }

    void check_section_number(const symbol& sym) {
        if (sym.scnum > static_cast<int>(input_.sections.size()))
            throw run_over{"ERROR: scn_refd array out of bounds\n"};
    }

    bool keep(const symbol& sym, u32 index) {
        if (!one_of(sym.sclass, {2, 3, 5, 6, 14, 19, 21, 23, 24, 25, 26, 28}))
            return false;
        const bool external = one_of(sym.sclass, {2, 21});
        if (request_.symbols_only)
            return sym.scnum != 0 && external && is_entry(sym);
        return referenced_.contains(index) || (external && is_entry(sym));
    }

    void mark_references() {
        for (const section& scn : input_.sections)
            for (const relocation& reloc : scn.relocs)
                if (refers_to_symbol(reloc.type, reloc.symndx)) {
                    if (reloc.symndx >= input_.nsyms)
                        throw run_over{"ERROR: sym_refd array out of bounds\n"};
                    referenced_.insert(reloc.symndx);
                }
        u32 counter = 0;  // on purpose blind to auxiliary entries
        for (const symbol& sym : input_.symbols)
            if (keep(sym, counter++) && sym.scnum > 0) {
                check_section_number(sym);
                used_sections_.insert(static_cast<u32>(sym.scnum));
            }
    }

    bool keep(const section& scn) {
        const bool used = used_sections_.contains(scn.number);
        if (request_.symbols_only)
            return used;
        if ((scn.flags & (flag_dummy | flag_noload)) != 0)
            return false;
        if (!one_of(static_cast<int>(scn.width), {8, 16, 32}))
            throw run_over{};
        return (scn.byte_size() != 0 || used) && !entries_.excludes(scn.name);
    }

    void select_sections() {
        std::array<std::vector<section*>, 3> groups;
        for (section& scn : input_.sections) {
            if (!keep(scn))
                continue;
            set_module_flags(scn);
            if (!request_.symbols_only)
                load_contents(scn);
            if ((scn.flags & flag_copy) == 0)
                groups[(scn.module_flags & 0x30) != 0 ? 0 : 1].push_back(&scn);
            else
                groups[2].insert((scn.module_flags & 15) == 3 ? groups[2].begin() : groups[2].end(), &scn);
        }
        for (const std::vector<section*>& group : groups)
            for (section* scn : group) {
                module_sections_.push_back(scn);
                scn->module_number = static_cast<u16>(module_sections_.size());
                scn->name_offset = add_string(scn->name);
            }
        loader_strings_ = static_cast<u32>(string_table_.size());
    }

    void set_module_flags(section& scn) {
        const bool cinit = scn.name == ".cinit";
        if (!request_.symbols_only && scn.byte_size() != 0) {
            if (cinit && (input_.flags & 2) == 0 && !request_.keep_cinit)
                scn.flags |= flag_copy;
            const bool copy = (scn.flags & flag_copy) != 0;
            if (scn.scnptr != 0 && (!copy || cinit))
                scn.module_flags |= 0x20;
            if (!copy && (input_.flags & 1) == 0)
                scn.module_flags |= 0x10;
        }
        const u32 type = (scn.flags & flag_text) != 0            ? 0
                         : (scn.flags & flag_bss) != 0           ? 2
                         : (scn.flags & flag_copy) != 0 && cinit ? 3
                                                                 : 1;
        scn.module_flags = static_cast<u16>(scn.module_flags | (scn.flags & 0xF00) | type);
    }

    void load_contents(section& scn) {
        const std::uint64_t length = std::uint64_t{scn.width / 8} * scn.size;
        if (scn.scnptr == 0 || length == 0 || (scn.flags & flag_bss) != 0)
            return;
        total_contents_ += length;
        if (length >= 1U << 31 || static_cast<i32>(length) != units_to_bytes(scn.size, scn.width) ||
            !holds(request_.input, scn.scnptr, length) || total_contents_ > memory_limit(request_.input))
            throw run_over{};
        const auto first = request_.input.begin() + static_cast<std::ptrdiff_t>(scn.scnptr);
        scn.contents.emplace(first, first + static_cast<std::ptrdiff_t>(length));
        std::erase_if(scn.relocs, [](const relocation& reloc) { return within(reloc.type, 0x5000, 0x5002); });
    }

    void set_entry_point(const symbol& sym) {
        if (request_.symbols_only)
            return;
        if (sym.scnum == 0)
            throw run_over{"ERROR: Symbol _DLStart is undefined. Improper linkage for entry point\n"};
        if (sym.scnum > static_cast<int>(input_.sections.size()))
            throw run_over{};
        entry_point_ = sym.value - (sym.scnum > 0 ? section_of(sym).paddr : 0);
        entry_section_ = sym.scnum > 0 ? section_of(sym).module_number : 0xFFFF;
    }

    void select_symbols() {
        entry_point_ = input_.entry_point;
        entry_section_ = entry_point_ != 0 ? 0xFFFF : 0;
        u32 count = 0;
        for (const symbol& sym : input_.symbols) {
            const bool start = sym.name == "__DLStart";
            if (start)
                set_entry_point(sym);
            if (!keep(sym, sym.index))
                continue;
            check_section_number(sym);
            const bool exported = (!start || request_.symbols_only) && (is_entry(sym) || sym.scnum == 0);
            const int sclass = exported ? sym.sclass : 3;
            put(symbol_records_, 4, sclass == 3 ? no_symbol : add_string(sym.name), host);
            put(symbol_records_, 4, sym.value, host);
            put(symbol_records_, 2, sym.scnum > 0 ? section_of(sym).module_number : static_cast<u16>(sym.scnum), host);
            put(symbol_records_, 2, static_cast<u16>(sclass), host);
            module_index_[sym.index] = count++;
        }
        if (count > 0xFFFF)
            throw run_over{};
        if (request_.symbols_only)
            entry_point_ = entry_section_ = 0;
    }

    u32 add_string(const std::string& name) {
        const auto [place, added] = strings_.try_emplace(name, static_cast<u32>(string_table_.size()));
        if (added) {
            if (name.size() > 65534 || string_table_.size() > memory_limit(request_.input))
                throw run_over{};
            longest_string_ = std::max(longest_string_, name.size() + 1);
            append(string_table_, name);
            string_table_.push_back(0);
        }
        return place->second;
    }

    // --- packets

    void cut_sections() {
        const std::size_t packets_at =
            56 + string_table_.size() + 28 * module_sections_.size() + symbol_records_.size();
        for (section* scn : module_sections_) {
            if (!scn->contents)
                continue;
            scn->first_packet = static_cast<u32>(packets_at + packets_.size());
            cut_section(*scn);
            if ((scn->flags & flag_copy) != 0)
                scn->paddr = scn->vaddr = 0;
        }
    }

    void cut_section(section& scn) {
        const i32 length = static_cast<i32>(scn.contents->size());
        i32 cursor = 0;
        bool odd = false;  // whether some relocation is not where the format wants it
        for (i32 start = 0; start < length;) {
            i32 size = std::min(length - start, request_.packet_size);
            const i32 first = cursor;
            cursor = end_of_packet(scn, start, first, size);
            bytes relocs;
            for (i32 i = first; i < cursor; ++i) {
                odd |= offset(scn, i, start) + extent(relocation_at(scn, i)) > size;
                add_relocation(relocs, scn, i, start);
            }
            if (size <= 0)
                throw run_over{};
            add_packet(scn, start, size, relocs);
            start += size;
        }
        const i32 count = static_cast<i32>(scn.relocs.size());
        for (i32 i = 0; i < count; ++i)
            odd |= offset(scn, i, 0) < (i == 0 ? 0 : offset(scn, i - 1, 0));
        if (odd || cursor < count)
            result_.err += "WARNING: Section " + scn.name + ": relocations out of order or outside its packets\n";
    }

    static const relocation& relocation_at(const section& scn, i32 i) {
        return scn.relocs.at(static_cast<std::size_t>(i));
    }

    /// Bytes from `start`, itself a byte offset in the section, to the field of relocation i.
    static i32 offset(const section& scn, i32 i, i32 start) {
        const u32 address = static_cast<u32>(units_to_bytes(relocation_at(scn, i).vaddr, scn.width));
        const u32 base = static_cast<u32>(units_to_bytes(scn.vaddr, scn.width));
        return static_cast<i32>(address - base - static_cast<u32>(start));
    }

    /// The first relocation that does not go into the packet at `start`; may lower `size`.
    static i32 end_of_packet(const section& scn, i32 start, i32 first, i32& size) {
        i32 cursor = first;
        while (cursor < static_cast<i32>(scn.relocs.size())) {
            const i32 at = offset(scn, cursor, start);
            if (at >= size)
                break;
            const u32 last_byte = static_cast<u32>(at) + static_cast<u32>(extent(relocation_at(scn, cursor))) - 1;
            if (static_cast<i32>(last_byte) < size) {
                ++cursor;
                continue;
            }
            size = at;
            if ((at & 1) == 0)
                break;
            --size;
            cursor = first_of_group(scn, cursor, first);
            if (cursor == first)
                break;
            cursor = first_of_group(scn, cursor - 1, first);
        }
        return cursor;
    }

    /// The earliest relocation, not before `low`, from which on all up to i share an address.
    static i32 first_of_group(const section& scn, i32 i, i32 low) {
        while (i > low && offset(scn, i - 1, 0) == offset(scn, i, 0))
            --i;
        return i;
    }

    void add_packet(section& scn, i32 start, i32 size, const bytes& relocs) {
        const auto from = scn.contents->begin() + start;
        bytes body(from, from + size);
        body.resize((body.size() + 3) / 4 * 4);
        append(body, relocs);
        bytes head;
        put(head, 4, static_cast<u32>(relocs.size() / 12), host);
        put(head, 4, static_cast<u32>(size), host);
        append(packets_, head);
        put(packets_, 4, ~(sum(head) + sum(body)), host);
        append(packets_, body);
        ++scn.packet_count;
    }

    void add_relocation(bytes& to, const section& scn, i32 i, i32 start) {
        const relocation& reloc = relocation_at(scn, i);
        put(to, 4, static_cast<u32>(bytes_to_units(offset(scn, i, start), scn.width)), host);
        if (is_field_operator(reloc.type)) {
            append(to, bytes(reloc.descriptor.begin(), reloc.descriptor.begin() + 3));
            to.push_back(0);
        } else if (refers_to_symbol(reloc.type, reloc.symndx)) {
            if (!module_index_.contains(reloc.symndx))
                throw run_over{.out = "Internal Error in translating symbols\n"};
            put(to, 4, module_index_.at(reloc.symndx), host);
        } else {
            put(to, 4, reloc.symndx, host);
        }
        put(to, 2, has_displacement(reloc.type) ? reloc.disp : 0, host);
        put(to, 2, reloc.type, host);
    }

    // --- the module

    static u32 sum(const bytes& data) {
        u32 total = 0;
        for (std::size_t at = 0; at + 4 <= data.size(); at += 4)
            total += get(data, at, 4, host);
        return total;
    }

    [[nodiscard]] bytes section_records() const {
        bytes records;
        for (const section* scn : module_sections_) {
            for (const u32 value : {scn->name_offset, scn->paddr, scn->vaddr, scn->size})
                put(records, 4, value, host);
            put(records, 2, scn->page, host);
            put(records, 2, scn->module_flags, host);
            put(records, 4, scn->first_packet, host);
            put(records, 4, scn->packet_count, host);
        }
        return records;
    }

    [[nodiscard]] bytes file_header() const {
        const auto relocated = std::count_if(module_sections_.begin(), module_sections_.end(),
                                             [](const section* scn) { return (scn->module_flags & 0x10) != 0; });
        bytes header;
        for (const u32 value : {static_cast<u32>(string_table_.size()), entry_point_, u32{0x00010203}, loader_strings_})
            put(header, 4, value, host);
        for (const std::size_t value : {symbol_records_.size() / 12, longest_string_, module_sections_.size(),
                                        static_cast<std::size_t>(relocated), std::size_t{0}, std::size_t{input_.target},
                                        std::size_t{input_.flags}, std::size_t{entry_section_}})
            put(header, 2, value, host);
        put(header, 4, ~sum(header), host);
        return header;
    }

    void write() {
        const bytes sections = section_records();
        bytes verification;
        put(verification, 4, input_.timestamp, host);
        for (const bytes* part : std::initializer_list<const bytes*>{&sections, &string_table_, &symbol_records_})
            put(verification, 4, ~sum(*part), host);
        put(verification, 4, ~sum(verification), host);
        bytes& module = result_.module = file_header();
        for (const bytes* part :
             std::initializer_list<const bytes*>{&verification, &string_table_, &sections, &symbol_records_, &packets_})
            append(module, *part);
        if (request_.c_text)
            module = as_text(module);
    }

    static bytes as_text(const bytes& module) {
        std::string text;
        for (std::size_t at = 0; at < module.size(); at += 4) {
            std::array<char, 16> number{};
            std::snprintf(number.data(), number.size(), "%s0x%x", at == 0 ? "" : ",\n", get(module, at, 4, host));
            text += number.data();
        }
        return to_bytes(text + '\n');
    }

    const conversion_request& request_;
    conversion& result_;

    coff_input input_;
    entries entries_;
    u32 entry_point_ = 0, entry_section_ = 0, loader_strings_ = 0;
    std::set<u32> referenced_, used_sections_;
    std::vector<section*> module_sections_;
    std::map<u32, u32> module_index_;  // by index in the COFF symbol table
    std::map<std::string, u32> strings_;
    std::size_t longest_string_ = 0;
    std::uint64_t total_contents_ = 0;
    bytes string_table_, symbol_records_, packets_;
};

}  // namespace
}  // namespace reference

conversion convert(const conversion_request& request) {
    conversion result;
    try {
        reference::converter(request, result).run();
    } catch (const reference::run_over& end) {
        result.status = 1;
        result.err += end.err;
        result.out += end.out;
        result.wording_open = end.err.empty() && end.out.empty();
        result.module.clear();
    }
    return result;
}

}  // namespace support

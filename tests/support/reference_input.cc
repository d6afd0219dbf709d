// Reads a COFF image and entries files for the reference converter.
#include "support/reference_input.h"

#include <algorithm>
#include <map>

namespace support::reference {
namespace {

class reader {
public:
    explicit reader(const bytes& data) : data_(data) {}

    coff_input read() {
        read_headers();
        read_symbols();
        // Names last: what the file does not hold of the symbols counts before what it does not hold of their names.
        for (std::size_t i = 0; i < section_headers_.size(); ++i)
            input_.sections[i].name = name_at(section_headers_[i]);
        for (std::size_t i = 0; i < symbol_entries_.size(); ++i)
            input_.symbols[i].name = name_at(symbol_entries_[i]);
        read_relocations();
        return input_;
    }

private:
    [[nodiscard]] u32 word(std::size_t offset) const { return get(data_, offset, 4, order_); }
    [[nodiscard]] u16 half(std::size_t offset) const { return static_cast<u16>(get(data_, offset, 2, order_)); }

    void read_headers() {
        if (!holds(data_, 0, 22))
            throw run_over{">>   error: Failed to read file and/or section headers\n"};
        order_ = get(data_, 0, 2, byte_order::big) == 0xC2 ? byte_order::big : byte_order::little;
        if (half(0) != 0xC2)
            throw run_over{">> fatal error: this application only supports COFF version 2\n"};
        input_.timestamp = word(4);
        input_.nsyms = word(12);
        input_.flags = half(18);
        input_.target = half(20);
        const u16 optional_size = half(16);
        input_.entry_point = optional_size == 0 ? 0xFFFFFFFF : 0;
        if (optional_size == 28 && holds(data_, 22, 28))
            input_.entry_point = word(22 + 16);
        u32 at = optional_size == 28 ? 50 : 22;
        for (u32 i = 0; i < half(2); ++i, at += 48)
            read_section_header(at);
        if (half(2) > 32767)
            throw run_over{};
    }

    void read_section_header(u32 at) {
        static const std::map<u16, u32> widths = {{0x93, 32}, {0x97, 8},  {0x98, 16}, {0x99, 8},
                                                  {0x9C, 8},  {0x9D, 16}, {0x9F, 8}};
        if (!holds(data_, at, 48))
            throw run_over{">>   error: Failed to read file and/or section headers\n"};
        if (!widths.contains(input_.target))
            throw run_over{"Invalid target type\n"};
        section_headers_.push_back(at);
        input_.sections.push_back({.number = static_cast<u32>(section_headers_.size()),
                                   .paddr = word(at + 8),
                                   .vaddr = word(at + 12),
                                   .size = word(at + 16),
                                   .scnptr = word(at + 20),
                                   .flags = word(at + 40),
                                   .width = data_[at + 44] != 0 ? data_[at + 44] : widths.at(input_.target),
                                   .page = half(at + 46)});
    }

    void read_symbols() {
        u32 at = word(8);
        for (u32 i = 0; i < input_.nsyms; ++i, at += 18) {
            if (!holds(data_, at, 18))
                throw run_over{">> fatal error: failed to read symbol table\n"};
            symbol_entries_.push_back(at);
            input_.symbols.push_back({.index = i,
                                      .value = word(at + 8),
                                      .scnum = static_cast<std::int16_t>(half(at + 12)),
                                      .sclass = static_cast<std::int8_t>(data_[at + 16])});
            if (static_cast<std::int8_t>(data_[at + 17]) > 0) {
                ++i;
                at += 18;
                if (!holds(data_, at, 18))
                    throw run_over{">> fatal error: failed to read auxiliary entry\n"};
            }
        }
    }

    [[nodiscard]] std::string name_at(std::size_t at) const {
        const auto begin = data_.begin();
        const auto inline_name = begin + static_cast<std::ptrdiff_t>(at);
        if (word(at) != 0)
            return {inline_name, std::find(inline_name, inline_name + 8, 0)};
        const u32 offset = word(at + 4);
        if (offset == 0)
            return "";
        const std::uint64_t table = word(8) + std::uint64_t{18} * input_.nsyms;
        const u32 length = holds(data_, table, 4) ? word(table) : 0;
        if (offset < 4 || offset >= length || !holds(data_, table, length))
            throw run_over{};
        const auto strings = begin + static_cast<std::ptrdiff_t>(table);
        const auto end = std::find(strings + offset, strings + length, 0);
        if (end == strings + length)
            throw run_over{};
        return {strings + offset, end};
    }

    void read_relocations() {
        std::uint64_t total = 0;
        for (section& scn : input_.sections) {
            const u32 header = section_headers_[scn.number - 1];
            const u32 relptr = word(header + 24), count = word(header + 32);
            total += 12 * std::uint64_t{count};
            if ((count != 0 && !holds(data_, relptr, 12 * std::uint64_t{count})) || total > memory_limit(data_))
                throw run_over{};
            for (u32 at = relptr; at != relptr + 12 * count; at += 12) {
                scn.relocs.push_back(
                    {.vaddr = word(at), .symndx = word(at + 4), .disp = half(at + 8), .type = half(at + 10)});
                for (u32 i = 0; i < 4; ++i)
                    scn.relocs.back().descriptor.at(i) = data_[at + 4 + i];
            }
        }
    }

    const bytes& data_;
    byte_order order_ = byte_order::little;
    coff_input input_;
    std::vector<u32> section_headers_, symbol_entries_;  // where they lie in the input
};

}  // namespace

coff_input read_coff(const bytes& data) {
    return reader(data).read();
}

entries::entries(const std::vector<std::string>& files, std::string* warnings)
    : everything_(files.empty()), warnings_(warnings) {
    for (const std::string& text : files)
        read(text);
    if (!everything_) {
        add("-__DLModules");
        add("-.bss");
    }
}

void entries::read(const std::string& text) {
    constexpr const char* blanks = " \t\n\v\f\r";
    for (std::size_t at = text.find_first_not_of(blanks); at < text.size(); at = text.find_first_not_of(blanks, at)) {
        const std::size_t end = std::min(text.find_first_of(blanks, at), text.size());
        if (text[at] == '#') {
            at = std::min(text.find('\n', end), text.size());
            continue;
        }
        if (end - at > 255)
            throw run_over{};
        add(text.substr(at, end - at));
        at = end;
    }
}

void entries::add(std::string token) {
    const bool optional = token[0] == '-';
    if (optional)
        token.erase(0, 1);
    const char marker = token.empty() ? '\0' : token[0];
    if (marker == '^' || marker == '@' || marker == '!')
        token.erase(0, 1);
    if (marker == '^')
        prefixes_.push_back({token, optional});
    else if (marker == '@')
        exporting_sections_.push_back({token, optional});
    else
        add_to_table(marker == '!' ? excluded_sections_ : symbols_, token, optional);
}

void entries::add_to_table(table& to, const std::string& name, bool optional) {
    const entry* first = find(to, name);
    if (first == nullptr)
        bucket(to, name).insert(bucket(to, name).begin(), {name, optional});
    else if (first->optional != optional && warnings_ != nullptr)
        *warnings_ += "WARNING: Duplicate entries for " + name +
                      " from entries file(s) with different qualifiers. Keeping entry " +
                      (first->optional ? '-' : ' ') + name + '\n';
}

std::vector<entries::entry>& entries::bucket(table& in, const std::string& name) {
    u32 hash = 0;
    for (const char c : name)
        hash = (hash << 4) + static_cast<u32>(static_cast<signed char>(c));
    return in.at((hash * 0x4E67C98C) >> 27);
}

entries::entry* entries::find(table& in, const std::string& name) {
    for (entry& candidate : bucket(in, name))
        if (candidate.name == name)
            return &candidate;
    return nullptr;
}

bool entries::exports(const symbol& sym, const std::vector<section>& sections) {
    if (everything_)
        return true;
    if (entry* named = find(symbols_, sym.name))
        return named->found = true;
    for (entry& prefix : prefixes_)
        if (sym.name.starts_with(prefix.name))
            return prefix.found = true;
    if (sym.scnum > 0 && static_cast<std::size_t>(sym.scnum) <= sections.size())
        for (entry& exporting : exporting_sections_)
            if (sections[static_cast<std::size_t>(sym.scnum) - 1].name == exporting.name)
                return exporting.found = true;
    return false;
}

bool entries::excludes(std::string section_name) {
    if (everything_)
        return false;
    while (find(excluded_sections_, section_name) == nullptr) {
        if (section_name.find(':') == std::string::npos)
            return false;
        section_name.resize(section_name.rfind(':'));
    }
    return true;
}

std::string entries::missing(const std::string& input_name) const {
    std::string text;
    const auto report = [&](const std::vector<entry>& list, const std::string& kind) {
        for (const entry& e : list)
            if (!e.optional && !e.found)
                text += "WARNING: " + kind + ' ' + e.name + " from entries file not found in " + input_name + '\n';
    };
    for (const std::vector<entry>& chain : symbols_)
        report(chain, "Symbol");
    report(prefixes_, "Prefix");
    report(exporting_sections_, "Section");
    return text.empty() ? text : text + "\n\n";
}

}  // namespace support::reference

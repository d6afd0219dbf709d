// Sections are compared by name, named symbols by name, nameless ones by section and value, relocations by their place
// in the section: numbers and offsets change with every symbol that comes or goes.
#include "tools/velmdump/diff.h"

#include <algorithm>
#include <cstdarg>
#include <iterator>
#include <map>
#include <string>
#include <tuple>

#include "format/address_units.h"
#include "format/reloc_types.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/show.h"

namespace {

/// A relocation without the numbers that depend on the module around it.
struct placed_reloc {
    std::uint64_t place;  ///< bytes from the start of the section
    std::uint16_t type;
    std::string target;
    std::uint16_t displacement;

    bool operator<(const placed_reloc& other) const {
        return std::tie(place, type, target, displacement) <
               std::tie(other.place, other.type, other.target, other.displacement);
    }
};

std::string section_name(const velm_module& module, int number) {
    if (number > 0 && static_cast<std::size_t>(number) <= module.sections.size())
        return printable(module.name(module.sections[static_cast<std::size_t>(number) - 1]));
    return std::to_string(number);
}

std::string target_of(const velm_module& module, const reloc_record& rec) {
    if (!is_sym_reloc(rec.r_type, rec.r_symndx) || rec.r_symndx >= module.symbols.size())
        return "word " + std::to_string(rec.r_symndx);
    const velm_symbol_record& symbol = module.symbols[rec.r_symndx];
    if (velm_module::is_named(symbol))
        return printable(module.name(symbol));
    return section_name(module, symbol.section) + "+" + std::to_string(symbol.value);
}

std::vector<placed_reloc> relocs_of(const velm_module& module, const section_place& section) {
    std::vector<placed_reloc> relocs;
    std::uint64_t start = 0;
    for (const packet_place& packet : module.packets(section)) {
        for (std::uint32_t i = 0; i < packet.header.nreloc; ++i) {
            const reloc_record rec = module.reloc(packet, i);
            const auto offset = AUtobyte(static_cast<std::int32_t>(rec.r_vaddr), section.width);
            relocs.push_back({start + static_cast<std::uint64_t>(std::int64_t{offset}), rec.r_type,
                              target_of(module, rec), rec.r_disp});
        }
        start += packet.header.data_size;
    }
    return relocs;
}

class module_diff {
public:
    module_diff(const velm_module& a, const velm_module& b, std::FILE* out) : a_(a), b_(b), out_(out) {}

    void header(bool ignore_stamp) {
        number("target", a_.header.target_id, b_.header.target_id);
        number("file flags", a_.header.flags, b_.header.flags);
        number("entry point", a_.header.entry_point, b_.header.entry_point);
        if (section_name(a_, a_.header.entry_scn) != section_name(b_, b_.header.entry_scn))
            line("entry section: %s, %s", section_name(a_, a_.header.entry_scn).c_str(),
                 section_name(b_, b_.header.entry_scn).c_str());
        if (!ignore_stamp)
            number("time stamp", a_.verify.timestamp, b_.verify.timestamp);
    }

    void sections() {
        const auto in_a = by_name(a_);
        const auto in_b = by_name(b_);
        for (const auto& [key, section] : in_a) {
            const auto other = in_b.find(key);
            if (other == in_b.end())
                line("section %s: only in the first", key.first.c_str());
            else
                compare(key.first, *section, *other->second);
        }
        for (const auto& [key, section] : in_b) {
            if (in_a.find(key) == in_a.end())
                line("section %s: only in the second", key.first.c_str());
        }
    }

    void symbols() {
        const auto in_a = named_symbols(a_);
        const auto in_b = named_symbols(b_);
        for (const auto& [name, text] : in_a) {
            const auto other = in_b.find(name);
            if (other == in_b.end())
                line("symbol %s: only in the first", name.c_str());
            else if (other->second != text)
                line("symbol %s: %s, %s", name.c_str(), text.c_str(), other->second.c_str());
        }
        for (const auto& [name, text] : in_b) {
            if (in_a.find(name) == in_a.end())
                line("symbol %s: only in the second", name.c_str());
        }
    }

    [[nodiscard]] unsigned long lines() const { return lines_; }

private:
    /// Name, and a counter for sections that share one.
    using section_key = std::pair<std::string, unsigned>;

    [[gnu::format(printf, 2, 3)]] void line(const char* format, ...) {
        std::va_list args;
        va_start(args, format);
        std::vfprintf(out_, format, args);
        va_end(args);
        std::fputc('\n', out_);
        ++lines_;
    }

    void number(const std::string& what, std::uint32_t a, std::uint32_t b) {
        if (a != b)
            line("%s: 0x%08X, 0x%08X", what.c_str(), a, b);
    }

    static std::map<section_key, const section_place*> by_name(const velm_module& module) {
        std::map<section_key, const section_place*> result;
        std::map<std::string, unsigned> seen;
        for (const section_place& section : module.sections) {
            const std::string name = printable(module.name(section));
            result[{name, seen[name]++}] = &section;
        }
        return result;
    }

    static std::map<std::string, std::string> named_symbols(const velm_module& module) {
        std::map<std::string, std::string> result;
        for (const velm_symbol_record& symbol : module.symbols) {
            if (!velm_module::is_named(symbol))
                continue;
            char text[32];
            std::snprintf(text, sizeof text, "0x%08X class %u in ", symbol.value, symbol.storage_class);
            std::string& facts = result[printable(module.name(symbol))];
            facts += (facts.empty() ? "" : " and ") + (text + section_name(module, symbol.section));
        }
        return result;
    }

    void compare(const std::string& name, const section_place& a, const section_place& b) {
        const std::string title = "section " + name + ": ";
        number(title + "run address", a.header.paddr, b.header.paddr);
        number(title + "load address", a.header.vaddr, b.header.vaddr);
        number(title + "size", a.header.size, b.header.size);
        number(title + "page", a.header.page, b.header.page);
        number(title + "flags", a.header.flags, b.header.flags);
        contents(title, a_.contents(a), b_.contents(b));
        relocs(title, relocs_of(a_, a), relocs_of(b_, b));
    }

    /// A line for each run of bytes that differ; runs less than 8 bytes apart count as one.
    void contents(const std::string& title, const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
        const std::size_t common = std::min(a.size(), b.size());
        for (std::size_t i = 0; i < common; ++i) {
            if (a[i] == b[i])
                continue;
            std::size_t last = i;
            for (std::size_t k = i; k < common && k - last <= 8; ++k) {
                if (a[k] != b[k])
                    last = k;
            }
            line("%sbytes 0x%zX to 0x%zX differ", title.c_str(), i, last);
            i = last;
        }
        if (a.size() != b.size())
            line("%s%zu bytes of contents, %zu bytes", title.c_str(), a.size(), b.size());
    }

    void relocs(const std::string& title, std::vector<placed_reloc> a, std::vector<placed_reloc> b) {
        std::vector<placed_reloc> only;
        std::stable_sort(a.begin(), a.end());
        std::stable_sort(b.begin(), b.end());
        std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(only));
        only_in(title, only, "first");
        only.clear();
        std::set_difference(b.begin(), b.end(), a.begin(), a.end(), std::back_inserter(only));
        only_in(title, only, "second");
    }

    void only_in(const std::string& title, const std::vector<placed_reloc>& relocs, const char* which) {
        for (const placed_reloc& r : relocs)
            line("%srelocation at 0x%llX (%s, %s): only in the %s", title.c_str(),
                 static_cast<unsigned long long>(r.place), type_words(r.type).c_str(), r.target.c_str(), which);
    }

    const velm_module& a_;
    const velm_module& b_;
    std::FILE* out_;
    unsigned long lines_ = 0;
};

}  // namespace

unsigned long diff_modules(const velm_module& a, const velm_module& b, bool ignore_stamp, std::FILE* out) {
    module_diff diff(a, b, out);
    diff.header(ignore_stamp);
    diff.sections();
    diff.symbols();
    return diff.lines();
}

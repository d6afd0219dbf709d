// Sections are compared by name, named symbols by name, nameless ones by section and value, relocations by their place
// in the section: numbers and offsets change with every symbol that comes or goes. Contents and relocations are compared
// as they go by; memory holds nothing of them.
#include "tools/velmdump/diff.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <initializer_list>

#include "tools/common/text_forms.h"
#include "tools/velmdump/diff_names.h"
#include "tools/velmdump/module_words.h"
#include "tools/velmdump/section_cursors.h"
#include "tools/velmdump/string_checks.h"

namespace {

class module_diff {
public:
    module_diff(const velm_module& a, const velm_module& b, const std::function<void(const difference&)>& tell)
        : a_(a), b_(b), names_a_(a), names_b_(b), tell_(tell) {
        symbol_numbers numbers;
        numbers_a_ = numbers.of(a);
        numbers_b_ = numbers.of(b);
    }

    void header(bool ignore_stamp) {
        part_ = "module";
        const auto name = [](const velm_module& m) {
            return begins_with_module_name(m) ? brief(m.string(0)) : std::string("none");
        };
        words("module name", name(a_), name(b_));
        number("target", a_.header.target_id, b_.header.target_id);
        number("file flags", a_.header.flags, b_.header.flags);
        number("entry point", a_.header.entry_point, b_.header.entry_point);
        const auto entry = [](brief_names& names) {
            return section_label(names, static_cast<std::int16_t>(names.module().header.entry_scn));
        };
        words("entry section", entry(names_a_), entry(names_b_));
        if (!ignore_stamp)
            number("time stamp", a_.verify.timestamp, b_.verify.timestamp);
    }

    void sections() {
        part_ = "section";
        const auto offsets = [](const velm_module& module) {
            std::vector<std::uint32_t> result;
            for (const section_place& section : module.sections)
                result.push_back(section.header.name_offset);
            return result;
        };
        pair_up(by_name(a_, offsets(a_)), by_name(b_, offsets(b_)), [this](const auto& in_a, const auto& in_b) {
            const std::size_t common = std::min(in_a.size(), in_b.size());
            for (std::size_t i = 0; i < common; ++i)
                compare(a_.sections[in_a[i]], b_.sections[in_b[i]]);
            for (std::size_t i = common; i < std::max(in_a.size(), in_b.size()); ++i)
                only_in(in_a.size() > common);
        });
    }

    void symbols() {
        part_ = "symbol";
        const auto offsets = [](const velm_module& module) {
            std::vector<std::uint32_t> result;
            for (const velm_symbol_record& symbol : module.symbols)
                result.push_back(velm_module::is_named(symbol) ? symbol.name_offset : velm_no_name);
            return result;
        };
        pair_up(by_name(a_, offsets(a_)), by_name(b_, offsets(b_)), [this](const auto& in_a, const auto& in_b) {
            if (in_a.empty() || in_b.empty())
                return only_in(in_b.empty());
            const std::string facts_a = symbol_facts(names_a_, in_a);
            const std::string facts_b = symbol_facts(names_b_, in_b);
            if (facts_a != facts_b)
                line("%s, %s", facts_a.c_str(), facts_b.c_str());
        });
    }

    [[nodiscard]] unsigned long lines() const { return lines_; }

private:
    [[gnu::format(printf, 2, 3)]] void line(const char* format, ...) {
        char text[2048];
        std::va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof text, format, args);
        va_end(args);
        tell(text);
    }

    void tell(std::string_view text) {
        tell_({part_, name_, text});
        ++lines_;
    }

    void only_in(bool first) { line("only in the %s", first ? "first" : "second"); }

    void number(const char* what, std::uint32_t a, std::uint32_t b) {
        if (a != b)
            line("%s: 0x%08X, 0x%08X", what, a, b);
    }

    void words(const char* what, const std::string& a, const std::string& b) {
        if (a != b)
            line("%s: %s, %s", what, a.c_str(), b.c_str());
    }

    /// Calls `visit` with the indices of each name in both modules, by name; none where the name is missing.
    template <typename VISIT>
    void pair_up(const std::vector<named_records>& in_a, const std::vector<named_records>& in_b, VISIT visit) {
        const std::vector<std::uint32_t> none;
        auto a = in_a.begin();
        auto b = in_b.begin();
        while (a != in_a.end() || b != in_b.end()) {
            const int order = a == in_a.end() ? 1 : b == in_b.end() ? -1 : a->name.compare(b->name);
            name_ = order <= 0 ? a->name : b->name;
            visit(order <= 0 ? a->indices : none, order >= 0 ? b->indices : none);
            a += order <= 0;
            b += order >= 0;
        }
        name_ = {};
    }

    static std::string symbol_facts(brief_names& names, const std::vector<std::uint32_t>& indices) {
        constexpr std::size_t most = 10;
        std::string facts;
        for (std::size_t i = 0; i < std::min(indices.size(), most); ++i) {
            const velm_symbol_record& symbol = names.module().symbols[indices[i]];
            char text[64];
            std::snprintf(text, sizeof text, "0x%08X class %u in ", symbol.value, symbol.storage_class);
            facts += (facts.empty() ? "" : " and ") + (text + section_label(names, symbol.section));
        }
        return indices.size() > most ? facts + " and " + counted(indices.size() - most, "other") : facts;
    }

    void compare(const section_place& a, const section_place& b) {
        number("run address", a.header.paddr, b.header.paddr);
        number("load address", a.header.vaddr, b.header.vaddr);
        number("size", a.header.size, b.header.size);
        number("page", a.header.page, b.header.page);
        number("flags", a.header.flags, b.header.flags);
        if (a.width != b.width)
            line("address units of %d bits, %d bits", a.width, b.width);
        contents(a, b);
        relocs({names_a_, a, numbers_a_}, {names_b_, b, numbers_b_});
    }

    /// A line for each run of bytes that differ; runs less than 8 bytes apart count as one.
    void contents(const section_place& a, const section_place& b) {
        content_cursor in_a(a_, a);
        content_cursor in_b(b_, b);
        std::uint64_t at = 0;
        std::uint64_t first = 0;
        std::uint64_t behind = 0;  // the run that was found last, and not told yet; none when behind == first
        const auto tell_run = [&] {
            if (behind == first + 1)
                line("byte 0x%llX differs", wide(first));
            else if (behind > first)
                line("bytes 0x%llX to 0x%llX differ", wide(first), wide(behind - 1));
        };
        while (!in_a.bytes().empty() && !in_b.bytes().empty()) {
            const std::size_t size = std::min(in_a.bytes().size(), in_b.bytes().size());
            const std::string_view x = in_a.bytes().substr(0, size);
            const std::string_view y = in_b.bytes().substr(0, size);
            for (std::size_t i = x == y ? size : 0; i < size; ++i) {
                if (x[i] == y[i])
                    continue;
                if (behind == first || at + i > behind + 8) {
                    tell_run();
                    first = at + i;
                }
                behind = at + i + 1;
            }
            at += size;
            in_a.skip(size);
            in_b.skip(size);
        }
        tell_run();
        if (a.contents_size != b.contents_size)
            line("%s of contents, %s", counted(a.contents_size, "byte").c_str(),
                 counted(b.contents_size, "byte").c_str());
    }

    void relocs(reloc_cursor a, reloc_cursor b) {
        while (!a.at_end() || !b.at_end()) {
            const std::int64_t place_a = a.at_end() ? 0 : a.place();
            const std::int64_t place_b = b.at_end() ? 0 : b.place();
            if (!a.at_end() && (b.at_end() || place_a < place_b)) {
                reloc_line(a, "first");
                a.next();
            } else if (a.at_end() || place_b < place_a) {
                reloc_line(b, "second");
                b.next();
            } else {
                if (!a.same_as(b))
                    tell_reloc(place_a, {": (", a.words(), "), (", b.words(), ")"});
                a.next();
                b.next();
            }
        }
    }

    void reloc_line(const reloc_cursor& at, const char* which) {
        tell_reloc(at.place(), {" (", at.words(), "): only in the ", which});
    }

    /// There may be millions: the line is put together in the room of the last one.
    void tell_reloc(std::int64_t place, std::initializer_list<std::string_view> what) {
        reloc_line_.assign("relocation at ").append(hex_place(place));
        for (const std::string_view part : what)
            reloc_line_ += part;
        tell(reloc_line_);
    }

    const velm_module& a_;
    const velm_module& b_;
    brief_names names_a_;
    brief_names names_b_;
    const std::function<void(const difference&)>& tell_;
    std::vector<std::uint32_t> numbers_a_;
    std::vector<std::uint32_t> numbers_b_;
    const char* part_ = "module";
    std::string_view name_;
    std::string reloc_line_;
    unsigned long lines_ = 0;
};

}  // namespace

std::string subject_words(const difference& d) {
    return d.name.empty() && d.part == std::string_view("module") ? "" : d.part + (" " + brief(d.name)) + ": ";
}

unsigned long diff_modules(const velm_module& a, const velm_module& b, bool ignore_stamp,
                           const std::function<void(const difference&)>& tell) {
    module_diff diff(a, b, tell);
    diff.header(ignore_stamp);
    diff.sections();
    diff.symbols();
    return diff.lines();
}

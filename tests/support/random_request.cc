// Draws sections, symbols, relocations and entries so that most requests convert and few parts are like any other.
#include "support/random_request.h"

#include <algorithm>
#include <initializer_list>
#include <random>

#include "support/coff_builder.h"

namespace support {
namespace {

using std::uint32_t;

// Ordinary types of every extent, expression types, field types, types that are left out, unknown ones.
constexpr std::initializer_list<std::uint16_t> reloc_types = {
    17,     17,     17,     16,     15,     21,     20,     22,     23,     56,     52,
    54,     82,     113,    123,    148,    4,      300,    0x3FFF, 0x4000, 0x400C, 0x400D,
    0x4010, 0x4011, 0x4012, 0x4015, 0x4016, 0x4017, 0x5000, 0x5001, 0x5002, 0x6000, 0xC011};
constexpr std::initializer_list<const char*> section_names = {
    ".text", ".text",  ".text:a",       ".text:a:b",    ".data",    ".bss", ".cinit",      ".cinit",
    "a:b",   ".const", ".const:tables", ".debug_info_", ".ramcode", "",     ".text:b:c:d", ":x"};
constexpr std::initializer_list<const char*> symbol_names = {
    "_main",    "_a",       "_b",          "_api_one", "_api_two", "_api_three_with_a_long_name",
    "",         "_12345_8", "__DLModules", ".bss",     ".text",    "__DLStart",
    "_DLStart", "$special", "\xE4\xF6\xFC"};
constexpr std::initializer_list<std::uint8_t> classes = {2, 2, 2, 2, 3, 3, 3, 5, 6, 14, 19, 21, 23, 24, 25, 26, 28};
constexpr std::initializer_list<std::uint8_t> dropped_classes = {0, 1, 4, 8, 10, 13, 100, 101, 103, 0xFF};

class generator {
public:
    explicit generator(uint32_t seed) : engine_(seed) {}

    second_opinion::conversion_request request() {
        make_image();
        second_opinion::conversion_request made{.input_name = pick({"app.out", "x", "./a.b.c"}),
                                                .input = image_.data()};
        made.symbols_only = chance(15);
        made.c_text = chance(10);
        made.quiet = chance(15);
        made.keep_cinit = chance(20);
        made.packet_size = chance(50) ? 300 : 300 + 4 * static_cast<int>(below(182));
        for (uint32_t files = chance(50) ? 0 : 1 + below(2); files > 0; --files)
            made.entries.push_back(entries());
        return made;
    }

private:
    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(engine_()) % limit; }
    bool chance(uint32_t percent) { return below(100) < percent; }
    template <class T> T pick(std::initializer_list<T> list) {
        return list.begin()[below(static_cast<uint32_t>(list.size()))];
    }

    void make_image() {
        image_.order = chance(50) ? byte_order::little : byte_order::big;
        image_.target_id = pick<std::uint16_t>({0x93, 0x97, 0x98, 0x99, 0x9C, 0x9D, 0x9F});
        image_.flags = static_cast<std::uint16_t>(below(0x10000));
        image_.timestamp = below(0xFFFFFFFF);
        if (chance(50))
            image_.optional_header = {.entrypt = chance(30) ? 0 : below(0xFFFFFFFF)};
        else if (chance(20))
            image_.opthdr = 20;
        image_.mixed = chance(50);
        const uint32_t sections = below(8);
        for (uint32_t i = 0; i < sections; ++i)
            image_.sections.push_back(section());
        for (uint32_t i = below(25); i > 0; --i)
            image_.symbols.push_back(symbol());
        for (coff_section& section : image_.sections)
            if (chance(80))
                add_relocs(section);
    }

    coff_section section() {
        coff_section made{.name = pick(section_names)};
        made.flags = pick<uint32_t>({0x20, 0x20, 0x40, 0x40, 0x80, 0x10, 0x50, 0x00, 0x01, 0x02, 0xA0}) |
                     (chance(30) ? below(16) << 8 : 0);
        made.paddr = pick<uint32_t>({0, 0x100, 0x2001, 0x07FFFFF0, 0x7FFFFF80, 0x80000000, 0xFFFFFE00});
        if (chance(20))
            made.vaddr = made.paddr ^ 0x10000;
        if (chance(30))
            made.mwidth = pick<std::uint8_t>({8, 16, 32});
        made.page = static_cast<std::uint16_t>(below(4));
        if (chance(80))
            made.contents.resize(below(chance(50) ? 40 : 2000) / width(made) * width(made));
        for (std::uint8_t& byte : made.contents)
            byte = static_cast<std::uint8_t>(below(256));
        if (made.flags == 0x80 && chance(80)) {
            made.contents.clear();
            made.size = below(5000);
        } else if (made.contents.empty() && chance(30)) {
            made.scnptr = 0xFFFFFF00;
        }
        return made;
    }

    [[nodiscard]] uint32_t width(const coff_section& section) const {
        return (section.mwidth != 0 ? section.mwidth : target_width(image_.target_id)) / 8;
    }

    coff_symbol symbol() {
        coff_symbol made{.name = pick(symbol_names), .value = below(0x2000)};
        const int count = static_cast<int>(image_.sections.size());
        made.scnum = static_cast<std::int16_t>(chance(70) && count > 0
                                                   ? 1 + static_cast<int>(below(image_.sections.size() & 0xFF))
                                                   : pick({0, 0, 0, -1, -2}));
        made.sclass = chance(85) ? pick(classes) : pick(dropped_classes);
        if (made.name == "__DLStart" && chance(95))
            made.scnum = count > 0 ? 1 : -1;
        else if (chance(1) && chance(20))
            made.scnum = static_cast<std::int16_t>(count + 1);
        made.type = pick<std::uint16_t>({0, 4, 0x20, 0x30});
        made.long_name = chance(10);
        if (chance(30))
            made.aux = {aux_function(below(9), below(9), 0, below(9))};
        return made;
    }

    /// Mostly ascending, in groups, and thick enough to meet the ends of packets.
    void add_relocs(coff_section& section) {
        const uint32_t step = 1 + below(30);
        const bool disorder = chance(8);
        const uint32_t length = static_cast<uint32_t>(section.contents.size()) / width(section);
        for (uint32_t at = below(step); at < length + (chance(3) ? 20 : 0); at += below(step)) {
            for (uint32_t group = chance(15) ? 1 + below(5) : 1; group > 0; --group)
                section.relocs.push_back(reloc(section, at, length));
            if (disorder && chance(10))
                at -= std::min(at, below(40));
            if (section.relocs.size() > 400)
                break;
        }
    }

    coff_reloc reloc(const coff_section& section, uint32_t at, uint32_t length) {
        coff_reloc made{.vaddr = section.vaddr.value_or(section.paddr) + at, .type = pick(reloc_types)};
        // Fields that reach past the contents end the run, so they must be rare.
        if ((length - at) * width(section) < 32 && chance(98))
            made.type = pick<std::uint16_t>({0x4011, 0x4000, 4, 0x5001});
        made.disp = static_cast<std::uint16_t>(below(0x10000));
        if ((made.type >= 0x400D && made.type <= 0x4010) || made.type == 0x4016)
            made.descriptor = {{static_cast<std::uint8_t>(below(32)), static_cast<std::uint8_t>(below(33)),
                                pick<std::uint8_t>({8, 16, 24, 32, 64, 255}), 0xEE}};
        for (int tries = 0; tries < 3 && !image_.symbols.empty() && made.symndx == 0xFFFFFFFF; ++tries) {
            const std::size_t target = below(static_cast<uint32_t>(image_.symbols.size()));
            const bool kept = std::count(classes.begin(), classes.end(), image_.symbols[target].sclass) != 0;
            if (kept || (tries == 0 && chance(1) && chance(5)))
                made.symndx = image_.index_of(target);
        }
        return made;
    }

    std::string entries() {
        std::string text;
        for (uint32_t tokens = below(8); tokens > 0; --tokens) {
            const char* marker = pick({"", "", "", "", "^", "^", "@", "!"});
            const std::string name = *marker == '@' || *marker == '!' ? pick(section_names) : pick(symbol_names);
            const std::size_t length =
                *marker == '^' || chance(5) ? below(static_cast<uint32_t>(name.size() + 1)) : name.size();
            text += pick({"", "", "-"}) + (marker + name.substr(0, length)) +
                    pick({" ", "\n", "\t\r\n", "\n# note\n", " #x\n"});
        }
        return text + pick({"", "\n", "# the end", "#"});
    }

    std::mt19937 engine_;
    coff_image image_;
};

}  // namespace

second_opinion::conversion_request random_request(std::uint32_t seed) {
    return generator(seed).request();
}

}  // namespace support

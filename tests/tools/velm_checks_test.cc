// The checks of velmdump on modules that the second opinion makes: sound ones pass, every damage is found.
#include "tools/velmdump/checks.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <optional>
#include <set>

#include "support/coff_builder.h"
#include "support/module_sums.h"
#include "support/random_request.h"
#include "support/records.h"
#include "support/run_program.h"
#include "tools/second_opinion/conversion.h"

namespace {

using second_opinion::conversion_request;
using support::bytes;
using support::put_word;
using support::repair_sums;
using support::word_at;

/// Of the modules that damages are cut into, by place.
constexpr auto little = second_opinion::byte_order::little;

std::vector<finding> findings_of(const bytes& file) {
    return check_module(velm_module(decode_module({file.begin(), file.end()})));
}

std::string text_of(const std::vector<finding>& findings) {
    std::string text;
    for (const finding& f : findings)
        text += (f.error ? "error: " : "warning: ") + f.text + "\n";
    return text;
}

/// A small module with everything in it: two packets, a relocation, an export, an import, a nameless symbol.
bytes small_module(bool c_text) {
    support::coff_image image;
    image.sections = {{.name = ".text", .paddr = 0x100, .contents = bytes(303, 0x5A)},
                      {.name = ".data", .flags = 0x40, .paddr = 0x800, .contents = {1, 2, 3, 4, 5, 6}},
                      {.name = ".cinit", .flags = 0x40, .paddr = 0x900, .contents = {7, 8, 9, 10}}};
    image.sections[1].relocs = {{.vaddr = 0x802, .type = 17, .symndx = 1}, {.vaddr = 0x802, .type = 17, .symndx = 2}};
    image.symbols = {{.name = "_main", .value = 0x100, .scnum = 1},
                     {.name = "_printf", .scnum = 0},
                     {.name = "_local", .value = 0x801, .scnum = 2, .sclass = 3},
                     {.name = "__DLStart", .value = 0x102, .scnum = 1}};
    return second_opinion::convert({.input = image.data(), .c_text = c_text, .packet_size = 300, .order = little})
        .module;
}

/// No form of the module has an error; all have the same findings. False when there is no module.
bool expect_sound(conversion_request request, const std::string& which) {
    std::optional<std::string> told;
    for (const auto order : {second_opinion::byte_order::little, second_opinion::byte_order::big}) {
        for (const bool c_text : {false, true}) {
            request.order = order;
            request.c_text = c_text;
            const second_opinion::conversion conversion = second_opinion::convert(request);
            if (conversion.status != 0)
                return false;
            const std::vector<finding> findings = findings_of(conversion.module);
            EXPECT_FALSE(has_errors(findings)) << which << "\n" << text_of(findings);
            EXPECT_EQ(text_of(findings), told.value_or(text_of(findings))) << which;
            told = text_of(findings);
        }
    }
    return true;
}

TEST(VelmChecks, EveryModuleOfTheConverterIsSoundInEveryForm) {
    unsigned modules = 0;
    for (std::uint32_t seed = 0; modules < 1000 && !HasFailure(); ++seed)
        modules += expect_sound(support::random_request(seed), "seed " + std::to_string(seed));
}

TEST(VelmChecks, EveryDamageIsFound) {
    for (const bool c_text : {false, true}) {
        const bytes sound = small_module(c_text);
        ASSERT_EQ(text_of(findings_of(sound)), "");
        unsigned long damages = 0;
        for (std::size_t bit = 0; bit < sound.size() * 8; ++bit, ++damages) {
            bytes flipped = sound;
            flipped[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
            ASSERT_TRUE(has_errors(findings_of(flipped))) << "bit " << bit % 8 << " of byte " << bit / 8;
        }
        for (std::size_t kept = 0; kept < sound.size(); ++kept, ++damages)
            ASSERT_TRUE(has_errors(findings_of({sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(kept)})))
                << "cut to " << kept;
        for (unsigned byte = 0; byte < 256; ++byte, ++damages) {
            bytes longer = sound;
            longer.push_back(static_cast<std::uint8_t>(byte));
            ASSERT_TRUE(has_errors(findings_of(longer))) << "appended " << byte;
        }
        std::printf("%s form: %lu damages found\n", c_text ? "text" : "binary", damages);
    }
}

/// Exclusive or of a word.
struct change {
    std::size_t offset;
    std::uint32_t bits;
};

bytes changed(bytes module, const std::vector<change>& changes) {
    for (const change& c : changes)
        put_word(module, c.offset, word_at(module, c.offset) ^ c.bits);
    repair_sums(module);
    return module;
}

// One rule a row: the damage, with the sums repaired, and the words of its one finding.
TEST(VelmChecks, EachRuleHasItsFinding) {
    const bytes sound = small_module(false);
    const std::size_t sections = 56 + word_at(sound, 0);
    const std::size_t symbols = sections + 28 * 3;
    const std::size_t packets = symbols + 12 * 4;  // 12 + 300, 12 + 4, 12 + 8 + 2 * 12, 12 + 4
    const std::size_t second = packets + 312;
    const std::size_t third = second + 16;
    const std::size_t relocs = third + 12 + 8;
    const struct {
        std::vector<change> damage;
        const char* text;
    } table[] = {
        {{{0, 2}}, "error: size of the string table, 46, is no multiple of 4\n"},
        {{{8, 0x01000000}}, "error: byte-order word is 0x01010203\n"},
        {{{12, 1}}, "error: the names of module and sections take 27 bytes, not 26\n"},
        {{{16, 1}},
         "error: the first packet is to be at 0xE8, but strings, 3 section headers and 5 symbols end at 0xF4\n"},
        {{{16, 0x00010000}}, "error: the longest name takes 8 bytes, not 9\n"},
        {{{20, 0x00010000}}, "error: 2 relocated sections, but the header says 3\n"},
        {{{24, 1}}, "error: reserved field is not zero\n"},
        {{{24, 0x00070000}}, "error: no target has the id 0x009E\n"},
        {{{28, 1}}, "error: file flags 0x1101 say that relocations were stripped, but 2 sections are relocated\n"},
        {{{28, 0x00050000}}, "error: entry point in section 4 of 3\n"},
        {{{28, 0x00010000}}, "warning: entry point 0x00000002 in a section that is not in the module\n"},
        {{{4, 0x1000}}, "warning: entry point 0x00001002 lies outside its section\n"},
        {{{56, 0x41}}, ""},  // a letter of a name: only the sum tells
        {{{sections - 4, 0x01000000}}, "error: padding of the string table is not zero\n"},
        {{{sections, 1}}, "error: section: name offset 9, but the next name begins at 8\n"},
        {{{sections + 8, 0x700}, {sections + 4, 0x700}},
         "warning: symbol _main at 0x00000100 lies outside its section\n"},
        {{{sections + 12, 0x100}}, "error: packets of 303 bytes do not add up to a size of 47 units\n"},
        {{{sections + 16, 0x00400000}}, "error: section flags 0x0070: a value that no section has\n"},
        {{{sections + 16, 0x09000000}}, "warning: run address 0x00000100 does not fit the alignment of 512 units\n"},
        {{{sections + 16, 0x00100000}},
         "error: section flags 0x0020: contents, but not relocated, though the file flags say that relocations are "
         "there\n"},
        {{{sections + 20, 4}},
         "error: the first packet is to be at 0xEC, but strings, 3 section headers and 4 symbols end at 0xE8\n"},
        {{{sections + 24, 1}}, "error: 3 packets of section .text, but 2 in the file\n"},
        {{{sections + 28 + 20, 4}}, "error: first packet at 0x234, but it belongs at 0x230\n"},
        {{{sections + 28 + 20, 0x40000000}}, "error: first packet at 0x40000230, but it belongs at 0x230\n"},
        {{{sections + 28 + 4, 0xA00}, {sections + 28 + 8, 0xA00}},
         "warning: run address of section .data lies inside section .text\n"},
        {{{sections + 28 + 16, 0x00320000}}, "error: section flags 0x0003: an initialisation table is named .cinit\n"},
        {{{sections + 56 + 4, 4}}, "error: copy section with contents and an address\n"},
        {{{sections + 56 + 16, 0x00200000}},
         "error: section flags 0x0003: a .cinit with packets, but not the flag for contents\n"},
        {{{sections + 4, 0x100}, {sections + 8, 0x100}, {20, 0x00030000}, {sections + 16, 0x00300000}},
         "error: loaded section stands behind one that is not loaded\n"},
        {{{symbols + 8, 0x00010000}}, "error: symbol with a name of class 3\n"},
        {{{symbols + 8, 0x00050000}}, "error: symbol of class 7\n"},
        {{{symbols + 8, 4}}, "error: symbol in section 5 of 3\n"},
        {{{symbols + 12, 1}}, "error: symbol: name offset 32, but the next name begins at 33\n"},
        {{{symbols + 16, 5}}, "warning: symbol _printf has a value, but its section is not in the module\n"},
        {{{symbols + 32, 2}}, "warning: nameless symbol 0x00000801: its section is not in the module\n"},
        {{{packets, 1}}, "error: packets of section .text lead here, but those of the next begin at 0x230\n"},
        {{{packets + 4, 300 ^ 296}, {packets + 308, 0x5A5A5A5A}, {packets + 312, 7}},  // 296 and 7 bytes
         "error: packet of 296 bytes with 0 relocations: no packet size explains this cut\n"},
        {{{second + 12, 0x01000000}}, "error: padding of a packet is not zero\n"},
        {{{packets + 4, 7}}, "error: padding of a packet is not zero\n"},
        {{{relocs, 6}}, "warning: relocated field reaches past its packet\n"},
        {{{relocs, 0x80000000}}, "warning: relocated field reaches past its packet\n"},
        {{{relocs + 12, 2}}, "warning: relocation out of order\n"},
        {{{relocs + 4, 8}}, "error: relocation refers to symbol 9 of 4\n"},
        {{{relocs + 8, 0x50000000}}, "warning: unknown relocation type 0x5011\n"},
        {{{relocs + 8, 0x40030001}}, "error: relocation type 0x4012 has no displacement, but 0x0001 stands there\n"},
        {{{relocs + 8, 0x50100000}}, "error: relocation type 0x5001 is never part of a module\n"},
        {{{relocs + 8, 0x401E0000}, {relocs + 4, 0x00101401}},
         "warning: field of 20 bits at bit 0 in a container of 16 bits\n"},
    };
    for (const auto& row : table)
        EXPECT_EQ(text_of(findings_of(changed(sound, row.damage))), row.text) << row.damage[0].offset;
}

// What no converter writes, though every part by itself is as it should be.
TEST(VelmChecks, WholeModulesThatNoConverterWrites) {
    support::coff_image image;
    image.sections = {{.name = ".text", .paddr = 0x100, .contents = bytes(8, 0x5A)}};
    image.symbols = {{.name = "_main", .value = 0x100, .scnum = 1}, {.name = "__DLStarx", .value = 0x104, .scnum = 1}};
    const bytes symbols_only =
        second_opinion::convert({.input = image.data(), .symbols_only = true, .order = little}).module;
    const std::size_t symbols = 56 + word_at(symbols_only, 0) + 28;
    bytes named = second_opinion::convert({.input = image.data(), .order = little}).module;
    named[56 + 8 + 6 + 6 + 8] = 't';  // "app.out", ".text", "_main", "__DLStarx"
    image.sections.push_back({.name = ".bss", .flags = 0x80, .paddr = 0x200, .size = 8});
    image.symbols = {{.name = "__DLStart", .value = 0x204, .scnum = -1}};
    const bytes absolute = second_opinion::convert({.input = image.data()}).module;
    bytes crowded(56 + 8 + 28 * 0x8000);
    const std::string name = "app.out";
    std::copy(name.begin(), name.end(), crowded.begin() + 56);
    support::put_at(crowded, 8, 4, 0x00010203, support::byte_order::little);
    support::put_at(crowded, 0, 4, 8, support::byte_order::little);
    support::put_at(crowded, 12, 4, 8, support::byte_order::little);
    support::put_at(crowded, 20, 2, 0x8000, support::byte_order::little);
    support::put_at(crowded, 26, 2, 0x99, support::byte_order::little);
    const struct {
        bytes module;
        const char* text;
    } table[] = {
        {changed(symbols_only, {}), ""},
        {changed(symbols_only, {{symbols + 8, 1}}), "error: symbol without a section in a module of symbols only\n"},
        {changed(symbols_only, {{symbols + 8, 0x00070000}}), "error: symbol of class 5 in a module of symbols only\n"},
        {changed(named, {}), "error: __DLStart has a name: it is only known as the entry point\n"},
        {absolute, "warning: entry point in section .bss, which has no contents\n"},
        {changed(crowded, {}), "error: 32768 sections: a module has at most 32767\n"},
    };
    for (const auto& row : table)
        EXPECT_EQ(text_of(findings_of(row.module)), row.text);
}

/// Fields of which another value can mean another sound module, by kind of record and offset, as docs/velmdump.md lists
/// them. Of a relocation, sweeps take the symbol's bytes one by one as well.
const struct {
    const char* kind;
    std::size_t from, to;
    const char* name;
} open_fields[] = {
    {"header", 4, 8, "entry point"},
    {"header", 26, 28, "target id"},
    {"header", 28, 30, "file flags"},
    {"header", 30, 32, "entry section"},
    {"verification record", 0, 4, "time stamp"},
    {"section header", 4, 8, "run address"},
    {"section header", 8, 12, "load address"},
    {"section header", 12, 16, "size"},
    {"section header", 16, 18, "page"},
    {"section header", 18, 20, "section flags"},
    {"symbol", 4, 8, "symbol value"},
    {"symbol", 8, 10, "symbol section"},
    {"symbol", 10, 12, "storage class"},
    {"relocation", 0, 4, "place"},
    {"relocation", 4, 8, "symbol"},
    {"relocation", 8, 10, "displacement"},
    {"relocation", 10, 12, "type"},
};

// Every field at the values where things break, with right sums: found, or listed on the page as what no check finds. Two
// errors where two parts contradict each other and either may be wrong: flags and a name, or counts and what is there.
TEST(VelmChecks, EveryFieldIsCheckedOrListed) {
    bytes module = small_module(false);
    const bytes sound = module;
    const std::string text = support::read_text(MODFORGE_SOURCE_DIR "/docs/velmdump.md");
    const std::size_t begin = text.find("What no check can find");
    const std::string list = text.substr(begin, text.find("So two words of contents", begin) - begin);
    const support::record_map map = support::records_of_module(sound);
    std::set<std::string> passed;
    for (const support::record& part : map.records)
        for (const support::field& place : part.kind->fields)
            support::at_every_value(module, map, part, place, [&](std::uint32_t value) {
                bytes damaged = module;
                repair_sums(damaged);
                const auto findings = findings_of(damaged);
                SCOPED_TRACE(part.kind->name + (" at " + std::to_string(part.offset)) + ", field at " +
                             std::to_string(place.offset) + ": " + std::to_string(value) + '\n' + text_of(findings));
                EXPECT_LE(std::count_if(findings.begin(), findings.end(), [](const finding& f) { return f.error; }), 2);
                if (!findings.empty() || damaged == sound)
                    return;
                const auto* const open = std::find_if(std::begin(open_fields), std::end(open_fields), [&](auto& f) {
                    return part.kind->name == std::string(f.kind) && place.offset >= f.from && place.offset < f.to;
                });
                ASSERT_NE(open, std::end(open_fields));
                passed.insert(open->name);
            });
    EXPECT_GE(passed.size(), std::size(open_fields) - 2) << testing::PrintToString(passed);
    for (const auto& open : open_fields)
        EXPECT_THAT(list, testing::HasSubstr(open.name));
}

}  // namespace

// The checks of velmdump on modules that the second opinion makes: sound ones pass, every damage is found.
#include "tools/velmdump/checks.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <functional>
#include <random>

#include "cases/random_request.h"
#include "support/coff_builder.h"
#include "support/module_sums.h"
#include "support/run_program.h"
#include "tools/second_opinion/conversion.h"

namespace {

using second_opinion::conversion_request;
using support::bytes;

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
                     {.name = "_local", .value = 0x801, .scnum = 2, .sclass = 3}};
    return second_opinion::convert({.input = image.data(), .c_text = c_text, .packet_size = 300}).module;
}

using support::put_word;
using support::repair_sums;
using support::word_at;

TEST(VelmChecks, EveryModuleOfTheConverterIsSound) {
    unsigned modules = 0;
    for (std::uint32_t seed = 0; modules < 1000; ++seed) {
        const second_opinion::conversion conversion = second_opinion::convert(cases::random_request(seed));
        if (conversion.status != 0)
            continue;
        ++modules;
        const std::vector<finding> findings = findings_of(conversion.module);
        ASSERT_FALSE(has_errors(findings)) << "seed " << seed << "\n" << text_of(findings);
    }
}

TEST(VelmChecks, EveryModuleOfTheSamplesIsSound) {
    for (const std::string name : {"audio", "firmware", "sensor"}) {
        const auto file = [&name](const char* kind) { return support::read_file(MODFORGE_SAMPLES "/" + name + kind); };
        const bytes entries = file(".entries");
        for (unsigned options = 0; options < 8; ++options) {
            conversion_request request{.input_name = name + ".out", .input = file(".out")};
            request.symbols_only = options & 1;
            request.c_text = options & 2;
            if (options & 4)
                request.entries = {{entries.begin(), entries.end()}};
            const std::vector<finding> findings = findings_of(second_opinion::convert(request).module);
            EXPECT_FALSE(has_errors(findings)) << name << " " << options << "\n" << text_of(findings);
        }
    }
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

/// Sums do not see two words that changed places. What holds the structure together does, mostly.
TEST(VelmChecks, SwappedWordsAreFoundOutsideOfContents) {
    const bytes sound = small_module(false);
    const std::size_t strings_end = 56 + word_at(sound, 0);
    const std::size_t symbols_end = strings_end + 28 * 3 + 12 * 3;
    unsigned found = 0;
    unsigned swaps = 0;
    for (std::size_t a = 56; a + 4 < symbols_end; a += 4) {
        const std::size_t b = a + 4;
        bytes swapped = sound;
        std::swap_ranges(swapped.begin() + static_cast<std::ptrdiff_t>(a),
                         swapped.begin() + static_cast<std::ptrdiff_t>(a + 4),
                         swapped.begin() + static_cast<std::ptrdiff_t>(b));
        if (swapped == sound)
            continue;
        ++swaps;
        found += has_errors(findings_of(swapped));
    }
    std::printf("%u of %u swaps of neighbouring words found\n", found, swaps);
    EXPECT_GE(found * 10, swaps * 8);
}

// One rule a row: the damage, with the sums repaired, and the words of its finding.
TEST(VelmChecks, EachRuleHasItsFinding) {
    const bytes sound = small_module(false);
    const std::size_t sections = 56 + word_at(sound, 0);
    const std::size_t symbols = sections + 28 * 3;
    const std::size_t packets = symbols + 12 * 3;  // 12 + 300, 12 + 4, 12 + 8 + 2 * 12, 12 + 4
    const std::size_t second = packets + 312;
    const std::size_t third = second + 16;
    const std::size_t relocs = third + 12 + 8;
    const struct {
        std::size_t offset;
        std::uint32_t change;  ///< exclusive or
        const char* words;
    } table[] = {
        {0, 2, "no multiple of 4"},
        {8, 0x01000000, "byte-order word is 0x01010203"},
        {12, 1, "names of module and sections take"},
        {16, 0x00010000, "longest name takes"},
        {20, 0x00010000, "relocated sections, but the header says"},
        {24, 1, "reserved field"},
        {28, 0x00040000U ^ 0xFFFF0000U, "entry point in section 4 of 3"},
        {56, 0x00000041, ""},  // a letter of a name: only the sum tells
        {sections - 4, 0x01000000, "padding byte of the string table"},
        {sections, 1, "but the next name begins at 8"},
        {sections + 12, 2, "do not add up"},
        {sections + 16, 0x00400000, "section flags"},
        {sections + 20, 4, "but it belongs at"},
        {sections + 24, 1, "packets, but only"},
        {sections + 56 + 4, 4, "copy section with contents and an address"},
        {sections + 16, 0x00300000, "loaded section stands behind"},
        {symbols + 8, 0x00010000, "symbol with a name of class 3"},
        {symbols + 8, 0x00050000, "symbol of class 7"},
        {symbols + 8, 4, "symbol in section 5 of 3"},
        {symbols + 12, 1, "is not the start of a name"},
        {packets, 1, ""},
        {second + 12, 0x01000000, "padding byte of a packet"},
        {packets + 4, 7, "an odd number, is not the last"},
        {relocs + 4, 8, "refers to symbol"},
        {relocs + 8, 0x50000000, ""},  // type 0x5011: odd, but possible
        {relocs + 8, 0x40030000, "has no displacement"},
        {relocs + 8, 0x50100000, "is never part of a module"},
    };
    for (const auto& row : table) {
        bytes damaged = sound;
        put_word(damaged, row.offset, word_at(sound, row.offset) ^ row.change);
        if (std::string(row.words) == "has no displacement")
            put_word(damaged, row.offset, 0x40120001);
        repair_sums(damaged);
        EXPECT_THAT(text_of(findings_of(damaged)), ::testing::HasSubstr(row.words)) << "offset " << row.offset;
    }
}

TEST(VelmChecks, OdditiesAreWarnings) {
    const bytes sound = small_module(false);
    const std::size_t symbols = 56 + word_at(sound, 0) + 28 * 3;
    const std::size_t relocs = symbols + 12 * 3 + 312 + 16 + 12 + 8;
    const struct {
        std::size_t offset;
        std::uint32_t word;
        const char* text;
    } table[] = {
        {relocs, 4, "warning: relocated field reaches past its packet\nwarning: relocation out of order\n"},
        {relocs + 12, 0, "warning: relocation out of order\n"},
        {symbols + 16, 5, "warning: symbol _printf has a value, but its section is not in the module\n"},
        {28, 0x00010000 | (word_at(sound, 28) & 0xFFFF), "warning: entry point 0xFFFFFFFF lies outside its section\n"},
    };
    for (const auto& row : table) {
        bytes odd = sound;
        put_word(odd, row.offset, row.word);
        repair_sums(odd);
        EXPECT_EQ(text_of(findings_of(odd)), row.text) << "offset " << row.offset;
    }
}

// The same module, written on a machine of the other byte order: words and half-words turned, bytes not.
TEST(VelmChecks, TheWritersByteOrderDoesNotMatter) {
    const bytes little = small_module(false);
    bytes big = little;
    const auto turn = [&big](std::size_t at, std::initializer_list<std::size_t> widths) {
        for (const std::size_t width : widths) {
            std::reverse(big.begin() + static_cast<std::ptrdiff_t>(at),
                         big.begin() + static_cast<std::ptrdiff_t>(at + width));
            at += width;
        }
        return at;
    };
    std::size_t at = turn(0, {4, 4, 4, 4, 2, 2, 2, 2, 2, 2, 2, 2, 4, 4, 4, 4, 4, 4}) + word_at(little, 0);
    for (int i = 0; i < 3; ++i)
        at = turn(at, {4, 4, 4, 4, 2, 2, 4, 4});
    for (int i = 0; i < 3; ++i)
        at = turn(at, {4, 4, 2, 2});
    while (at < big.size()) {
        const std::size_t nreloc = word_at(little, at);
        const std::size_t data = (word_at(little, at + 4) + std::size_t{3}) / 4 * 4;
        at = turn(at, {4, 4, 4}) + data;
        for (std::size_t i = 0; i < nreloc; ++i)
            at = turn(at, {4, 4, 2, 2});
    }
    // Sums of turned words are other sums: the three kinds that mix halves or bytes are put right by hand.
    const auto findings = findings_of(big);
    for (const finding& f : findings)
        EXPECT_THAT(f.text, ::testing::HasSubstr("checksum"));
    const velm_module module(decode_module({big.begin(), big.end()}));
    EXPECT_TRUE(module.raw.big_endian);
    EXPECT_EQ(module.header.nscns, 3);
    EXPECT_EQ(module.name(module.sections[0]), ".text");
    EXPECT_EQ(module.contents(module.sections[1]), (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
}

// Random damage under repaired sums: no crash, no hang, no memory out of proportion (ASan and the time limit watch).
TEST(VelmChecks, GarbageBehindRightSums) {
    const bytes sound = small_module(false);
    std::mt19937 random(1);
    for (int run = 0; run < 20000; ++run) {
        bytes damaged = sound;
        for (unsigned n = random() % 4 + 1; n > 0; --n)
            put_word(damaged, random() % (damaged.size() / 4) * 4,
                     static_cast<std::uint32_t>(random() % 3 == 0 ? random() : random() % 70));
        repair_sums(damaged);
        findings_of(damaged);
    }
}

}  // namespace

// Where sections are cut and what the relocations become, worked out by hand.
#include "cases/run_modforge.h"

#include <gtest/gtest.h>

using namespace cases;
using second_opinion::conversion_request;
using support::bytes;
using support::coff_image;
using support::coff_reloc;

namespace {

constexpr std::uint16_t none = 0x4012, byte1 = 15, byte2 = 16, byte3 = 21, byte4 = 17, byte8 = 56;  // by extent

struct packet {
    std::uint32_t size = 0;
    std::vector<std::uint32_t> offsets = {};  // of its relocations, in address units
    bool operator==(const packet&) const = default;
};

std::ostream& operator<<(std::ostream& out, const packet& p) {
    return out << p.size << testing::PrintToString(p.offsets);
}

/// The packets of the first section; checks the sum over each, and that they fill the module to its end.
std::vector<packet> packets_of(const bytes& module) {
    std::vector<packet> packets;
    const std::size_t header = 56 + module_word(module, 0);
    std::size_t at = module_word(module, header + 20);
    for (std::uint32_t i = 0; i < module_word(module, header + 24); ++i) {
        packet next{.size = module_word(module, at + 4)};
        const std::size_t relocs = at + 12 + (next.size + 3) / 4 * 4;
        const std::size_t end = relocs + 12 * module_word(module, at);
        for (std::size_t reloc = relocs; reloc < end; reloc += 12)
            next.offsets.push_back(module_word(module, reloc));
        std::uint32_t sum = 0;
        for (; at < end; at += 4)
            sum += module_word(module, at);
        EXPECT_EQ(sum, 0xFFFFFFFFU);
        packets.push_back(next);
    }
    EXPECT_EQ(at, module.size());
    return packets;
}

struct field_at {
    std::int32_t offset;  // bytes from the section's start
    std::uint16_t type;
};

/// One section of `length` bytes that runs at 0 and is loaded at `base`, both in units of `width` bits.
conversion_request section_with(std::uint8_t width, std::uint32_t base, std::size_t length,
                                const std::vector<field_at>& fields) {
    coff_image image;
    image.sections = {{.vaddr = base, .contents = bytes(length, 0x5A), .mwidth = width}};
    for (const field_at& field : fields)
        image.sections[0].relocs.push_back(
            {.vaddr = base + static_cast<std::uint32_t>(field.offset * 8 / width), .type = field.type});
    conversion_request request = request_for(image);
    request.packet_size = 300;
    return request;
}

}  // namespace

TEST(Packets, AreCutSoThatNoFieldIsSplit) {
    const struct {
        const char* what;
        std::uint8_t width;
        std::size_t length;
        std::vector<field_at> fields;  // in bytes, at every width
        std::vector<packet> packets;
    } rows[] = {
        {"no relocations", 8, 700, {}, {{300}, {300}, {100}}},
        {"one byte", 8, 1, {}, {{1}}},
        {"16-bit units", 16, 602, {}, {{300}, {300}, {2}}},
        {"field at the end", 8, 304, {{296, byte4}}, {{300, {296}}, {4}}},
        {"even cut", 8, 304, {{298, byte4}}, {{298}, {6, {0}}}},
        {"odd cut goes one lower", 8, 304, {{297, byte4}}, {{296}, {8, {1}}}},
        {"odd cut, field before it", 8, 304, {{287, byte1}, {297, byte4}}, {{296, {287}}, {8, {1}}}},
        {"odd cut through a group", 8, 304, {{297, none}, {297, none}, {297, byte4}}, {{296}, {8, {1, 1, 1}}}},
        {"odd cut behind a group",
         8,
         304,
         {{287, none}, {287, byte1}, {297, none}, {297, byte4}},
         {{296, {287, 287}}, {8, {1, 1}}}},
        {"each cut splits the field before",
         8,
         304,
         {{289, byte4}, {293, byte4}, {297, byte4}},
         {{288}, {16, {1, 5, 9}}}},
        {"even cut leaves the rest of its group", 8, 304, {{298, none}, {298, byte4}}, {{298, {298}}, {6, {0}}}},
        {"24 bits", 8, 304, {{297, byte3}, {300, byte3}}, {{300, {297}}, {4, {0}}}},
        {"64 bits", 8, 304, {{293, byte8}}, {{292}, {12, {1}}}},
        {"16-bit units, cut", 16, 304, {{296, byte2}, {298, byte4}}, {{298, {148}}, {6, {0}}}},
        {"32-bit units", 32, 304, {{296, byte4}, {300, byte4}}, {{300, {74}}, {4, {0}}}},
        {"unknown types have no extent", 8, 304, {{299, 300}, {300, 0x6000}}, {{300, {299}}, {4, {0}}}},
        {"not carried", 8, 304, {{1, 0x5000}, {298, 0x5001}, {299, 0x5002}, {300, byte4}}, {{300}, {4, {0}}}},
    };
    for (const auto& row : rows)
        for (const std::uint32_t base : {0U, 0x1000U, 0x07FFFF00U, 0x80000000U, 0xFFFFF000U}) {
            SCOPED_TRACE(row.what + std::string(" at ") + std::to_string(base));
            const conversion_request request = section_with(row.width, base, row.length, row.fields);
            expect_conversion(request);
            EXPECT_EQ(second_opinion::convert(request).err, "");
            EXPECT_EQ(packets_of(second_opinion::convert(request).module), row.packets);
        }
}

// A record that is in a packet already holds an offset. Here that of the first, 200, is the address to which the cut of
// the second packet goes back, and which its own first record has.
TEST(Packets, TranslatedRecordsAreNotReadAgain) {
    const conversion_request request = section_with(8, 200U - 310U, 620, {{200, byte1}, {310, byte1}, {597, byte4}});
    expect_conversion(request);
    EXPECT_EQ(packets_of(second_opinion::convert(request).module),
              (std::vector<packet>{{300, {200}}, {296, {10}}, {24, {1}}}));
}

// For each type a section for each extent: its field begins so near the packet's end that it crosses from there on. The
// field types describe theirs: of 16, 32 and 64 bits, which just cross, of 7 and 23, which just do not.
TEST(Packets, EveryTypeHasItsExtent) {
    coff_image image;
    for (std::uint32_t type = 0; type < 0x4020; type = type == 199 ? 0x3FF0 : type + 1)
        for (const std::uint32_t extent : {1U, 2U, 3U, 4U, 8U}) {
            coff_reloc reloc{.vaddr = 301 - extent, .type = static_cast<std::uint16_t>(type)};
            if (second_opinion::has_descriptor(reloc.type))
                reloc.descriptor = {0, 1, static_cast<std::uint8_t>(8 * extent - extent % 2), 0xEE};
            image.sections.push_back({.contents = bytes(316), .relocs = {reloc}});
        }
    conversion_request request = request_for(image);
    request.packet_size = 300;
    expect_conversion(request);
}

TEST(Packets, ACutThatLeavesNothingEndsTheRun) {
    const std::pair<coff_reloc, std::size_t> rows[] = {
        {{.vaddr = 300, .type = byte8}, 304},
        {{.vaddr = 301, .type = byte4}, 304},
        {{.vaddr = 303, .type = byte2}, 304},  // cut to 2 bytes first, then to none
        {{.vaddr = 0, .type = 0x400F, .descriptor = {{0, 1, 255, 0}}}, 30},
        {{.vaddr = 0x80000000, .type = none}, 30},  // the lowest offset less one wraps to the highest
    };
    for (const auto& [reloc, length] : rows) {
        coff_image image;
        image.sections = {{.contents = bytes(length), .relocs = {reloc}}};
        conversion_request request = request_for(image);
        request.packet_size = 300;
        expect_refusal(request, ".text");
    }
}

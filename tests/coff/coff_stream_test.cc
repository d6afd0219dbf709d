// The byte stream over a section's contents.
#include "coff_input.h"

namespace {

using namespace support;

coff_input over(const bytes& contents, std::uint16_t flags = 0x1100, std::uint8_t width = 8) {
    return coff_input(coff_image{.flags = flags, .sections = {{.contents = contents, .mwidth = width}}});
}

// The shift doubles (7, 14, 28, 24, 16, 0), so from the fourth byte on the value is not the usual one.
TEST(CoffStream, ReadsLeb128) {
    const std::pair<bytes, std::uint32_t> unsigned_cases[] = {{{0x7F}, 127},
                                                              {{0xE5, 0x8E, 0x26}, 624485},
                                                              {{0x80, 0x80, 0x80, 0x01}, 0x10000000},
                                                              {{0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, 0x00010000},
                                                              {{0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x82, 0x04}, 7},
                                                              {{0x80, 0x80, 0x80, 0x7F}, 0xF0000000}};
    for (const auto& [encoded, value] : unsigned_cases) {
        coff_input input = over(encoded);
        EXPECT_EQ(input.section(1).ULEB128_read(), value);
        EXPECT_EQ(input.section(1).tell(), encoded.size());
    }
    const std::pair<bytes, std::int32_t> signed_cases[] = {
        {{0x7F}, -1},
        {{0x80, 0x7F}, -128},
        {{0xFF, 0x00}, 127},
        // 0x50 << 28 leaves only bit 28 below the top: its extension, not the true number.
        {{0x80, 0x80, 0x80, 0x41}, -268435456},
        // All that was set is shifted out: 0, although the sign bit of the last byte is set.
        {{0x80, 0x80, 0x80, 0x40}, 0}};
    for (const auto& [encoded, value] : signed_cases) {
        coff_input input = over(encoded);
        EXPECT_EQ(input.section(1).SLEB128_read(), value);
        EXPECT_EQ(input.section(1).tell(), encoded.size());
    }
}

TEST(CoffStream, WritesLeb128) {
    const std::pair<bytes, std::uint32_t> unsigned_cases[] = {
        {{0x00}, 0}, {{0x7F}, 127}, {{0x80, 0x01}, 128}, {{0xFF, 0xFF, 0xFF, 0xFF, 0x0F}, 0xFFFFFFFF}};
    const std::pair<bytes, std::int32_t> signed_cases[] = {{{0x3F}, 63},
                                                           {{0xC0, 0x00}, 64},
                                                           {{0x40}, -64},
                                                           {{0xBF, 0x7F}, -65},
                                                           {{0x80, 0x80, 0x80, 0x80, 0x78}, INT32_MIN},
                                                           {{0xFF, 0xFF, 0xFF, 0xFF, 0x07}, INT32_MAX}};
    for (const auto& [encoded, value] : unsigned_cases) {
        coff_input input = over(bytes(encoded.size()));
        input.section(1).ULEB128_write(value);
        EXPECT_EQ(contents_of(input.section(1)), encoded);
        EXPECT_EQ(COFF_SECTION::ULEB128_size(value), encoded.size());
    }
    for (const auto& [encoded, value] : signed_cases) {
        coff_input input = over(bytes(encoded.size()));
        input.section(1).SLEB128_write(value);
        EXPECT_EQ(contents_of(input.section(1)), encoded);
        EXPECT_EQ(COFF_SECTION::SLEB128_size(value), encoded.size());
    }
}

// The order is that of the object code as the flags tell it, not of the file's records or the host.
TEST(CoffStream, IntegersFollowTheOrderOfTheObjectCode) {
    for (const bool big : {false, true}) {
        coff_input input = over({1, 2, 3, 4, 5, 6, 7}, big ? 0x0200 : 0x0100);
        COFF_SECTION& section = input.section(1);
        EXPECT_EQ(section.is_big_e(), big);
        EXPECT_EQ(section.UINT32_read(), big ? 0x01020304U : 0x04030201U);
        EXPECT_EQ(section.UINT16_read(), big ? 0x0506 : 0x0605);
        EXPECT_EQ(section.UINT8_read(), 7);
        EXPECT_TRUE(section.eos());
        section.seek(0);
        section.UINT8_write(0xA0);
        section.UINT16_write(0xA1A2);
        section.UINT32_write(0xA3A4A5A6);
        EXPECT_EQ(contents_of(section), big ? (bytes{0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6})
                                            : (bytes{0xA0, 0xA2, 0xA1, 0xA6, 0xA5, 0xA4, 0xA3}));
    }
}

TEST(CoffStream, StringsEndWithTheirNul) {
    coff_input input = over(to_bytes(std::string_view("ab\0cd\0ef", 8)));
    COFF_SECTION& section = input.section(1);
    EXPECT_STREQ(section.string_read(), "ab");
    EXPECT_STREQ(section.string_read(), "cd");
    EXPECT_EQ(section.tell(), 6U);
    EXPECT_ENDS(section.string_read(), "COFF_SECTION::string_read");
    section.seek(5);
    section.string_write("xy");
    EXPECT_EQ(section.tell(), 8U);
    section.seek(3);
    EXPECT_STREQ(section.string_read(), "cdxy");
    section.seek(6);
    EXPECT_ENDS(section.string_write("xy"), "COFF_SECTION::string_write");
}

// With 16-bit units the end of read(), write() and eos() is at half of the contents.
TEST(CoffStream, BlocksEndAtTheSizeInUnits) {
    coff_input input = over({1, 2, 3, 4, 5, 6, 7, 8}, 0x0100, 16);
    COFF_SECTION& section = input.section(1);
    unsigned char buffer[8] = {};
    EXPECT_EQ(section.read(buffer, 3), 3U);
    EXPECT_FALSE(section.eos());
    EXPECT_EQ(section.read(buffer, 3), 1U);
    EXPECT_EQ(buffer[0], 4);
    EXPECT_TRUE(section.eos());
    EXPECT_EQ(section.read(buffer, 1), 0U);
    EXPECT_EQ(section.UINT32_read(), 0x08070605U);
    section.seek(2);
    EXPECT_EQ(section.write(buffer, 8), 2U);
    EXPECT_EQ(contents_of(section), (bytes{1, 2, 4, 2, 5, 6, 7, 8}));
}

TEST(CoffStream, NothingIsTakenOrPutPastTheEnd) {
    coff_input input = over({0x80, 0x80, 0x80});
    COFF_SECTION& section = input.section(1);
    section.seek(1);
    EXPECT_ENDS(section.ULEB128_read(), "COFF_SECTION::ULEB128_read");
    EXPECT_ENDS(section.SLEB128_read(), "COFF_SECTION::SLEB128_read");
    EXPECT_ENDS(section.UINT32_read(), "COFF_SECTION::UINT32_read");
    EXPECT_ENDS(section.ULEB128_write(20000), "COFF_SECTION::ULEB128_write");
    EXPECT_ENDS(section.SLEB128_write(20000), "COFF_SECTION::SLEB128_write");
    EXPECT_ENDS(section.UINT32_write(1), "COFF_SECTION::UINT32_write");
    section.seek(2);
    EXPECT_ENDS(section.UINT16_read(), "COFF_SECTION::UINT16_read");
    EXPECT_ENDS(section.UINT16_write(1), "COFF_SECTION::UINT16_write");
    section.seek(3);
    EXPECT_ENDS(section.UINT8_read(), "COFF_SECTION::UINT8_read");
    EXPECT_ENDS(section.UINT8_write(1), "COFF_SECTION::UINT8_write");
    EXPECT_ENDS(section.seek(4), "COFF_SECTION::seek");
}

TEST(CoffStream, PlainByteReadersMaySkip) {
    const unsigned char data[] = {0x85, 0x01, 0xFF, 0x7E, 1, 2, 3, 4, 5, 6, 7, 'a', 0, 9};
    const unsigned char* at = COFF_SECTION::ULEB128_read(data, nullptr);
    at = COFF_SECTION::SLEB128_read(at, nullptr);
    at = COFF_SECTION::UINT32_read(at, nullptr, true);
    at = COFF_SECTION::UINT16_read(at, nullptr, true);
    at = COFF_SECTION::UINT8_read(at, nullptr);
    at = COFF_SECTION::string_read(at, nullptr);
    std::uint8_t last = 0;
    EXPECT_EQ(COFF_SECTION::UINT8_read(at, &last), data + sizeof data);
    EXPECT_EQ(last, 9);
}

}  // namespace

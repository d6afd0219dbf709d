// The byte stream over a section's contents.
#include "coff_input.h"

namespace {

using namespace support;

coff_input over(const bytes& contents, std::uint16_t flags = 0x1100, std::uint8_t width = 8) {
    return coff_input(coff_image{.flags = flags, .sections = {{.contents = contents, .mwidth = width}}});
}

// Written as usual. Read, the shift doubles (7, 14, 28, 24, 16, 0), so from the fourth byte on the value is another.
TEST(CoffStream, Leb128) {
    enum ways { both, reads, writes };
    const std::tuple<bytes, std::uint32_t, ways> unsigned_cases[] = {
        {{0x00}, 0, both},
        {{0x7F}, 127, both},
        {{0x80, 0x01}, 128, both},
        {{0xE5, 0x8E, 0x26}, 624485, both},
        {{0x80, 0x80, 0x80, 0x01}, 0x10000000, reads},
        {{0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, 0x00010000, reads},
        {{0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x82, 0x04}, 7, reads},
        {{0x80, 0x80, 0x80, 0x7F}, 0xF0000000, reads},
        {{0xFF, 0xFF, 0xFF, 0xFF, 0x0F}, 0xFFFFFFFF, writes}};
    // Of 0x41 << 28 only bit 28 is left below the top, of 0x40 << 28 nothing, although the sign bit of the byte is set.
    const std::tuple<bytes, std::int32_t, ways> signed_cases[] = {{{0x3F}, 63, both},
                                                                  {{0xC0, 0x00}, 64, both},
                                                                  {{0x40}, -64, both},
                                                                  {{0xBF, 0x7F}, -65, both},
                                                                  {{0x80, 0x80, 0x80, 0x41}, -268435456, reads},
                                                                  {{0x80, 0x80, 0x80, 0x40}, 0, reads},
                                                                  {{0x80, 0x80, 0x80, 0x80, 0x78}, INT32_MIN, writes},
                                                                  {{0xFF, 0xFF, 0xFF, 0xFF, 0x07}, INT32_MAX, writes}};
    const auto check = [](const auto& cases, auto read, auto write, auto size) {
        for (const auto& [encoded, value, way] : cases) {
            coff_input from = over(encoded), to = over(bytes(encoded.size()));
            if (way != writes) {
                EXPECT_EQ((from.section(1).*read)(), value);
                EXPECT_EQ(from.section(1).tell(), encoded.size());
            }
            if (way != reads) {
                (to.section(1).*write)(value);
                EXPECT_EQ(contents_of(to.section(1)), encoded);
                EXPECT_EQ(size(value), encoded.size());
            }
        }
    };
    check(unsigned_cases, static_cast<std::uint32_t (COFF_SECTION::*)()>(&COFF_SECTION::ULEB128_read),
          static_cast<void (COFF_SECTION::*)(std::uint32_t)>(&COFF_SECTION::ULEB128_write), COFF_SECTION::ULEB128_size);
    check(signed_cases, static_cast<std::int32_t (COFF_SECTION::*)()>(&COFF_SECTION::SLEB128_read),
          static_cast<void (COFF_SECTION::*)(std::int32_t)>(&COFF_SECTION::SLEB128_write), COFF_SECTION::SLEB128_size);
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
    EXPECT_EQ(section.write(buffer, 1), 1U);
    EXPECT_EQ(section.write(buffer + 1, 8), 1U);
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

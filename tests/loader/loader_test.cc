// The reference loader: what it makes of small modules, and of what the target says.
#include <tuple>

#include "loader/device.h"

namespace {

using namespace loader;

coff_image blink_image() {
    coff_image image;
    image.sections = {{.name = ".text",
                       .flags = 0x220,
                       .paddr = 0x1000,
                       .contents = {0xA1, 0, 0, 0, 0, 0, 0xA2, 0, 0, 0x20, 0, 0, 0xC3, 0},
                       .relocs = {{.vaddr = 0x1002, .type = 17, .symndx = 2, .disp = 0xFFFE},
                                  {.vaddr = 0x1008, .type = 17, .symndx = 3}}},
                      {.name = ".bss", .flags = 0x280, .paddr = 0x2000, .size = 4}};
    image.symbols = {{.name = "__DLStart", .value = 0x100C},
                     {.name = "_toggle", .value = 0x1000},
                     {.name = "_led", .scnum = 0},
                     {.name = "_count", .value = 0x2000, .scnum = 2, .sclass = 3}};
    return image;
}

TEST(Loader, WorkedOutByHand) {
    device loaded(converted(blink_image()));
    loaded.move = [](const velm_section& s) { return s.number * 0x100; };
    loaded.import = [](const velm_symbol&) { return 0x40U; };
    ASSERT_EQ(loaded.load(), VELM_OK);
    EXPECT_EQ(loaded.memory[".text"], (bytes{0xA1, 0, 0x40, 0, 0, 0, 0xA2, 0, 0, 0x22, 0, 0, 0xC3, 0}));
    EXPECT_EQ(loaded.exports, (std::map<std::string, std::uint32_t>{{"_toggle", 0x1100}}));
    EXPECT_EQ(loaded.entry.address, 0x110CU);
    EXPECT_EQ(loaded.relocs.at(0).reloc.displacement, -2);
    EXPECT_EQ(loaded.relocs.at(0).reloc.room, 12U);
    EXPECT_EQ(loaded.relocs.at(0).reloc.new_place, 0x1102U);
    EXPECT_EQ(loaded.commits, 1);
}

// What the samples lack: a table that is code by its flags, and types of relocations.
TEST(Loader, TellsSectionsAndRecordsApart) {
    coff_image image;
    image.target_id = 0x98;
    image.sections = {{.name = ".text", .flags = 0x320, .paddr = 0x10, .contents = bytes(8)},
                      {.name = ".bss", .flags = 0x80, .paddr = 0x40, .size = 8},
                      {.name = ".cinit", .flags = 0x20, .paddr = 0x60, .contents = bytes(4)},
                      {.name = ".debug", .flags = 0x10, .contents = bytes(5), .mwidth = 8}};
    for (const std::uint16_t type :
         std::initializer_list<std::uint16_t>{0x4013, 0x4014, 0x4015, 0x400E, 0x4017, 0xC011})
        image.sections[0].relocs.push_back({.vaddr = 0x11, .type = type, .symndx = 0, .disp = 7});
    image.sections[0].relocs[3].descriptor = {3, 5, 16, 0};
    image.symbols = {{.name = "_table", .value = 0x61, .scnum = 3}, {.name = "_code", .value = 0x11}};
    device loaded(converted(image));
    loaded.move = [](const velm_section&) { return 0x100U; };
    ASSERT_EQ(loaded.load(), VELM_OK);
    EXPECT_EQ(loaded.exports, (std::map<std::string, std::uint32_t>{{"_table", 0x61}, {"_code", 0x111}}));

    const std::tuple<velm_section_kind, unsigned, unsigned> sections[] = {
        {VELM_LOADED, 16, 3}, {VELM_RESERVED, 16, 0}, {VELM_INIT_TABLE, 16, 0}, {VELM_COPY, 8, 0}};
    for (std::uint32_t number = 1; number <= 4; ++number) {
        velm_section s;
        velm_get_section(&loaded.opened, number, &s);
        EXPECT_EQ(std::tuple(s.kind, s.unit_bits, s.alignment), sections[number - 1]) << s.name;
    }
    const std::pair<velm_operand, int> records[] = {{VELM_CONSTANT, 0}, {VELM_NO_OPERAND, 0}, {VELM_NO_OPERAND, 0},
                                                    {VELM_FIELD, 0},    {VELM_SYMBOL, 0},     {VELM_SYMBOL, 7}};
    ASSERT_EQ(loaded.relocs.size(), std::size(records));
    for (std::size_t i = 0; i < std::size(records); ++i) {
        const velm_relocation& r = loaded.relocs[i].reloc;
        EXPECT_EQ(std::pair(r.operand, r.displacement), records[i]) << r.type;
        EXPECT_EQ(r.place_bytes, 2U);
    }
}

TEST(Loader, SizesOfPackets) {
    coff_image image = blink_image();
    image.sections[0].contents.resize(1100);
    const bytes sound = converted(image);
    for (const bool by_packet : {false, true}) {
        device loaded(sound);
        loaded.by_packet = by_packet;
        ASSERT_EQ(loaded.load(), VELM_OK);
        EXPECT_EQ(loaded.relocs.at(0).reloc.room, by_packet ? 1022U : 1098U);
        EXPECT_EQ(loaded.commits, by_packet ? 2 : 1);
    }
    // Sizes of the two packets, and of the section: all chain, but no converter cuts so.
    image.sections[0].relocs.clear();
    const bytes two = converted(image);
    const std::size_t header = 56 + word_at(two, 0), first = word_at(two, header + 20);
    const std::uint32_t sizes[][4] = {{1024 + 12 + 76, 0, 1112, 1}, {1023, 76, 1099, 2}, {1022, 74, 1096 / 4, 2}};
    for (const auto& [size, rest, units, packets] : sizes) {
        bytes module = two;
        put_word(module, header + 12, units);
        put_word(module, header + 24, packets);
        if (packets == 2)
            put_word(module, first + 12 + 1024 + 4, rest);
        put_word(module, first + 4, size);
        repair_sums(module);
        device loaded(module);
        EXPECT_EQ(loaded.load(), VELM_BAD_PACKET) << size;
        EXPECT_EQ(loaded.opened.fault, first + 4);
    }
}

// Relocations out of order: the second lies before its packet, which only a target that patches memory can bear.
TEST(Loader, PlacesBeforeTheirPacket) {
    coff_image image = blink_image();
    image.sections[0].contents.resize(1100);
    image.sections[0].relocs = {{.vaddr = 0x1000 + 1022, .type = 17, .symndx = 3},
                                {.vaddr = 0x1002, .type = 17, .symndx = 2}};
    device loaded(converted(image));
    ASSERT_EQ(loaded.load(), VELM_OK);
    ASSERT_EQ(loaded.relocs.size(), 2U);
    EXPECT_EQ(loaded.relocs[0].reloc.place_bytes, 1022U);
    EXPECT_EQ(loaded.relocs[1].reloc.place_bytes, 2U);
    loaded.by_packet = true;
    loaded.memory.clear();
    EXPECT_EQ(loaded.load(), VELM_OUTSIDE);
    EXPECT_EQ(loaded.commits, 1) << "refused only after contents were written";
}

// What the target has a say in.
TEST(Loader, StopsWhereTheTargetSaysSo) {
    const std::pair<const char*, velm_status> steps[] = {{"resolve", VELM_UNRESOLVED}, {"place", VELM_NOT_PLACED},
                                                         {"write", VELM_NOT_WRITTEN},  {"relocate", VELM_NOT_RELOCATED},
                                                         {"commit", VELM_NOT_WRITTEN}, {"offer", VELM_NOT_EXPORTED}};
    for (const auto& [step, status] : steps) {
        device loaded(worked_example());
        loaded.refuse = step;
        EXPECT_EQ(loaded.load(), status) << step;
        EXPECT_EQ(loaded.memory.empty(), status == VELM_UNRESOLVED) << step;
    }
    device other(worked_example());
    other.target_id = 0x98;
    EXPECT_EQ(other.load(), VELM_WRONG_TARGET);
    device small(worked_example());
    small.room_for_sections = 1;
    EXPECT_EQ(small.load(), VELM_TOO_MANY_SECTIONS);
    device without(worked_example());
    without.refuse = "contents";
    EXPECT_EQ(without.load(), VELM_OK);
    EXPECT_TRUE(without.relocs.empty());
    EXPECT_EQ(without.memory[".text"], bytes(14));
}

TEST(Loader, MovesNoProgramWithoutRelocations) {
    coff_image image = blink_image();
    image.flags |= 1;
    image.sections[0].relocs.clear();
    device loaded(converted(image));
    EXPECT_EQ(loaded.load(), VELM_OK);
    loaded.move = [](const velm_section&) { return 4U; };
    EXPECT_EQ(loaded.load(), VELM_NOT_MOVABLE);
}

TEST(Loader, EntryPoints) {
    struct {
        std::uint32_t section, point;
        velm_entry expected;
    } const rows[] = {{0, 0, {0, 0, 0, 0}},
                      {1, 12, {1, 0, 1, 0x110C}},
                      {2, 0, {1, 0, 2, 0x2100}},
                      {0xFFFF, 0x5000, {1, 1, 0xFFFF, 0x5000}},
                      {0xFFFF, 0xFFFFFFFF, {0, 1, 0xFFFF, 0}}};
    for (const auto& row : rows) {
        bytes module = worked_example();
        put_at(module, 30, 2, row.section, byte_order::little);
        put_at(module, 4, 4, row.point, byte_order::little);
        repair_sums(module);
        device loaded(module);
        loaded.move = [](const velm_section&) { return 0x100U; };
        ASSERT_EQ(loaded.load(), VELM_OK);
        EXPECT_EQ(loaded.entry.present, row.expected.present);
        EXPECT_EQ(loaded.entry.absolute, row.expected.absolute);
        EXPECT_EQ(loaded.entry.section, row.expected.section);
        EXPECT_EQ(loaded.entry.address, row.expected.address);
    }
}

}  // namespace

// What the loader refuses: every damage to the worked example that could mislead it, with the place that it names.
#include "loader/device.h"

namespace {

using namespace loader;

/// Fields of the worked example, in the little-endian module; the page docs/module-format.md shows where each lies.
struct damage {
    velm_status status;
    std::uint32_t fault;
    struct {
        std::size_t offset, width;
        std::uint32_t value;
    } fields[3];
    bool checked = true;  ///< velmdump check calls it an error, too
};

const damage repaired_damage[] = {
    {VELM_NOT_A_MODULE, 8, {{8, 4, 0x00010204}}},
    {VELM_BAD_HEADER, 0, {{0, 4, 35}}},
    {VELM_BAD_HEADER, 22, {{22, 2, 1}}},
    {VELM_BAD_HEADER, 24, {{24, 2, 1}}},
    {VELM_BAD_ENTRY, 30, {{30, 2, 3}}},
    {VELM_TOO_SHORT, 236, {{0, 4, 0xFFFFFFFC}}},
    {VELM_TOO_SHORT, 236, {{16, 2, 0xFFFF}}},
    {VELM_TOO_SHORT, 236, {{20, 2, 0xFFFF}}},
    {VELM_BAD_NAME, 0x5B, {{0x5B, 1, 'x'}}},
    {VELM_BAD_NAME, 0x5C, {{0x5C, 4, 36}}},
    {VELM_BAD_NAME, 0x94, {{0x94, 4, 0xFFFFFFFF}}},
    {VELM_BAD_NAME, 0xAC, {{0xAC, 4, 29}}},
    {VELM_BAD_SECTION, 0x60, {{0x6E, 2, 0x200}}},       // a copy section with an address
    {VELM_BAD_SECTION, 0x60, {{0x6E, 2, 0x223}}},       // a table with an address
    {VELM_BAD_SECTION, 0x68, {{0x68, 4, 13}}},          // no width makes 14 bytes of 13 units
    {VELM_BAD_SECTION, 0x68, {{0x68, 4, 0x80000007}}},  // 14 when doubled in 32 bits
    {VELM_BAD_SECTION, 0x6E, {{0x68, 4, 0}}},           // empty, with contents
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x270}}},       // an unknown flag
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x234}}},       // an unknown type
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x210}}},       // relocated packets without the flag for contents
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x232}}},       // uninitialised, with packets
    {VELM_BAD_SECTION, 0x6E, {{0x6E, 2, 0x233}}},       // a table that is relocated in place
    {VELM_BAD_SECTION, 0x6E, {{28, 2, 0x1101}}},        // relocated, although relocations were stripped
    {VELM_BAD_SECTION, 0x8A, {{0x8A, 2, 0x231}}},       // contents without packets
    {VELM_BAD_SYMBOL, 0x9C, {{0x9C, 2, 3}}},
    {VELM_BAD_PACKET, 0x70, {{0x70, 4, 0xBC}}},
    {VELM_BAD_PACKET, 0x8C, {{0x8C, 4, 4}}},  // an offset, but no packets
    {VELM_BAD_PACKET, 0xBC, {{0xBC, 4, 0}}},
    {VELM_TOO_SHORT, 236, {{0x74, 4, 2}}},
    {VELM_TOO_SHORT, 236, {{0xB8, 4, 3}}},
    {VELM_TOO_SHORT, 236, {{0xB8, 4, 0x15555556}}},  // 12 times this is 8 in 32 bits
    {VELM_TOO_SHORT, 236, {{0xBC, 4, 0xFFFFFFFF}}},
    {VELM_BAD_RELOCATION, 0xD4, {{0xDE, 2, 0x5000}}},
    {VELM_BAD_RELOCATION, 0xD4, {{0xDE, 2, 0x4000}, {0xDC, 2, 1}}},
    {VELM_BAD_RELOCATION, 0xD8, {{0xD8, 4, 3}}},
    {VELM_BAD_RELOCATION, 0xD8, {{0xDE, 2, 0x400D}, {0xD8, 4, 0x01000000}}},
    // Legal, but not for a loader.
    {VELM_OUTSIDE, 0xD4, {{0xD4, 4, 15}}, false},
    {VELM_OUTSIDE, 0xD4, {{0xD4, 4, 0xFFFFFFFF}}, false},
    {VELM_OUTSIDE, 0xD4, {{0xD4, 4, 11}, {0xDE, 2, 0x400F}, {0xD8, 4, 0x00200000}}, false},
};

TEST(Loader, RefusesWhatIsUnsound) {
    const temporary_directory room;
    const bytes sound = worked_example();
    ASSERT_EQ(sound.size(), 236U);
    for (const damage& d : repaired_damage) {
        SCOPED_TRACE("row " + std::to_string(&d - repaired_damage));
        bytes module = sound;
        for (const auto& field : d.fields)
            put_at(module, field.offset, field.width, field.value, byte_order::little);
        repair_sums(module);
        device loaded(module);
        EXPECT_EQ(velm_status_name(loaded.load()), std::string(velm_status_name(d.status)));
        EXPECT_EQ(loaded.opened.fault, d.fault);
        EXPECT_TRUE(loaded.relocs.empty());
        const run_result check = run_program({VELMDUMP_PROGRAM, "check", room.write("m.vlm", module)});
        EXPECT_EQ(check.status, d.checked ? 1 : 0) << check.out;
    }
}

TEST(Loader, EverySumIsChecked) {
    const std::map<std::size_t, std::uint32_t> sum_over = {{4, 32},    {36, 52},    {60, 44},   {0x60, 40},
                                                           {0x98, 48}, {0xC4, 192}, {0xD4, 192}};
    for (const bytes& sound : {worked_example(), byte_swapped(worked_example())}) {
        for (const auto& [place, sum] : sum_over) {
            device loaded(sound);
            loaded.module[place] ^= 0x10;
            EXPECT_EQ(loaded.load(), VELM_BAD_SUM) << place;
            EXPECT_EQ(loaded.opened.fault, sum);
        }
    }
}

TEST(Loader, EndsWhereTheModuleEnds) {
    const bytes sound = worked_example();
    for (std::size_t kept = 0; kept < sound.size(); ++kept)
        EXPECT_NE(device(bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(kept))).load(), VELM_OK);
    device loaded(sound);
    loaded.module.resize(300, 0xFF);
    EXPECT_EQ(loaded.load(), VELM_OK);
    EXPECT_EQ(loaded.opened.length, 236U);
}

}  // namespace

// The descriptions of the module format for machines, read by the tools that they are for.
#include <gmock/gmock.h>

#include <string>

#include "docs/source_folder.h"
#include "support/module_sums.h"
#include "support/run_program.h"

namespace {

using namespace support;

/// A sample as a module of each byte order: little-endian first.
std::pair<bytes, bytes> both_orders(const std::string& sample) {
    const temporary_directory room;
    EXPECT_EQ(run_program({MODFORGE_PROGRAM, "-o=" + room.file("m"), sample}).status, 0);
    const bytes module = read_file(room.file("m"));
    return order_of(module) == byte_order::little ? std::pair(module, byte_swapped(module))
                                                  : std::pair(byte_swapped(module), module);
}

TEST(MachineReadable, FileKnowsModulesByTheirMagic) {
    const std::string program = FILE_PROGRAM;
    if (program.empty())
        GTEST_SKIP() << "no file(1) here";
    const auto [little, big] = both_orders(source_folder + "/examples/blink.out");
    const auto described = [&](const bytes& data) {
        const temporary_directory room;
        const std::string path = room.write("m", data);
        return run_program({program, "--brief", "-m", source_folder + "/docs/velm.magic", path}).out;
    };
    EXPECT_EQ(described(little),
              "VELM module, little-endian, target 0x0099, 2 sections, 4 symbols, Wed Sep  5 22:51:36 1979\n");
    EXPECT_EQ(described(big),
              "VELM module, big-endian, target 0x0099, 2 sections, 4 symbols, Wed Sep  5 22:51:36 1979\n");
    bytes other = little;
    other[8] = 4;
    EXPECT_EQ(described(other).find("VELM"), std::string::npos);
    other = little;
    other[24] = 1;
    EXPECT_EQ(described(other).find("VELM"), std::string::npos);
}

TEST(MachineReadable, KaitaiReadsWhatVelmdumpReads) {
    const temporary_directory room;
    std::vector<std::string> argv = {source_folder + "/scripts/kaitai", "--offline", VELMDUMP_PROGRAM};
    for (const char* const name : {"/tests/data/samples/sensor.out", "/examples/audio.out", "/examples/blink.out"}) {
        const auto [little, big] = both_orders(source_folder + name);
        argv.push_back(room.write("little" + std::to_string(argv.size()), little));
        argv.push_back(room.write("big" + std::to_string(argv.size()), big));
    }
    const run_result run = run_program(argv, {.seconds = 120});
    if (run.status == 77)
        GTEST_SKIP() << run.out;
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, testing::HasSubstr("6 modules"));
}

}  // namespace

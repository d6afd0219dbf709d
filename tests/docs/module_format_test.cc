// The module that docs/module-format.md works out by hand is what modforge writes for the input that it describes.
#include <gtest/gtest.h>

#include <bit>
#include <sstream>
#include <string>

#include "support/bytes.h"
#include "support/coff_builder.h"
#include "support/run_program.h"

namespace {

using namespace support;

const std::string source = MODFORGE_SOURCE_DIR;

std::string text_of(const std::string& path) {
    const bytes data = read_file(path);
    return {data.begin(), data.end()};
}

/// The tables of the page, in words of the builder.
coff_image blink() {
    coff_image image;
    image.target_id = 0x0099;
    image.flags = 0x1100;
    image.timestamp = 0x12345678;
    image.sections = {
        {.name = ".text",
         .flags = 0x220,
         .paddr = 0x1000,
         .contents = {0xA1, 0, 0, 0, 0, 0, 0xA2, 0, 0, 0, 0, 0, 0xC3, 0},
         .relocs = {{.vaddr = 0x1002, .type = 17, .symndx = 2}, {.vaddr = 0x1008, .type = 17, .symndx = 3}}},
        {.name = ".bss", .flags = 0x280, .paddr = 0x2000, .size = 4},
    };
    image.symbols = {
        {.name = "__DLStart", .value = 0x100C, .scnum = 1},
        {.name = "_toggle", .value = 0x1000, .scnum = 1},
        {.name = "_led", .value = 0, .scnum = 0},
        {.name = "_count", .value = 0x2000, .scnum = 2},
    };
    return image;
}

/// The bytes in the page's hex blocks: "offset: bytes   comment", the offset being that of the first byte.
bytes worked_example(const std::string& page) {
    bytes module;
    std::istringstream lines(page);
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("```", 0) == 0) {
            inside = line == "```hex";
            continue;
        }
        if (!inside)
            continue;
        EXPECT_EQ(std::stoul(line.substr(0, 4), nullptr, 16), module.size()) << line;
        for (std::size_t at = 6; at + 1 < line.size() && std::isxdigit(static_cast<unsigned char>(line[at])); at += 3)
            module.push_back(static_cast<std::uint8_t>(std::stoul(line.substr(at, 2), nullptr, 16)));
    }
    return module;
}

TEST(ModuleFormatPage, DescribesTheExampleInput) {
    EXPECT_EQ(blink().data(), read_file(source + "/examples/blink.out"));
}

TEST(ModuleFormatPage, WorkedExampleIsWhatTheConverterWrites) {
    if (std::endian::native != std::endian::little)
        GTEST_SKIP() << "the page shows a little-endian module";
    const bytes expected = worked_example(text_of(source + "/docs/module-format.md"));
    ASSERT_EQ(expected.size(), 236U);

    const temporary_directory room;
    room.write("blink.out", blink().data());
    room.write("blink.entries", text_of(source + "/examples/blink.entries"));
    const run_result run = run_program({MODFORGE_PROGRAM, "-e=blink.entries", "blink.out"}, {.directory = room.path()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(read_file(room.file("blink.vlm")), expected);
}

}  // namespace

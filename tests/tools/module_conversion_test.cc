// Modules in another byte order and form are what a machine of that order writes for the same input.
#include <gtest/gtest.h>

#include "support/coff_builder.h"
#include "support/random_request.h"
#include "support/run_program.h"
#include "tools/second_opinion/conversion.h"
#include "tools/velmdump/byte_order.h"
#include "tools/velmdump/checks.h"

namespace {

using second_opinion::byte_order;
using support::bytes;

bytes module_in(byte_order order, second_opinion::conversion_request request) {
    request.order = order;
    return second_opinion::convert(request).module;
}

TEST(ModuleConversion, EveryModuleIsThatOfAMachineOfTheOtherOrder) {
    unsigned modules = 0;
    for (std::uint32_t seed = 5000; modules < 300; ++seed) {
        second_opinion::conversion_request request = support::random_request(seed);
        request.c_text = false;
        const bytes little = module_in(byte_order::little, request);
        if (little.empty())
            continue;
        ++modules;
        const bytes big = module_in(byte_order::big, request);
        for (const bool to_big : {false, true}) {
            ASSERT_EQ(in_byte_order(velm_module(decode_module(little)), to_big).bytes, to_big ? big : little) << seed;
            ASSERT_EQ(in_byte_order(velm_module(decode_module(big)), to_big).bytes, to_big ? big : little) << seed;
        }
    }
}

TEST(ModuleConversion, TellsTheOrderOfATextWithoutATarget) {
    support::coff_image image{.target_id = 0, .symbols = {{.name = "_abcdef", .value = 5}}};
    for (unsigned choice = 0; choice < 48; ++choice) {
        image.flags = std::array<std::uint16_t, 4>{0, 1, 0x0103, 0x1100}[choice / 12];
        image.symbols[0].scnum = static_cast<std::int16_t>(choice % 3 - 2);
        const second_opinion::conversion_request request{
            .input = image.data(), .entries = {choice % 2 == 0 ? "@abcdef" : ""}, .symbols_only = choice / 6 % 2 == 0};
        for (const byte_order order : {byte_order::little, byte_order::big}) {
            const bytes module = module_in(order, request);
            ASSERT_FALSE(module.empty());
            const velm_module read(decode_module(second_opinion::as_text(module, order)));
            EXPECT_EQ(in_byte_order(read, order == byte_order::big).bytes, module) << choice;
        }
    }
}

TEST(ModuleConversion, GoesThroughEveryOrderAndFormAndBack) {
    const support::temporary_directory room;
    const second_opinion::conversion_request request{.input = support::read_file(MODFORGE_SAMPLES "/audio.out")};
    const auto write = [&](const std::string& name, byte_order order, bool text) {
        const bytes module = module_in(order, request);
        room.write(name, text ? second_opinion::as_text(module, order) : module);
    };
    const std::vector<std::vector<std::string>> kinds = {
        {"little", "binary"}, {"big", "binary"}, {"little", "text"}, {"big", "text"}};
    for (const auto& kind : kinds)
        write(kind[0] + kind[1], kind[0] == "big" ? byte_order::big : byte_order::little, kind[1] == "text");
    for (const auto& from : kinds) {
        for (const auto& to : kinds) {
            const support::run_result result = support::run_program(
                {VELMDUMP_PROGRAM, "convert", from[0] + from[1], "-o", "out", "--byte-order", to[0], "--form=" + to[1]},
                {.directory = room.path()});
            EXPECT_EQ(result.err, "");
            EXPECT_EQ(support::read_file(room.file("out")), support::read_file(room.file(to[0] + to[1])))
                << from[0] << from[1] << " to " << to[0] << to[1];
        }
    }
}

}  // namespace

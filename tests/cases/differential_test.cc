// The product against the second opinion on thousands of generated requests.
// MODFORGE_SEED=n in the environment runs the one request of that seed.
#include "cases/random_request.h"
#include "cases/run_modforge.h"

#include <chrono>
#include <cstdlib>

#include <gtest/gtest.h>

using namespace cases;

namespace {

void expect_as_predicted(const second_opinion::conversion_request& request, bool converts) {
    if (converts)
        expect_conversion(request);
    else
        expect_refusal(request, "");
}

}  // namespace

TEST(Differential, GeneratedRequestsGiveWhatTheSecondOpinionGives) {
    if (const char* seed = std::getenv("MODFORGE_SEED")) {
        const auto request = random_request(static_cast<std::uint32_t>(std::strtoul(seed, nullptr, 10)));
        return expect_as_predicted(request, second_opinion::convert(request).status == 0);
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::uint32_t seed = 0;
    int converted = 0;
    for (; seed < 4000 && (seed < 100 || std::chrono::steady_clock::now() < deadline); ++seed) {
        SCOPED_TRACE("rerun with MODFORGE_SEED=" + std::to_string(seed));
        const second_opinion::conversion_request request = random_request(seed);
        const bool converts = second_opinion::convert(request).status == 0;
        converted += converts;
        expect_as_predicted(request, converts);
        if (HasFailure())
            return;
    }
    std::printf("%u requests, %d of them converted\n", seed, converted);
    EXPECT_GT(converted, static_cast<int>(seed) / 2);
}

// One changed byte may break anything or nothing; the words of the message are then open, the rest is not.
TEST(Differential, DamagedRequestsEndWithTheSameStatusAndModule) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (std::uint32_t seed = 0; seed < 2000 && std::chrono::steady_clock::now() < deadline; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        second_opinion::conversion_request request = random_request(seed);
        request.c_text = false;
        request.input.at(seed * 7 % std::min<std::size_t>(request.input.size(), 400)) ^=
            static_cast<std::uint8_t>(1 + seed % 255);
        const second_opinion::conversion expected = second_opinion::convert(request);
        const workshop shop;
        const support::run_result run = shop.run(prepare(shop, request));
        ASSERT_EQ(run.signal, 0) << run.err;
        ASSERT_EQ(run.status, expected.status) << run.err;
        ASSERT_TRUE(run.status == 0 || run.out + run.err != banner);
        ASSERT_EQ(shop.has("out.bin"), expected.status == 0);
        if (expected.status == 0) {
            ASSERT_TRUE(shop.read("out.bin") == expected.module);
        }
    }
}

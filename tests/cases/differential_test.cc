// The product against the second opinion on thousands of generated requests.
// MODFORGE_SEED=n in the environment runs the one request of that seed.
#include "cases/run_modforge.h"
#include "support/random_request.h"

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
        const auto request = support::random_request(static_cast<std::uint32_t>(std::strtoul(seed, nullptr, 10)));
        return expect_as_predicted(request, second_opinion::convert(request).status == 0);
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::uint32_t seed = 0;
    int converted = 0;
    for (; seed < 4000 && (seed < 100 || std::chrono::steady_clock::now() < deadline); ++seed) {
        SCOPED_TRACE("rerun with MODFORGE_SEED=" + std::to_string(seed));
        const second_opinion::conversion_request request = support::random_request(seed);
        const bool converts = second_opinion::convert(request).status == 0;
        converted += converts;
        expect_as_predicted(request, converts);
        if (HasFailure())
            return;
    }
    std::printf("%u requests, %d of them converted\n", seed, converted);
    EXPECT_GT(converted, static_cast<int>(seed) / 2);
}

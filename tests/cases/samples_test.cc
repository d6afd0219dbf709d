// The three sample programs: every run whose result is known.
#include "cases/run_modforge.h"

#include <bit>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

using namespace cases;
using support::run_result;

namespace {

const std::string samples = MODFORGE_SAMPLES;

}  // namespace

TEST(Samples, EveryKnownRunGivesTheKnownSum) {
    if (std::endian::native != std::endian::little)
        GTEST_SKIP() << "the sums are those of little-endian modules";
    std::ifstream list(samples + "/expected/SHA256SUMS");
    std::string line;
    int runs = 0;
    for (; std::getline(list, line); ++runs) {
        SCOPED_TRACE(line);
        const workshop shop;
        std::istringstream words(line);
        std::string sum, word;
        std::vector<std::string> argv;
        words >> sum;
        while (words >> word)
            argv.push_back(word == "-o=OUT" ? "-o=" + shop.path("out") : word);
        argv.at(0) = MODFORGE_PROGRAM;
        const run_result run = support::run_program(argv, {.directory = samples});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, banner);
        EXPECT_EQ(run.err, "");
        const run_result hashed = support::run_program({"/usr/bin/sha256sum", shop.path("out")});
        EXPECT_EQ(hashed.out.substr(0, sum.size()), sum);
    }
    EXPECT_EQ(runs, 24);
}

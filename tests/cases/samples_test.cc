// The three sample programs: every run whose result is known, whole modules, and what damage does.
#include "cases/run_modforge.h"

#include <fstream>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

using namespace cases;
using support::bytes;
using support::run_result;

namespace {

const std::string samples = MODFORGE_SAMPLES;
constexpr const char* names[] = {"sensor", "audio", "firmware"};

/// A run on damaged input: converts or says why not, and comes to an end in bounded memory.
void expect_sound_end(const workshop& shop, const bytes& damaged, const std::string& name) {
    shop.write("damaged.out", damaged);
    const run_result run = shop.run({"-o=out.bin", "-e=" + samples + '/' + name + ".entries", "damaged.out"});
    ASSERT_EQ(run.signal, 0) << run.err;
    ASSERT_FALSE(run.timed_out);
    ASSERT_TRUE(run.status == 0 || (run.status == 1 && run.err + run.out != banner)) << run.status;
}

}  // namespace

TEST(Samples, EveryKnownRunGivesTheKnownSum) {
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

TEST(Samples, EveryTruncationEndsInSuccessOrAMessage) {
    for (const std::string name : names) {
        const workshop shop;
        const bytes whole = support::read_file(samples + '/' + name + ".out");
        for (std::size_t i = 0; i < 200; ++i) {
            // Half of the places lie in the headers, the others are spread over the file.
            const std::size_t kept = i < 100 ? i * 10 : whole.size() * (i - 100) / 100;
            SCOPED_TRACE(name + " cut at byte " + std::to_string(kept));
            ASSERT_NO_FATAL_FAILURE(
                expect_sound_end(shop, bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kept)), name));
        }
    }
}

TEST(Samples, FlippedBytesEndInSuccessOrAMessage) {
    for (const std::string name : names) {
        const workshop shop;
        bytes image = support::read_file(samples + '/' + name + ".out");
        std::mt19937 random(20);
        const int flips = name == "firmware" ? 100 : 950;  // 2,000 in all; a run over the large sample takes longest
        for (int i = 0; i < flips; ++i) {
            // Every second flip hits the headers, where most numbers lie that steer the reader.
            const std::size_t place = random() % (i % 2 == 0 ? 1000 : image.size());
            const std::uint8_t flip = static_cast<std::uint8_t>(1 + random() % 255);
            SCOPED_TRACE(name + " byte " + std::to_string(place) + " xor " + std::to_string(flip));
            image.at(place) ^= flip;
            ASSERT_NO_FATAL_FAILURE(expect_sound_end(shop, image, name));
            image.at(place) ^= flip;
        }
    }
}

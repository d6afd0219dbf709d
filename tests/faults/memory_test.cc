// Every place that takes memory gets none in turn, once and from there on for ever: the run ends as if nothing had been,
// or with a message, the status of trouble, and no output.
#include <sys/personality.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "cases/messages_page.h"
#include "faults/subjects.h"
#include "support/run_program.h"

using namespace faults;
using support::run_result;

namespace {

class Memory : public testing::Test {
protected:
    Memory() {
        personality(ADDR_NO_RANDOMIZE);  // the same place is at the same address in every run
    }
    ~Memory() override { unsetenv("STARVED"); }

    void sweep(const std::vector<subject>& subjects) {
        for (const subject& each : subjects)
            sweep_one(each);
        std::printf("%zu runs with a failing allocation, at %zu places\n", runs_, places_.size());
        EXPECT_GT(runs_, 10 * subjects.size());
    }

    std::set<std::string> messages;  ///< of all runs

private:
    /// Whether the allocation was there to fail goes to `met`.
    run_result run(const subject& each, long nth, const char* how, bool& met) {
        const std::string report = room_.path("report");
        setenv("STARVED", (std::to_string(nth) + ':' + how + ':' + report).c_str(), 1);
        std::vector<std::string> command = each.command;
        command[0] = STARVED_FOLDER "/starved_" + std::filesystem::path(command[0]).filename().string();
        room_.prepare(each);
        run_result result = support::run_program(command, {.directory = room_.path("."), .input = text_of(each.input)});
        met = std::filesystem::file_size(report) != 0;
        return result;
    }

    [[nodiscard]] std::string text_of(const char* name) const {
        const support::bytes data = room_.read(name);
        return {data.begin(), data.end()};
    }

    void sweep_one(const subject& each) {
        bool met = false;
        const run_result clean = run(each, 0, "once", met);
        ASSERT_EQ(clean.status, each.status) << clean.err;
        const support::bytes made = room_.output_of(each);
        const support::bytes places = support::read_file(room_.path("report"));
        for (std::size_t k = 0; k < places.size() / 8; ++k) {
            std::uint64_t place = 0;
            std::memcpy(&place, &places[8 * k], 8);
            if (!places_.insert(place).second)
                continue;
            for (const char* how : {"once", "ever"}) {
                const run_result result = run(each, static_cast<long>(k) + 1, how, met);
                ++runs_;
                SCOPED_TRACE(each.title() + ": allocation " + std::to_string(k + 1) + ' ' + how + '\n' + result.err);
                EXPECT_TRUE(met);
                messages.insert(result.err);
                const bool same = result.status == clean.status && result.out == clean.out && result.err == clean.err &&
                                  room_.output_of(each) == made;
                if (!same) {
                    EXPECT_EQ(result.status, each.trouble());
                    EXPECT_TRUE(result.err.ends_with('\n')) << "no message";
                    EXPECT_TRUE(each.output == "long.out" || room_.output_of(each).empty()) << "an output is left";
                }
            }
        }
    }

    room room_;
    std::set<std::uint64_t> places_;
    std::size_t runs_ = 0;
};

TEST_F(Memory, MayBeShortInAConversion) {
    sweep(conversions);
    for (const std::string& row : cases::page_rows()) {
        if (row.starts_with("ERROR: Unable to allocate")) {
            EXPECT_TRUE(std::any_of(messages.begin(), messages.end(), [&](auto& err) { return cases::says(err, row); }))
                << "nothing here makes this message: " << row;
        }
    }
}

TEST_F(Memory, MayBeShortInVelmdump) {
    sweep(module_runs);
}

TEST_F(Memory, MayBeShortInCoffdump) {
    sweep(image_runs);
}

// The innermost scope speaks, and the general one where there is none.
TEST_F(Memory, MayBeShortInTheClassLibrary) {
    sweep(library_runs);
    for (const char* what : {"inner", "outer", "the conversion"})
        EXPECT_TRUE(messages.contains(std::string("ERROR: Unable to allocate storage for ") + what + '\n')) << what;
}

}  // namespace

// Every system call on a file fails in turn, in every way, once and from there on for ever: the run ends as if nothing
// had been, or with a message and the status of trouble, and never says that it wrote what it did not.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <set>

#include <gtest/gtest.h>

#include "cases/messages_page.h"
#include "faults/subjects.h"
#include "faults/traced_run.h"

using cases::says;
using namespace faults;

namespace {

constexpr int half = 0;
constexpr int the_end = -1;

/// What a disk, a network file system or a signal does to a call.
const struct {
    call_kind kind;
    int error;
} ways[] = {
    {call_kind::open, EIO},     {call_kind::open, EMFILE},  {call_kind::read, EIO},    {call_kind::read, EINTR},
    {call_kind::read, half},    {call_kind::read, the_end}, {call_kind::seek, EIO},    {call_kind::write, ENOSPC},
    {call_kind::write, EINTR},  {call_kind::write, half},   {call_kind::stat, EACCES}, {call_kind::close, EIO},
    {call_kind::close, ENOSPC}, {call_kind::remove, EPERM},
};

class SystemCalls : public testing::Test {
protected:
    void sweep(const std::vector<subject>& subjects) {
        for (const subject& each : subjects)
            sweep_one(each);
        std::printf("%zu runs with a failing system call\n", runs_);
        EXPECT_GT(runs_, 40 * subjects.size());
    }

    std::set<std::string> messages;  ///< of all runs

private:
    traced_result run(const subject& each, const fault* planned) {
        return run_traced(each.command, room_.path("."), each.input, planned);
    }

    void sweep_one(const subject& each) {
        room_.prepare(each);
        clean_ = run(each, nullptr);
        EXPECT_EQ(clean_.status, each.status) << clean_.err;
        clean_output_ = room_.output_of(each);
        EXPECT_EQ(clean_output_.empty(), each.output.empty() || each.status != 0);
        for (std::size_t nth = 0; nth < clean_.calls.size(); ++nth) {
            for (const auto& way : ways) {
                if (way.kind != clean_.calls[nth].kind || is_good_end(clean_.calls[nth], way.error))
                    continue;
                for (const bool for_ever : {false, true})
                    spoil({nth, way.error, for_ever}, each);
            }
        }
    }

    /// Streams and entries files may end anywhere.
    static bool is_good_end(const call& made, int error) {
        return error == the_end && (made.file == 0 || (made.name == "names"));
    }

    void spoil(const fault& planned, const subject& each) {
        room_.prepare(each);
        const traced_result result = run(each, &planned);
        ++runs_;
        SCOPED_TRACE(each.title() + ": system call " + std::to_string(planned.nth) +
                     (planned.for_ever ? " for ever" : " once") + ", error " + std::to_string(planned.error) + '\n' +
                     result.err);
        ASSERT_GT(result.calls.size(), planned.nth);
        const call& made = result.calls[planned.nth];
        // The system said only then that it could not keep what it had taken.
        const bool must_refuse = made.kind == call_kind::close && made.name == "new";
        if (must_refuse || !is_complete(result, made, each)) {
            EXPECT_FALSE(must_survive(planned, made, each));
            expect_refusal(result, made, each);
        }
        messages.insert(result.err);
    }

    /// Whether all is as without the fault. Nobody needs to see the banner.
    bool is_complete(const traced_result& result, const call& made, const subject& each) const {
        const bool said = result.err == clean_.err || made.file == 2;
        const bool printed = result.out == clean_.out || (made.file == 1 && each.is_modforge());
        return result.status == clean_.status && said && printed && room_.output_of(each) == clean_output_;
    }

    /// What every program has to cope with.
    [[nodiscard]] bool must_survive(const fault& planned, const call& made, const subject& each) const {
        // What a companion had waiting for its output may be lost in an interrupted write: it says so.
        const bool interrupted =
            planned.error == EINTR && !planned.for_ever && (each.is_modforge() || made.kind == call_kind::read);
        return planned.error == half || interrupted || (made.kind == call_kind::close && !is_output(made)) ||
               (each.is_modforge() && made.file == 1);
    }

    [[nodiscard]] bool is_output(const call& made) const {
        return std::any_of(clean_.calls.begin(), clean_.calls.end(),
                           [&](const call& other) { return other.creates && other.name == made.name; });
    }

    void expect_refusal(const traced_result& result, const call& made, const subject& each) const {
        EXPECT_EQ(result.status, each.trouble());
        EXPECT_TRUE(made.file == 2 || result.err.ends_with('\n')) << "no message";
        const bool opened = std::any_of(result.calls.begin(), result.calls.end(), [](auto& c) { return c.creates; });
        const bool may_stay = (each.is_modforge() && opened) || made.kind == call_kind::remove;
        EXPECT_TRUE(may_stay || each.output == "long.out" || room_.output_of(each).empty()) << "an output is left";
    }

    room room_;
    traced_result clean_;
    support::bytes clean_output_;
    std::size_t runs_ = 0;
};

TEST_F(SystemCalls, EachMayFailInAConversion) {
    sweep(conversions);
    for (const std::string& row : cases::faults_of_the_machine)
        EXPECT_TRUE(std::any_of(messages.begin(), messages.end(), [&](auto& err) { return says(err, row); })) << row;
}

TEST_F(SystemCalls, EachMayFailInVelmdump) {
    sweep(module_runs);
}

TEST_F(SystemCalls, EachMayFailInCoffdump) {
    sweep(image_runs);
}

}  // namespace

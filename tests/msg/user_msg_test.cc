// Messages as they come out: prefix, stream, wrapping, limits, and the end of the run.
#include "msg/user_msg.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <functional>
#include <string>
#include <utility>

#include "support/child_run.h"

namespace {

using SEVERITY = USER_MSG::ERROR_SEVERITY;

const char* const too_many = "too many errors; abortng\n";
const char* const overflow = "Internal Error in USER_MSG::message:  attempt to generate a message > 4095 bytes, "
                             "which would result in a buffer overflow; terminating program.\n";

/// What one message does, said through an object with the given level and number of errors to reach.
child_result say(int severity, const std::string& text, int level = 0, int max_errors = 1000) {
    return run_in_child([&] {
        USER_MSG msg(static_cast<SEVERITY>(level), max_errors);
        msg.message(static_cast<SEVERITY>(severity), "%s", text.c_str());
    });
}

std::string letters(std::size_t count) {
    return std::string(count, 'x');
}

TEST(UserMsg, EachSeverityHasItsPrefixStreamAndEndUnlessTheLevelDropsIt) {
    const struct {
        int severity;
        int level;
        const char* out;
        const char* err;
        int status;
        int max_errors = 1000;
    } cases[] = {
        {0, 0, ">>   debug: m\n", "", 0},
        {16, 16, ">>  remark: m\n", "", 0},
        {32, 0, "", ">> warning: m\n", 0},
        {37, 0, "", ">> warning: m\n", 0},
        {48, 0, "", ">>   error: m\n", 0},
        {64, 0, "", ">>   usage: m\n", 0},
        {80, 0, "", ">> fatal error: m\n", 1},
        {96, 0, "", ">> internal error: m\n", 1},
        // None of the seven: a fault of the caller, never an unknown stream.
        {38, 0, "", ">> internal error: USER_MSG::message: unknown severity 38\n", 1},
        {31, 0, "", ">> internal error: USER_MSG::message: unknown severity 31\n", 1},
        {15, 16, "", "", 0},  // dropped before anybody asks whether it exists
        {33, 34, "", "", 0},  // a sub-level is judged before it becomes a warning
        {34, 34, "", ">> warning: m\n", 0},
        {80, 96, "", "", 0},  // even the end of the run is dropped
        // Every message that is printed looks at the count of errors.
        {16, 0, ">>  remark: m\n", too_many, 1, 0},
        {0, 16, "", "", 0, 0},
    };
    for (const auto& c : cases) {
        const child_result result = say(c.severity, "m", c.level, c.max_errors);
        EXPECT_EQ(result.out, c.out) << c.severity;
        EXPECT_EQ(result.err, c.err) << c.severity;
        EXPECT_EQ(result.status, c.status) << c.severity;
    }
}

TEST(UserMsg, TheGlobalOneStartsAtRemarksAndAHundredErrors) {
    const child_result result = run_in_child([] {
        UMSG.message(USER_MSG::DEBUG, "unheard");
        UMSG.set_sev_level(USER_MSG::FATAL);
        UMSG.message(USER_MSG::ERROR, "dropped, not counted");
        UMSG.set_sev_level(USER_MSG::REMARK);
        for (int k = 1; k <= 100; ++k) {
            UMSG.message(USER_MSG::ERROR, "number %d", k);
            std::printf("%d\n", UMSG.get_error_count());
        }
    });
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.out.ends_with("98\n99\n"));  // after the 100th, nobody comes back
    EXPECT_TRUE(result.err.starts_with(">>   error: number 1\n"));
    EXPECT_TRUE(result.err.ends_with(std::string("error: number 99\n>>   error: number 100\n") + too_many));
}

// ">> warning: " has 12 characters, so 66 fit behind it and behind the indent of each further line.
TEST(UserMsg, WrapsAtTheLastBlankThatFits) {
    const std::string x66 = letters(66), indent(12, ' ');
    const struct {
        const char* name;
        std::string text, lines;
        int severity = USER_MSG::WARNING;
    } cases[] = {
        {"fits exactly", x66, ">> warning: " + x66 + "\n"},
        {"blank just behind a full line", x66 + " y", ">> warning: " + x66 + "\n" + indent + "y\n"},
        {"blank one too far", x66 + "x y", ">> warning:\n" + indent + indent + x66 + "x y\n"},
        {"ends in the blank it breaks at", x66 + " ", ">> warning: " + x66 + "\n" + indent + "\n"},
        {"full further line", "a " + x66 + " b", ">> warning: a\n" + indent + x66 + "\n" + indent + "b\n"},
        {"of two blanks the last", letters(60) + " y  " + letters(10),
         ">> warning: " + letters(60) + " y \n" + indent + letters(10) + "\n"},
        {"a blank in front is no place to break", "a " + letters(63) + "  " + letters(70),
         ">> warning: a " + letters(63) + " \n" + indent + indent + letters(70) + "\n"},
        {"leading blank of a long rest", "a " + letters(64) + "  " + letters(70),
         ">> warning: a " + letters(64) + "\n" + indent + indent + " " + letters(70) + "\n"},
        // No blank: the indent of the last piece is printed twice, and blanks further on are not looked for.
        {"long word", "a " + letters(67) + " b c", ">> warning: a\n" + indent + indent + letters(67) + " b c\n"},
        {"line break in the text", "a\nb", ">> warning: a\nb\n"},
        {"longer prefix", letters(62) + " y", ">> fatal error: " + letters(62) + "\n" + indent + "    y\n",
         USER_MSG::FATAL},
        {"longest prefix", letters(59) + " y", ">> internal error: " + letters(59) + "\n" + indent + "       y\n",
         USER_MSG::INTERNAL},
    };
    for (const auto& c : cases)
        EXPECT_EQ(say(c.severity, c.text).err, c.lines) << c.name;
}

TEST(UserMsg, PrefixAndMessageFillAtMost4095Bytes) {
    for (const auto& [severity, prefix] : {std::pair(USER_MSG::ERROR, 12u), std::pair(USER_MSG::INTERNAL, 19u)}) {
        const std::string longest = letters(4095 - prefix);
        EXPECT_TRUE(say(severity, longest).err.ends_with(' ' + longest + '\n'));
        const child_result over = say(severity, longest + "x");
        EXPECT_EQ(over.err, overflow);
        EXPECT_EQ(over.status, 1);
    }
    // A character that cannot be written: there is no length at all, and nothing that could be printed.
    const child_result unwritable =
        run_in_child([] { UMSG.message(USER_MSG::ERROR, "%lc", static_cast<wint_t>(0x7fffffff)); });
    EXPECT_EQ(unwritable.err, overflow);
    EXPECT_EQ(unwritable.status, 1);
}

TEST(UserMsg, TheOtherVoicesAndTheirArguments) {
    const struct {
        std::function<void()> speak;
        const char* err;
        int status;
    } cases[] = {
        {[] { UMSG.die("COFF_FILE::read", "%d of %s", 3, "four"); }, ">> internal error: COFF_FILE::read: 3 of four\n",
         1},
        {[] { UMSG.die("operator%s%n", "100%% of %d", 3); }, ">> internal error: operator%s%n: 100% of 3\n", 1},
        {[] { USER_MSG(static_cast<SEVERITY>(100), 0).die("A::b", "dropped, yet the end"); }, "", 1},
        {[] { UMSG.fatal_err("no %s", "way"); }, ">> fatal error: no way\n", 1},
        {[] { UMSG.usage_msg("tool %s", "FILE"); }, ">>   usage: tool FILE\n", 0},
        // A null pointer in the first place is an argument, not a list of arguments.
        {[] { UMSG.message(USER_MSG::ERROR, "%p", static_cast<const void*>(nullptr)); }, ">>   error: (nil)\n", 0},
        {[] { UMSG.message(USER_MSG::ERROR, "%s %d %ld", "a", -1, 5'000'000'000L); }, ">>   error: a -1 5000000000\n",
         0},
        {[] {
             UMSG.set_max_errors(1);
             UMSG.message(USER_MSG::ERROR, "last");
         },
         ">>   error: last\ntoo many errors; abortng\n", 1},
    };
    for (const auto& c : cases) {
        const child_result result = run_in_child([&] {
            std::printf("said before");
            c.speak();
        });
        EXPECT_EQ(result.out, "said before") << c.err;  // the end of the run loses nothing
        EXPECT_EQ(result.err, c.err);
        EXPECT_EQ(result.status, c.status) << c.err;
    }
}

}  // namespace

#include "msg/user_msg.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <sstream>
#include <string>
#include <vector>

#include "support/child_run.h"

namespace {

using SEVERITY = USER_MSG::ERROR_SEVERITY;

const char* const too_many = "too many errors; abortng\n";
const char* const overflow = "Internal Error in USER_MSG::message:  attempt to generate a message > 4095 bytes, "
                             "which would result in a buffer overflow; terminating program.\n";

/// What one message does, said through an object with the given level and no errors to reach.
child_result say(int severity, const std::string& text, int level = 0, int max_errors = 1000) {
    return run_in_child([&] {
        USER_MSG msg(static_cast<SEVERITY>(level), max_errors);
        msg.message(static_cast<SEVERITY>(severity), "%s", text.c_str());
    });
}

std::string letters(std::size_t count) {
    return std::string(count, 'x');
}

std::string blanks(std::size_t count) {
    return std::string(count, ' ');
}

TEST(UserMsg, EachSeverityHasItsPrefixStreamAndEnd) {
    const struct {
        int severity;
        const char* out;
        const char* err;
        int status;
    } cases[] = {
        {0, ">>   debug: m\n", "", 0},
        {16, ">>  remark: m\n", "", 0},
        {32, "", ">> warning: m\n", 0},
        {33, "", ">> warning: m\n", 0},
        {37, "", ">> warning: m\n", 0},
        {48, "", ">>   error: m\n", 0},
        {64, "", ">>   usage: m\n", 0},
        {80, "", ">> fatal error: m\n", 1},
        {96, "", ">> internal error: m\n", 1},
        // None of the seven: a fault of the caller, never an unknown stream.
        {38, "", ">> internal error: USER_MSG::message: unknown severity 38\n", 1},
        {31, "", ">> internal error: USER_MSG::message: unknown severity 31\n", 1},
        {97, "", ">> internal error: USER_MSG::message: unknown severity 97\n", 1},
    };
    for (const auto& c : cases) {
        const child_result result = say(c.severity, "m");
        EXPECT_EQ(result.out, c.out) << c.severity;
        EXPECT_EQ(result.err, c.err) << c.severity;
        EXPECT_EQ(result.status, c.status) << c.severity;
    }
}

TEST(UserMsg, LevelDropsWhatLiesBelowIt) {
    EXPECT_EQ(say(15, "m", 16).err, "");  // dropped before anybody asks whether it exists
    EXPECT_EQ(say(16, "m", 16).out, ">>  remark: m\n");
    EXPECT_EQ(say(33, "m", 34).err, "");  // a sub-level is judged before it becomes a warning
    EXPECT_EQ(say(34, "m", 34).err, ">> warning: m\n");
    const child_result fatal = say(80, "m", 96);  // even the end of the run is dropped
    EXPECT_EQ(fatal.err, "");
    EXPECT_EQ(fatal.status, 0);
}

TEST(UserMsg, TheGlobalOneStartsAtRemarksAndAHundredErrors) {
    const child_result result = run_in_child([] {
        UMSG.message(USER_MSG::DEBUG, "unheard");
        for (int k = 1; k <= 100; ++k) {
            UMSG.message(USER_MSG::ERROR, "number %d", k);
            std::printf("%d\n", UMSG.get_error_count());
        }
    });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out.substr(result.out.size() - 6), "98\n99\n");  // after the 100th, nobody comes back
    const std::string last = std::string(">>   error: number 100\n") + too_many;
    EXPECT_EQ(result.err.substr(result.err.size() - last.size()), last);
    EXPECT_EQ(result.err.find(too_many), result.err.size() - std::string(too_many).size());
}

TEST(UserMsg, OnlyPrintedErrorsCountAndEveryMessageLooksAtTheCount) {
    const child_result dropped = run_in_child([] {
        USER_MSG msg(USER_MSG::USAGE, 1);
        msg.message(USER_MSG::ERROR, "dropped");
        std::exit(msg.get_error_count() == 0 ? 7 : 8);
    });
    EXPECT_EQ(dropped.status, 7);
    const child_result remark = say(USER_MSG::REMARK, "m", 0, 0);
    EXPECT_EQ(remark.out, ">>  remark: m\n");
    EXPECT_EQ(remark.err, too_many);
    EXPECT_EQ(remark.status, 1);
    EXPECT_EQ(say(USER_MSG::DEBUG, "m", 16, 0).status, 0);  // dropped: looks at nothing
}

// ">> warning: " has 12 characters, so 66 fit behind it and behind the indent of each further line.
TEST(UserMsg, WrapsAtTheLastBlankThatFits) {
    const std::string x66 = letters(66);
    const std::string indent = blanks(12);
    const struct {
        const char* name;
        std::string text, lines;
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
    };
    for (const auto& c : cases)
        EXPECT_EQ(say(USER_MSG::WARNING, c.text).err, c.lines) << c.name;
}

TEST(UserMsg, EverySeverityWrapsToItsOwnIndent) {
    std::string words;
    while (words.size() < 200)
        words += words.empty() ? "word" : " word";
    for (const int severity : {0, 16, 32, 48, 64, 80, 96}) {
        const child_result result = say(severity, words);
        const std::string text = result.out + result.err;
        const std::size_t indent = text.find(": ") + 2;
        std::istringstream lines(text);
        std::string all;
        int count = 0;
        for (std::string line; std::getline(lines, line); ++count) {
            EXPECT_LE(line.size(), 78u);
            if (count > 0) {
                EXPECT_EQ(line.find_first_not_of(' '), indent) << line;
            }
            all += (count > 0 ? " " : "") + line.substr(indent);
        }
        EXPECT_EQ(all, words);
        EXPECT_GE(count, 3);
    }
}

TEST(UserMsg, PrefixAndMessageFillAtMost4095Bytes) {
    const struct {
        int severity;
        std::size_t prefix;
    } cases[] = {{USER_MSG::REMARK, 12}, {USER_MSG::ERROR, 12}, {USER_MSG::FATAL, 16}, {USER_MSG::INTERNAL, 19}};
    for (const auto& c : cases) {
        const std::string longest = letters(4095 - c.prefix);
        const child_result fits = say(c.severity, longest);
        EXPECT_NE((fits.out + fits.err).find(longest + "\n"), std::string::npos);
        const child_result over = say(c.severity, longest + "x");
        EXPECT_EQ(over.out, "");
        EXPECT_EQ(over.err, overflow);
        EXPECT_EQ(over.status, 1);
    }
    // A character that cannot be written: there is no length at all, and nothing that could be printed.
    const child_result unwritable =
        run_in_child([] { UMSG.message(USER_MSG::ERROR, "%lc", static_cast<wint_t>(0x7fffffff)); });
    EXPECT_EQ(unwritable.err, overflow);
    EXPECT_EQ(unwritable.status, 1);
}

TEST(UserMsg, DieNamesThePlaceAndFormatsTheRest) {
    const child_result plain = run_in_child([] {
        std::printf("said before");
        UMSG.die("COFF_FILE::read", "%d of %s", 3, "four");
    });
    EXPECT_EQ(plain.err, ">> internal error: COFF_FILE::read: 3 of four\n");
    EXPECT_EQ(plain.out, "said before");
    EXPECT_EQ(plain.status, 1);
    EXPECT_EQ(run_in_child([] { UMSG.die("operator%s%n", "100%% of %d", 3); }).err,
              ">> internal error: operator%s%n: 100% of 3\n");
    const child_result unheard = run_in_child([] {
        UMSG.set_sev_level(static_cast<SEVERITY>(100));
        UMSG.die("A::b", "dropped, yet the end");
    });
    EXPECT_EQ(unheard.err, "");
    EXPECT_EQ(unheard.status, 1);
}

TEST(UserMsg, TheOtherVoicesAndTheirArguments) {
    // A null pointer in the first place is an argument, not a list of arguments.
    const char* volatile nothing = nullptr;
    EXPECT_EQ(run_in_child([&] { UMSG.message(USER_MSG::ERROR, "%p", static_cast<const void*>(nothing)); }).err,
              ">>   error: (nil)\n");
    EXPECT_EQ(run_in_child([] { UMSG.message(USER_MSG::ERROR, "%s %d %ld", "a", -1, 5'000'000'000L); }).err,
              ">>   error: a -1 5000000000\n");
    const child_result usage = run_in_child([] { UMSG.usage_msg("tool %s", "FILE"); });
    EXPECT_EQ(usage.err, ">>   usage: tool FILE\n");
    EXPECT_EQ(usage.status, 0);
    const child_result fatal = run_in_child([] { UMSG.fatal_err("no %s", "way"); });
    EXPECT_EQ(fatal.err, ">> fatal error: no way\n");
    EXPECT_EQ(fatal.status, 1);
}

}  // namespace

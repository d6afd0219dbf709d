// The command line: every option in every form, what is judged first, and where the output goes.
#include "cases/run_modforge.h"

#include <gtest/gtest.h>

using namespace cases;
using support::run_result;

namespace {

using arguments = std::vector<std::string>;

/// The image, and what becomes of it without options.
const second_opinion::conversion_request plain = request_for(small_image());

void expect_refused(const arguments& given, const std::string& err) {
    SCOPED_TRACE(testing::PrintToString(given));
    const workshop shop;
    shop.write("app.out", plain.input);
    shop.write("long", "_a\n" + std::string(256, 'x'));
    const run_result run = shop.run(given);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, banner);
    EXPECT_EQ(run.err, err);
    EXPECT_FALSE(shop.has("app.vlm") || shop.has("app.hex"));
}

}  // namespace

TEST(Options, InvalidOnesAreNamedBeforeTheUsageText) {
    for (const std::string bad : {"-hx", "-??", "-", "--help", "-x", "-S", "-H", "-e", "-ex=names", "-f", "-fC", "-o",
                                  "-p", "-p500", "-qq", "-ss"})
        expect_refused({"app.out", bad, "-y"}, "Invalid option " + bad + "\n\n" + usage);
}

TEST(Options, HelpAndAMissingInputGiveTheUsageText) {
    for (const arguments& given : {arguments{}, {"-s"}, {"-q", "-fc", "-o=x"}, {"-h"}, {"-?"}, {"app.out", "-h"}})
        expect_refused(given, usage);
}

// What strtol saturates to is judged before it is narrowed to 32 bits: 4294967796 is not 500.
TEST(Options, PacketSizesOutsideTheRangeAreRefused) {
    const std::string error = "ERROR: Invalid value for image packet size: ";
    for (const std::string value : {"299", "298", "", "abc", "0x200", "-500", "-4294966796", "-99999999999999999999"})
        expect_refused({"-p=" + value, "app.out"}, error + "Minimum is 300 bytes\n");
    for (const std::string value : {"1025", "1028", "4294967796", "99999999999999999999"})
        expect_refused({"-p=" + value, "app.out"}, error + "Maximum is 1024 bytes\n");
    for (const std::string value : {"301", "302", "1023"})
        expect_refused({"-p=" + value, "app.out"}, "ERROR: Image packet size must align to a 32-bit boundary\n");
    // Arguments are judged one after the other, from the left.
    for (const arguments& given : {arguments{"-p=1", "-h"}, {"-p=1"}, {"-p=1", "app.out", "-x"}})
        expect_refused(given, error + "Minimum is 300 bytes\n");
    expect_refused({"-h", "-p=1"}, usage);
}

TEST(Options, FilesThatCannotBeOpenedOrWrittenAreNamed) {
    const std::pair<arguments, std::string> rows[] = {
        {{"absent.out", "-e=absent"}, ">>   error: Cannot open input file 'absent.out': No such file or directory\n"},
        {{""}, ">>   error: Cannot open input file '': No such file or directory\n"},
        {{"a-name-that-takes-the-message-over-the-width.out"},
         ">>   error: Cannot open input file\n"
         "            'a-name-that-takes-the-message-over-the-width.out': No such file\n"
         "            or directory\n"},
        {{"-e=absent", "-o=", "app.out"}, "ERROR: Unable to open entries file absent\n"},
        {{"-e=", "app.out"}, "ERROR: Unable to open entries file \n"},
        {{"-o=", "app.out"}, "ERROR: Unable to open file \n"},
        {{"-o=no/such/directory", "app.out"}, "ERROR: Unable to open file no/such/directory\n"},
        {{"-fc", "-o=.", "app.out"}, "ERROR: Unable to open file .\n"},
        {{"-o=/dev/full", "app.out"}, "ERROR: Cannot write to file /dev/full\n"},
        {{"-e=long", "app.out"}, "ERROR: long:2: an entry has more than 255 characters\n"},
        {{"-e=/dev/zero", "app.out"}, "ERROR: /dev/zero:1: an entry has more than 255 characters\n"},
    };
    for (const auto& [given, err] : rows)
        expect_refused(given, err);
}

TEST(Options, AReaderThatWentAwayIsAFailedWrite) {
    const workshop shop;
    shop.write("app.out", plain.input);
    const run_result run = shop.run({"-o=/dev/stdout", "app.out"}, {.reader_is_gone = true});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "ERROR: Cannot write to file /dev/stdout\n");
}

TEST(Options, AcceptedFormsGiveTheModuleThatTheyStandFor) {
    second_opinion::conversion_request as_text = plain, symbols = plain;
    as_text.c_text = symbols.symbols_only = true;
    const struct {
        arguments given;
        std::string output = "app.vlm";
        const second_opinion::conversion_request& request = plain;
    } rows[] = {
        {{"app.out"}},
        {{"-fc", "app.out"}, "app.hex", as_text},
        {{"app.out", "-fcx"}, "app.hex", as_text},
        {{"-s", "app.out"}, "app.vlm", symbols},
        {{"-c", "-cfoo", "-q", "app.out"}},
        {{"-p=300", "app.out"}},
        {{"-p=1024", "app.out"}},
        {{"-p=500bytes", "app.out"}},
        {{"-p= +500", "app.out"}},
        {{"-o=out.bin", "app.out"}, "out.bin"},
        {{"-o=first", "-fc", "-o=second", "app.out"}, "second", as_text},
        {{"absent.out", "app.out"}},  // the last input name counts
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.given));
        const workshop shop;
        shop.write("app.out", plain.input);
        const run_result run = shop.run(row.given);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, banner);
        EXPECT_EQ(run.err, "");
        ASSERT_TRUE(shop.has(row.output));
        EXPECT_EQ(shop.read(row.output), second_opinion::convert(row.request).module);
        EXPECT_FALSE(shop.has("first"));
    }
}

// What else an output may be, special_files_test.cc has.
TEST(Options, OutputFollowsTheBannerWhereBothGoToOnePlace) {
    const workshop shop;
    shop.write("app.out", plain.input);
    const support::bytes module = second_opinion::convert(plain).module;
    EXPECT_EQ(shop.run({"-o=/dev/stdout", "app.out"}).out, banner + std::string(module.begin(), module.end()));
}

TEST(Options, OutputLiesBesideTheInputWithItsLastExtensionReplaced) {
    const std::pair<std::string, std::string> rows[] = {
        {"app", "app.vlm"},
        {"a.b.out", "a.b.vlm"},
        {"prog.", "prog.vlm"},
        {".hidden", ".vlm"},
        {"./app.out", "app.vlm"},
        {"dir.d/prog", "dir.d/prog.vlm"},
        {"dir.d/x.out", "dir.d/x.vlm"},
        {"dir.d/../y.o.out", "y.o.vlm"},
    };
    for (const auto& [input, output] : rows) {
        SCOPED_TRACE(input);
        const workshop shop;
        ASSERT_EQ(support::run_program({"/bin/mkdir", shop.path("dir.d")}).status, 0);
        second_opinion::conversion_request request = plain;
        request.input_name = input;
        shop.write(input, request.input);
        EXPECT_EQ(shop.run({input}).status, 0);
        ASSERT_TRUE(shop.has(output));
        EXPECT_EQ(shop.read(output), second_opinion::convert(request).module);
    }
}

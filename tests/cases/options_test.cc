// The command line: every option in every form, what is judged first, and where the output goes.
#include "cases/run_modforge.h"

#include <gtest/gtest.h>

using namespace cases;
using support::bytes;
using support::run_result;

namespace {

using arguments = std::vector<std::string>;

const std::string minimum = "ERROR: Invalid value for image packet size: Minimum is 300 bytes\n";
const std::string maximum = "ERROR: Invalid value for image packet size: Maximum is 1024 bytes\n";
const std::string unaligned = "ERROR: Image packet size must align to a 32-bit boundary\n";

std::string invalid(const std::string& argument) {
    return "Invalid option " + argument + "\n\n" + usage;
}

}  // namespace

TEST(Options, RefusedLinesSayWhyOnStandardErrorBehindTheBanner) {
    const struct {
        arguments given;
        std::string err;
    } rows[] = {
        {{}, usage},
        {{"-s"}, usage},
        {{"-q", "-fc", "-o=x"}, usage},
        {{"-h"}, usage},
        {{"-?"}, usage},
        {{"app.out", "-h"}, usage},
        {{"-hx"}, invalid("-hx")},
        {{"-??"}, invalid("-??")},
        {{"-"}, invalid("-")},
        {{"--help"}, invalid("--help")},
        {{"-x", "app.out"}, invalid("-x")},
        {{"-S", "app.out"}, invalid("-S")},
        {{"-H"}, invalid("-H")},
        {{"-e", "names"}, invalid("-e")},
        {{"-ex=names"}, invalid("-ex=names")},
        {{"-f", "app.out"}, invalid("-f")},
        {{"-fC", "app.out"}, invalid("-fC")},
        {{"-o", "x"}, invalid("-o")},
        {{"-p", "500"}, invalid("-p")},
        {{"-p500", "app.out"}, invalid("-p500")},
        {{"-qq", "app.out"}, invalid("-qq")},
        {{"-ss", "app.out"}, invalid("-ss")},
        // Arguments are judged one after the other, from the left.
        {{"-p=1", "-h"}, minimum},
        {{"-h", "-p=1"}, usage},
        {{"-x", "-p=1"}, invalid("-x")},
        {{"-p=1", "app.out", "-x"}, minimum},
        {{"app.out", "-x"}, invalid("-x")},
        // The packet size: what strtol saturates to is judged before it is narrowed to 32 bits.
        {{"-p=299", "app.out"}, minimum},
        {{"-p=298", "app.out"}, minimum},
        {{"-p=", "app.out"}, minimum},
        {{"-p=abc", "app.out"}, minimum},
        {{"-p=0x200", "app.out"}, minimum},
        {{"-p=-500", "app.out"}, minimum},
        {{"-p=-4294966796", "app.out"}, minimum},
        {{"-p=-99999999999999999999", "app.out"}, minimum},
        {{"-p=1025", "app.out"}, maximum},
        {{"-p=1028", "app.out"}, maximum},
        {{"-p=4294967796", "app.out"}, maximum},
        {{"-p=99999999999999999999", "app.out"}, maximum},
        {{"-p=301", "app.out"}, unaligned},
        {{"-p=302", "app.out"}, unaligned},
        {{"-p=1023", "app.out"}, unaligned},
        // Files.
        {{"absent.out"}, ">>   error: Cannot open input file 'absent.out': No such file or directory\n"},
        {{""}, ">>   error: Cannot open input file '': No such file or directory\n"},
        {{"a-name-that-takes-the-message-over-the-width.out"},
         ">>   error: Cannot open input file\n"
         "            'a-name-that-takes-the-message-over-the-width.out': No such file\n"
         "            or directory\n"},
        {{"-e=absent", "app.out"}, "ERROR: Unable to open entries file absent\n"},
        {{"-e=", "app.out"}, "ERROR: Unable to open entries file \n"},
        {{"-o=", "app.out"}, "ERROR: Unable to open file \n"},
        {{"-o=no/such/directory", "app.out"}, "ERROR: Unable to open file no/such/directory\n"},
        {{"-fc", "-o=.", "app.out"}, "ERROR: Unable to open file .\n"},
        {{"-o=/dev/full", "app.out"}, "ERROR: Cannot write to file /dev/full\n"},
        {{"-fc", "-o=/dev/full", "app.out"}, "ERROR: Cannot write to file /dev/full\n"},
        {{"-s", "-o=/dev/full", "app.out"}, "ERROR: Cannot write to file /dev/full\n"},
    };
    const workshop shop;
    shop.write("app.out", small_image().data());
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.given));
        const run_result run = shop.run(row.given);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, banner);
        EXPECT_EQ(run.err, row.err);
        EXPECT_FALSE(shop.has("app.vlm") || shop.has("app.hex"));
    }
}

TEST(Options, AcceptedFormsGiveTheModuleThatTheyStandFor) {
    support::conversion_request base = request_for(small_image());
    const auto with = [&](auto member, auto value) {
        support::conversion_request changed = base;
        changed.*member = value;
        return support::convert(changed).module;
    };
    using request = support::conversion_request;
    const bytes plain = support::convert(base).module;
    const struct {
        arguments given;
        std::string output;
        bytes module;
    } rows[] = {
        {{"app.out"}, "app.vlm", plain},
        {{"-fc", "app.out"}, "app.hex", with(&request::c_text, true)},
        {{"app.out", "-fcx"}, "app.hex", with(&request::c_text, true)},
        {{"-s", "app.out"}, "app.vlm", with(&request::symbols_only, true)},
        {{"-c", "app.out"}, "app.vlm", plain},
        {{"-cfoo", "app.out"}, "app.vlm", plain},
        {{"-q", "app.out"}, "app.vlm", plain},
        {{"-p=300", "app.out"}, "app.vlm", plain},
        {{"-p=1024", "app.out"}, "app.vlm", plain},
        {{"-p=500bytes", "app.out"}, "app.vlm", plain},
        {{"-p= +500", "app.out"}, "app.vlm", plain},
        {{"-o=out.bin", "app.out"}, "out.bin", plain},
        {{"-o=first", "-fc", "-o=second", "app.out"}, "second", with(&request::c_text, true)},
        {{"absent.out", "app.out"}, "app.vlm", plain},  // the last input name counts
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.given));
        const workshop shop;
        shop.write("app.out", base.input);
        const run_result run = shop.run(row.given);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, banner);
        EXPECT_EQ(run.err, "");
        ASSERT_TRUE(shop.has(row.output));
        EXPECT_EQ(shop.read(row.output), row.module);
        EXPECT_FALSE(shop.has("first"));
    }
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
        support::conversion_request request = request_for(small_image());
        request.input_name = input;
        shop.write(input, request.input);
        EXPECT_EQ(shop.run({input}).status, 0);
        ASSERT_TRUE(shop.has(output));
        EXPECT_EQ(shop.read(output), support::convert(request).module);
    }
}

TEST(Options, OutputOverTheInputIsWrittenWithAWarning) {
    const support::conversion_request request = request_for(small_image());
    for (const std::string name : {"app.out", "./app.out", "link"}) {
        const workshop shop;
        shop.write("app.out", request.input);
        ASSERT_EQ(support::run_program({"/bin/ln", "-s", "app.out", shop.path("link")}).status, 0);
        const run_result run = shop.run({"-o=" + name, "app.out"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "WARNING: Output file " + name + " is the input file\n");
        EXPECT_EQ(shop.read("app.out"), support::convert(request).module);
    }
}

TEST(Options, OutputMayBeAPipeOrALink) {
    const support::conversion_request request = request_for(small_image());
    const support::conversion expected = support::convert(request);
    const workshop shop;
    shop.write("app.out", request.input);
    const run_result run = shop.run({"-o=/dev/stdout", "app.out"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, banner + std::string(expected.module.begin(), expected.module.end()));
    ASSERT_EQ(support::run_program({"/bin/ln", "-s", "target", shop.path("link")}).status, 0);
    EXPECT_EQ(shop.run({"-o=link", "app.out"}).status, 0);
    EXPECT_EQ(shop.read("target"), expected.module);
}

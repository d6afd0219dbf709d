// What the README shows is in examples/, works, and is all there is.
#include <gmock/gmock.h>

#include <bit>
#include <regex>
#include <string>
#include <vector>

#include "docs/source_folder.h"
#include "support/run_program.h"

namespace {

using namespace support;
using testing::AnyOf;
using testing::HasSubstr;

TEST(Readme, ShowsTheEntriesFileThatIsShipped) {
    EXPECT_THAT(read_text(source_folder + "/README.md"),
                HasSubstr("```\n" + read_text(source_folder + "/examples/audio.entries") + "```"));
}

TEST(Readme, ExampleGivesTheModuleThatIsShipped) {
    if (std::endian::native != std::endian::little)
        GTEST_SKIP() << "the module in examples/ is little-endian";
    const temporary_directory room;
    for (const char* name : {"audio.out", "audio.entries"})
        room.write(name, read_file(source_folder + "/examples/" + name));
    const run_result run = run_program({MODFORGE_PROGRAM, "-e=audio.entries", "audio.out"}, {.directory = room.path()});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    const bytes module = read_file(room.file("audio.vlm"));
    EXPECT_EQ(module, read_file(source_folder + "/examples/audio.vlm"));
    const std::string size = std::to_string(module.size());
    EXPECT_THAT(read_text(source_folder + "/README.md"),
                HasSubstr(size.substr(0, size.size() - 3) + "," + size.substr(size.size() - 3) + " bytes"));
}

TEST(Readme, ShowsWhatTheToolsSayOfTheModule) {
    const run_result show =
        run_program({VELMDUMP_PROGRAM, "show", "audio.vlm"}, {.directory = source_folder + "/examples"});
    EXPECT_THAT(read_text(source_folder + "/README.md"), HasSubstr("```\n" + show.out + "```"));
    const temporary_directory room;
    const std::string module = source_folder + "/examples/audio.vlm";
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"check", module},
                                               {"verify", "-e=" + source_folder + "/examples/audio.entries", module,
                                                source_folder + "/examples/audio.out"},
                                               {"imports", module},
                                               {"diff", module, module},
                                               {"map", module, "-o", room.file("m.svg")}}) {
        std::vector<std::string> argv{VELMDUMP_PROGRAM};
        argv.insert(argv.end(), command.begin(), command.end());
        EXPECT_EQ(run_program(argv).status, 0) << command.front();
    }
}

TEST(Readme, ExplainsEveryOptionOfTheUsageText) {
    const std::string readme = read_text(source_folder + "/README.md");
    const std::string table = readme.substr(readme.find("| Option | Meaning |"));
    const std::string usage = run_program({MODFORGE_PROGRAM, "-?"}).err;
    const std::regex option(R"(\[(-[a-z?]+=?))");
    int options = 0;
    for (std::sregex_iterator at(usage.begin(), usage.end(), option), end; at != end; ++at, ++options)
        EXPECT_THAT(table, AnyOf(HasSubstr("\n| `" + (*at)[1].str()), HasSubstr("`, `" + (*at)[1].str()))) << usage;
    EXPECT_EQ(options, 7);
}

}  // namespace

// coffdump through its command line, on images made by the builder.
#include <gmock/gmock.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "format/reloc_types.h"
#include "support/coff_builder.h"
#include "support/run_program.h"

namespace {

using support::coff_image;
using support::run_result;
using ::testing::HasSubstr;
using ::testing::Not;

/// ".text" with code for two functions, ".data" with four bytes that a relocation fills, symbols of every kind that
/// the checker of entries tells apart.
coff_image sample() {
    coff_image image;
    image.sections = {{.name = ".text", .paddr = 0x1000, .contents = {0xDE, 0xAD, 0xBE, 0xEF, 0x01}},
                      {.name = ".data:long_name", .flags = 0x40, .paddr = 0x2000, .contents = {1, 2, 3, 4}}};
    image.sections[0].lines = {{0x1002, 7}};
    image.sections[1].relocs = {{.vaddr = 0x2000, .type = 17, .symndx = 2},
                                {.vaddr = 0x2000, .type = 0x400F, .descriptor = {{3, 5, 16, 0}}},
                                {.vaddr = 0x2000, .type = 0x4012, .symndx = 0x77}};
    image.symbols = {{.name = ".text", .scnum = 1, .sclass = 3, .aux = {support::aux_section(5, 0, 1)}},
                     {.name = "_main", .value = 0x1000, .scnum = 1},
                     {.name = "_api_first", .value = 0x1002, .scnum = 1},
                     {.name = "_api_second", .value = 0x1003, .scnum = 1},
                     {.name = "_printf", .scnum = 0},
                     {.name = "_static", .value = 0x2000, .scnum = 2, .sclass = 3},
                     {.name = "_tag", .scnum = -2, .sclass = 10, .aux = {support::aux_tag(12, 9)}},
                     {.name = "__DLStart", .value = 0x1000, .scnum = 1}};
    return image;
}

class Coffdump : public ::testing::Test {
protected:
    run_result run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), COFFDUMP_PROGRAM);
        return support::run_program(arguments, {.directory = files.path()});
    }
    /// The listing of `image`, which must come without a complaint.
    std::string listing(const coff_image& image, const std::string& option) {
        files.write("app.out", image.data());
        const run_result result = run({option, "app.out"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }

    support::temporary_directory files;
};

TEST_F(Coffdump, SummaryTellsWhatThereIs) {
    files.write("app.out", sample().data());
    const run_result result = run({"app.out"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("COFF file app.out\n"));
    EXPECT_THAT(result.out, HasSubstr("   2  0x00002000  0x00002000  0x00000004     8       3      0   0x00000040  "
                                      ".data:long_name\n"));
    EXPECT_THAT(result.out, HasSubstr("8 symbols; external: 4 in sections, 0 absolute, 1 undefined\n"));
}

TEST_F(Coffdump, EachOptionListsItsPart) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> table = {
        {"--headers", {"target 0x0099", "Section 2 .data:long_name", "flags 0x00000040 (DATA)"}},
        {"--sections", {".data:long_name\n"}},
        {"--symbols", {"C_STRTAG", "_api_second (.text)", "_printf (undefined)", "size 12 next 9"}},
        {"--relocs",
         {"R_RELLONG  0x0011  32 bits at bit 0 of 32  symbol 2 (_main)", "RE_USTFLD  0x400F  5 bits at bit 3 of 16\n",
          "RE_PUSHSK  0x4012  constant 0x00000077\n"}},
        {"--lines", {"0x00001002  line 7\n"}},
        {"--strings", {"_api_second\n"}},
        {"--contents", {"    00000000  DE AD BE EF 01\n", "    00000000  01 02 03 04\n"}},
        {"--all", {"DE AD BE EF 01", "R_RELLONG", "line 7", "C_STRTAG", "target 0x0099"}},
    };
    for (const auto& [option, texts] : table) {
        const std::string out = listing(sample(), option);
        for (const std::string& text : texts)
            EXPECT_THAT(out, HasSubstr(text)) << option;
    }
    const std::pair<const char*, const char*> absent[] = {
        {"--contents=.text", "01 02 03 04"}, {"--headers", "optional"}, {"--xml", "optional"}};
    for (const auto& [option, text] : absent)
        EXPECT_THAT(listing(sample(), option), Not(HasSubstr(text)));
}

// That it is as its schema says, and well-formed with any names, hostile_runs.py sees.
TEST_F(Coffdump, JsonTellsWhatThereIs) {
    coff_image image = sample();
    image.symbols[1].name = "<a href=\"&\">]]>\x01\x7f\xff\xc3\xa9'";
    image.symbols[3].name = "x";  // so long that it is written in pieces, whose border lies in a character
    for (int k = 0; k < 20'000; ++k)
        image.symbols[3].name += "\xF0\x9F\x98\x80";
    const auto json = nlohmann::json::parse(listing(image, "--json"));
    const std::pair<const char*, nlohmann::json> rows[] = {
        {"/symbols/1/name_hex", "3C6120687265663D2226223E5D5D3E017FFFC3A927"},
        {"/symbols/1/section_name", ".text"},
        {"/symbols/3/name", image.symbols[3].name},
        {"/symbols/5/section_name", ".data:long_name"},
        {"/symbols/6/auxiliary/next", 9},
        {"/sections/0/contents", "DEADBEEF01"},
        {"/sections/0/lines/0/line", 7},
        {"/sections/1/relocations/0/symbol", 2},
        {"/sections/1/relocations/1/field_size", 5},
        {"/file_header/time_stamp", 0x12345678},
        {"/strings/0/offset", 4},
    };
    for (const auto& [place, value] : rows)
        EXPECT_EQ(json.at(nlohmann::json::json_pointer(place)), value) << place;
    EXPECT_FALSE(json["symbols"][2].contains("name_hex"));
    EXPECT_FALSE(json["symbols"][4].contains("section_name"));
    files.write("names", "_absent\n");
    const auto check = nlohmann::json::parse(run({"check", "--json", "-e", "names", "app.out"}).out);
    EXPECT_EQ(check["converts"], true);
    EXPECT_EQ(check["findings"][0]["place"], "names:1:1");
    EXPECT_EQ(check["findings"][0]["severity"], "warning");
}

TEST_F(Coffdump, BothByteOrdersListAlike) {
    coff_image big = sample();
    big.order = support::byte_order::big;
    for (const std::string option : {"--symbols", "--relocs", "--lines", "--contents"})
        EXPECT_EQ(listing(big, option), listing(sample(), option)) << option;
}

// A file to be looked at may be a broken one.
TEST_F(Coffdump, WhatTheFileDoesNotHoldIsNamed) {
    coff_image image = sample();
    image.sections[0].scnptr = 0x7FFFFFFF;
    image.sections[0].lnnoptr = 0x7FFFFFFF;
    files.write("app.out", image.data());
    for (const std::string option : {"--all", "--xml", "--json", "--headers"}) {
        const run_result result = run({option, "app.out"});
        EXPECT_EQ(result.status, 1) << option;
        EXPECT_EQ(result.err,
                  "coffdump: app.out: 5 bytes of section .text at offset 2147483647 run past the end of the "
                  "file\ncoffdump: app.out: 1 line numbers of section .text at offset 2147483647 run past the "
                  "end of the file\n");
        EXPECT_THAT(result.out, HasSubstr(".data:long_name")) << option;
    }
    EXPECT_THAT(run({"--all", "app.out"}).out, HasSubstr("contents are not in the file"));
    image.sections[0].mwidth = 1;
    image.symbols[0].aux = {support::aux_section(0, 0xFFFF, 1)};  // as a symbol it would have no name
    files.write("app.out", image.data());
    EXPECT_THAT(run({"--headers", "app.out"}).out, HasSubstr("units of 1 bit ("));
    EXPECT_THAT(run({"check", "app.out"}).out, Not(HasSubstr("name at offset")));
}

// That listings stay in proportion, hostile_runs.py sees.
TEST_F(Coffdump, LongNamesAreCutOnlyWhereTheyStandTooOften) {
    coff_image image = sample();
    const std::string name(30'000, 'n');
    image.symbols[1].name = name;
    EXPECT_THAT(listing(image, "--symbols"), HasSubstr(name + " (.text)\n"));
    EXPECT_EQ(nlohmann::json::parse(listing(image, "--json"))["symbols"][1]["name"], name);
    image.symbols.resize(1000, {.name = name});
    EXPECT_THAT(listing(image, "--symbols"), HasSubstr("nnn... (30000 bytes) ("));
    EXPECT_THAT(listing(image, "--xml"), HasSubstr("nnn... (30000 bytes)\""));
    EXPECT_THAT(listing(image, "--strings"), HasSubstr(name + "\n"));
    EXPECT_THAT(listing(image, "--json"), HasSubstr("nnn\",\n   \"name_length\": 30000,\n"));
}

// One fault, one finding.
TEST_F(Coffdump, CheckTellsThePlaceAndTheWords) {
    coff_image narrow = sample(), crowded = sample();
    narrow.sections[0].mwidth = 1;
    crowded.symbols.assign(65536, crowded.symbols[1]);
    const coff_image lost{.sections = {{.name = ".text", .contents = {1}, .relptr = 0x70000000, .nreloc = 0x10000000}},
                          .symbols = {{.name = ".text", .sclass = 3, .aux = {support::aux_section(1, 0, 0)}}},
                          .string_table = false};
    const std::pair<coff_image, const char*> rows[] = {
        {narrow, "app.out: error: section 1 (.text) has a memory width of 1 bit (file offset 0x42)\n"
                 "    modforge says: ERROR: Section .text: a memory width of 1 bits is not supported\n"
                 "    way out: only 8, 16 and 32 are: the file is damaged, or made for another target\n"},
        {crowded, "app.out: error: the module would have more than 65535 symbols\n"
                  "    modforge says: ERROR: The module would have more than 65535 symbols\n"
                  "    way out: export fewer: write an entries file\n"},
        {lost,
         "app.out: error: the 268435456 relocations of section 1 (.text), at offset 0x70000000, end at "
         "0x130000000, the file at 0x6B\n"
         "    modforge says: >>   error: app.out: 268435456 relocations of section .text at offset 1879048192 run "
         "past the end of the file\n"
         "    way out: the file is damaged or was cut short: link again\n"},
    };
    for (const auto& [image, words] : rows) {
        files.write("app.out", image.data());
        EXPECT_EQ(run({"check", "app.out"}).out, words);
    }
    const support::bytes whole = sample().data();
    EXPECT_THAT(
        support::run_program({COFFDUMP_PROGRAM, "check", "-"}, {.input = {whole.begin(), whole.begin() + 80}}).out,
        ::testing::StartsWith("standard input: error: section header 2 of 2, at offset 0x46, runs past the end of "
                              "the file (0x50 bytes)\n"));
}

// Whatever is cut off: the rest is listed, and the status tells.
TEST_F(Coffdump, ACutFileIsListedAsFarAsItGoes) {
    const support::bytes whole = sample().data();
    const std::string everything = listing(sample(), "--all");
    std::size_t lines = 0;
    for (std::size_t size = 0; size < whole.size(); size += 7) {
        files.write("app.out", support::bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        const run_result result = run({"--all", "app.out"});
        ASSERT_EQ(result.status, 1) << size;
        ASSERT_THAT(result.err, ::testing::StartsWith("coffdump: app.out: ")) << size;
        const auto now = static_cast<std::size_t>(std::count(result.out.begin(), result.out.end(), '\n'));
        EXPECT_GE(now + 2, lines) << size << result.out;  // "No string table", "are not in the file" come and go
        lines = std::max(lines, now);
    }
    const std::string most(whole.begin(), whole.end() - 8);
    const run_result piped = support::run_program({COFFDUMP_PROGRAM, "--symbols", "-"}, {.input = most});
    EXPECT_EQ(piped.status, 1);
    EXPECT_THAT(piped.err, ::testing::StartsWith("coffdump: standard input: the string table runs past the end"));
    EXPECT_THAT(piped.out, HasSubstr("_main (.text)"));
    coff_image image = sample();  // the section behind the one whose name is not there
    std::swap(image.sections[0].name, image.sections[1].name);
    support::bytes nameless = image.data();
    nameless.resize(nameless.size() - 8);
    files.write("app.out", nameless);
    EXPECT_THAT(run({"--sections", "app.out"}).out, HasSubstr("  .text\n"));
}

TEST_F(Coffdump, EntriesAreCheckedAgainstTheFile) {
    files.write("app.out", sample().data());
    files.write("one", "# nothing here: _no\n_main _missing\n  -_absent ^_api_ ^_api_f\n");
    files.write("two", "-_main\n_static _printf __DLStart _tag\n@.text @.bss !.data !.gone ^_api_\n");
    const run_result result = run({"entries", "app.out", "one", "two"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "one:2:7: warning: symbol '_missing' matches nothing in app.out\n"
              "    modforge says: WARNING: Symbol _missing from entries file not found in app.out\n"
              "one:3:19: warning: prefix '_api_f' is shadowed: other entries answer for everything that it matches\n"
              "    modforge says: WARNING: Prefix _api_f from entries file not found in app.out\n"
              "two:1:1: warning: symbol '_main' is listed with another qualifier at one:2:1\n"
              "    modforge says: WARNING: Duplicate entries for _main from entries file(s) with different qualifiers. "
              "Keeping entry  _main\n"
              "two:2:1: warning: symbol '_static' is static, and static symbols have no name in a module\n"
              "    modforge says: WARNING: Symbol _static from entries file not found in app.out\n"
              "two:2:9: warning: symbol '_printf' is undefined: it is imported, not exported\n"
              "two:2:17: warning: symbol '__DLStart' is the entry point, which travels without a name\n"
              "two:2:27: warning: symbol '_tag' has a storage class that no module holds\n"
              "    modforge says: WARNING: Symbol _tag from entries file not found in app.out\n"
              "two:3:1: warning: section '.text' exports nothing: a symbol that it matches is the entry point, which "
              "travels without a name\n"
              "    modforge says: WARNING: Section .text from entries file not found in app.out\n"
              "two:3:8: warning: section '.bss' matches nothing in app.out\n"
              "    modforge says: WARNING: Section .bss from entries file not found in app.out\n"
              "two:3:21: warning: excluded section '.gone' matches nothing in app.out\n"
              "two:3:28: warning: prefix '_api_' is listed already at one:3:12\n"
              "    modforge says: WARNING: Prefix _api_ from entries file not found in app.out\n"
              "one:2:1: _main exports 1 symbol\n"
              "one:2:7: _missing exports 0 symbols\n"
              "one:3:3: -_absent exports 0 symbols\n"
              "one:3:12: ^_api_ exports 2 symbols\n"
              "one:3:19: ^_api_f exports 0 symbols\n"
              "two:1:1: -_main exports 0 symbols\n"
              "two:2:1: _static exports 0 symbols\n"
              "two:2:9: _printf exports 0 symbols\n"
              "two:2:17: __DLStart exports 0 symbols\n"
              "two:2:27: _tag exports 0 symbols\n"
              "two:3:1: @.text exports 0 symbols\n"
              "two:3:8: @.bss exports 0 symbols\n"
              "two:3:14: !.data excludes 1 section\n"
              "two:3:21: !.gone excludes 0 sections\n"
              "two:3:28: ^_api_ exports 0 symbols\n"
              "(added): -__DLModules exports 0 symbols\n"
              "(added): -.bss exports 0 symbols\n");
    EXPECT_EQ(result.status, 1);

    files.write("good", "_main\n");
    EXPECT_EQ(run({"entries", "app.out", "good"}).status, 0);
}

// What modforge takes otherwise than its writer may have meant; and what it refuses.
TEST_F(Coffdump, OddEntriesFilesAreTold) {
    files.write("app.out", sample().data());
    const std::string none = "matches nothing in app.out";
    const struct {
        std::string text;
        std::string words;
        std::string count;
    } table[] = {
        {std::string("_main\0_other", 12), "1:1: warning: a NUL ends the entry, and what is behind it is ignored\n",
         "_main"},
        {"\xEF\xBB\xBF_main", "warning: the file begins with a byte-order mark", "\\xEF\\xBB\\xBF_main"},
        {std::string("\xFF\xFE_\0m\0", 6), "warning: the file is UTF-16", "\\xFF\\xFE_"},
        {"# note\r_main\r", "1:1: warning: a carriage return does not end this comment", ""},
        {"# note\r\n_main", "", "_main"},
        {"_mian", "symbol '_mian' " + none + "; did you mean '_main'?", "_mian"},
        {"main", "; did you mean '_main'?", "main"},
        {"m_ain", "; did you mean '_main'?", "m_ain"},
        {"@.data:longname", "; did you mean '.data:long_name'?", "@.data:longname"},
        {"^_ipi_", "; did you mean '_api_'?", "^_ipi_"},
        {"__DLModules _main",
         "1:1: warning: symbol '__DLModules' is listed without '-', but modforge adds '-__DLModules'", "_main"},
        {std::string(256, 'x') + " _main", "1:1: error: an entry has 256 characters\n", "_main"},
    };
    for (const auto& row : table) {
        files.write("names", row.text);
        const run_result result = run({"entries", "app.out", "names"});
        EXPECT_THAT(result.out, HasSubstr(row.words));
        if (!row.count.empty()) {
            EXPECT_THAT(result.out, HasSubstr(": " + row.count + " exports "));
        }
        EXPECT_EQ(result.status, row.words.empty() ? 0 : 1) << row.words;
    }
}

TEST_F(Coffdump, TheDocsShowWhatItPrints) {
    const std::string page = support::read_text(MODFORGE_SOURCE_DIR "/docs/coffdump.md");
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--help"}, {"check", "--help"}, {"entries", "--help"}}) {
        const std::string help = run(arguments).out;
        EXPECT_THAT(page, HasSubstr("```\n" + help + "```\n"));
        EXPECT_THAT(help, Not(HasSubstr(" \n")));
    }
    for (const std::string name : {"audio.out", "audio.entries"})
        files.write(name, support::read_file(MODFORGE_SOURCE_DIR "/examples/" + name));
    EXPECT_THAT(page, HasSubstr("```\n$ coffdump entries audio.out audio.entries\n" +
                                run({"entries", "audio.out", "audio.entries"}).out + "```\n"));
}

TEST_F(Coffdump, StatusTellsFaultsFromTrouble) {
    files.write("app.out", sample().data());
    files.write("text", "no COFF file, but longer than a header of one");
    files.write("long", std::string(256, 'x'));
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string words;
    } table[] = {
        {{"--help"}, 0, ""},
        {{"--version"}, 0, ""},
        {{"text"}, 1, "this application only supports COFF version 2"},
        {{}, 2, "Usage: coffdump [OPTIONS] FILE\n"},
        {{"--all"}, 2, "coffdump: FILE is required (try 'coffdump --help')\n"},
        {{"--nonsense", "app.out"}, 2, "--nonsense"},
        {{"absent"}, 2, "cannot read absent: No such file or directory"},
        {{"."}, 2, "cannot read .: Is a directory"},
        {{"--contents=.gone", "app.out"}, 2, "no section is named .gone"},
        {{"check", "app.out", "-p", "296"}, 2, "must be a multiple of 4 from 300 to 1024"},
        {{"check", "app.out", "-p", "1028"}, 2, "must be a multiple of 4 from 300 to 1024"},
        {{"entries", "app.out"}, 2, "ENTRIES"},
        {{"entries", "app.out", "absent"}, 2, "cannot read absent"},
        {{"entries", "app.out", "."}, 2, "cannot read .: Is a directory"},
    };
    for (const auto& row : table) {
        const run_result result = run(row.arguments);
        EXPECT_EQ(result.status, row.status) << row.words << result.err;
        EXPECT_THAT(result.err, HasSubstr(row.words));
    }
    EXPECT_THAT(run({"--version"}).out, ::testing::StartsWith("coffdump "));
    const std::string full = std::string("\"") + COFFDUMP_PROGRAM + "\" --all app.out > /dev/full";
    const run_result result = support::run_program({"/bin/sh", "-c", full}, {.directory = files.path()});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("cannot write to standard output"));
}

}  // namespace

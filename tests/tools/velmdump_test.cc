// velmdump through its command line, on modules that the second opinion makes.
#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "format/reloc_types.h"
#include "support/coff_builder.h"
#include "support/json_schema.h"
#include "support/run_program.h"
#include "tools/second_opinion/conversion.h"

namespace {

using support::run_result;
using ::testing::HasSubstr;

support::coff_image sample() {
    support::coff_image image;
    image.sections = {{.name = ".text", .paddr = 0x100, .contents = {1, 2, 3, 4, 5, 6, 7, 8}},
                      {.name = ".data", .flags = 0x40, .paddr = 0x800, .contents = {9, 10, 11, 12}},
                      {.name = ".bss", .flags = 0x80, .paddr = 0x900, .size = 16}};
    image.sections[0].relocs = {{.vaddr = 0x102, .type = 17, .symndx = 1}, {.vaddr = 0x106, .type = 16, .symndx = 3}};
    image.symbols = {{.name = "_main", .value = 0x104, .scnum = 1},
                     {.name = "_printf", .scnum = 0},
                     {.name = "_buffer", .value = 0x900, .scnum = 3},
                     {.name = "_local", .value = 0x802, .scnum = 2, .sclass = 3},
                     {.name = "__DLStart", .value = 0x100, .scnum = 1}};
    return image;
}

class Velmdump : public ::testing::Test {
protected:
    run_result run(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), VELMDUMP_PROGRAM);
        return support::run_program(arguments, {.directory = files.path(), .input = input});
    }
    /// Standard output of a run that must be good.
    std::string good(const std::vector<std::string>& arguments) {
        const run_result result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }
    void write(const std::string& name, const support::coff_image& image, bool c_text = false) {
        files.write(name, second_opinion::convert({.input = image.data(), .c_text = c_text}).module);
    }

    support::temporary_directory files;
};

const char* const summary =
    "  checks       sound\n"
    "  made from    app.out\n"
    "  time stamp   1979-09-05 22:51:36 UTC (0x12345678)\n"
    "  target       0x0099, 8-bit address units\n"
    "  file flags   0x1100: little-endian contents, tags merged\n"
    "  entry point  .text+0x0 (0x00000100)\n"
    "  size         308 bytes, 48 of them names\n"
    "  sections     3, 3 of them relocated\n"
    "  symbols      5: 2 exported, 1 imported, 2 nameless\n"
    "  no  run addr    load addr   size        page  packets  relocs  name and flags\n"
    "   1  0x00000100  0x00000100  0x00000008     0        1       2  .text (code, relocated, contents)\n"
    "   2  0x00000800  0x00000800  0x00000004     0        1       0  .data (data, relocated, contents)\n"
    "   3  0x00000900  0x00000900  0x00000010     0        0       0  .bss (uninitialised, relocated)\n";

TEST_F(Velmdump, ShowsTheModuleInEitherForm) {
    write("app.vlm", sample());
    write("app.hex", sample(), true);
    EXPECT_EQ(good({"show", "app.vlm"}), std::string("VELM module app.vlm (binary, little-endian writer)\n") + summary);
    EXPECT_EQ(good({"show", "app.hex"}), std::string("VELM module app.hex (text, little-endian writer)\n") + summary);
    const support::bytes text = support::read_file(files.file("app.hex"));
    EXPECT_EQ(run({"show", "-"}, std::string(text.begin(), text.end())).out,
              std::string("VELM module - (text, little-endian writer)\n") + summary);
}

TEST_F(Velmdump, ShowsEachPart) {
    write("app.vlm", sample());
    const std::vector<std::pair<std::string, std::string>> table = {
        {"--symbols", "     1  0x00000000  class  2  undefined            _printf\n"},
        {"--symbols", "     3  0x00000802  class  3  .data                -\n"},
        {"--strings", "       8  .text\n"},
        {"--packets", "  packet 0 at file offset 0xF8: 0x00000100, +0x0000, 8 bytes, 2 relocations\n"},
        {"--relocs",
         "      0x00000102  +0x0002  R_RELLONG   32 bits at bit 0 of 32  _printf\n"
         "      0x00000106  +0x0006  R_RELWORD   16 bits at bit 0 of 16  symbol 3 at 0x00000802 in .data\n"},
        {"--contents=.data",
         "Contents of .data\n  00000800  09 0A 0B 0C                                      |....|\n"},
        {"--all", "  00000100  01 02 03 04 05 06 07 08                          |........|\n"},
    };
    for (const auto& [option, text] : table)
        EXPECT_THAT(good({"show", option, "app.vlm"}), HasSubstr(text)) << option;

    const auto json = nlohmann::json::parse(good({"show", "--json", "app.vlm"}));
    EXPECT_EQ(json["header"]["sections"], 3);
    EXPECT_EQ(json["sections"][0]["packets"][0]["data"], "0102030405060708");
    EXPECT_EQ(json["sections"][0]["packets"][0]["relocations"][0]["symbol"], 1);
    EXPECT_EQ(json["symbols"][1]["name"], "_printf");
    EXPECT_TRUE(json["symbols"][3]["name"].is_null());
    EXPECT_TRUE(json["findings"].empty());
}

TEST_F(Velmdump, JsonIsAsItsSchemaSays) {
    support::coff_image image = sample();
    image.symbols[0].name = "_caf\xE9";
    image.sections[1].name = "\xFF";
    image.sections[1].relocs = {{.vaddr = 0x800, .type = 0x400F, .descriptor = {{3, 5, 16, 0}}},
                                {.vaddr = 0x800, .type = 22}};
    image.symbols[1].value = 5;
    write("app.vlm", image);
    const auto printed = [this](const std::string& schema_name, const std::vector<std::string>& arguments) {
        std::ifstream schema_file(MODFORGE_SOURCE_DIR "/docs/" + schema_name);
        const auto schema = nlohmann::json::parse(schema_file);
        const auto json = nlohmann::json::parse(good(arguments));
        support::expect_as_in_schema(json, schema, schema, schema_name);
        return json;
    };
    printed("velmdump-size.schema.json", {"size", "--json", "app.vlm", "--against", "app.vlm"});
    printed("velmdump-symbols.schema.json", {"symbols", "--json", "--all", "app.vlm"});
    const auto json = printed("velmdump.schema.json", {"show", "--json", "app.vlm"});
    EXPECT_EQ(json["symbols"][0]["name_hex"], "5F636166E9");
    EXPECT_FALSE(json["findings"].empty());
}

TEST_F(Velmdump, CheckTellsEachFaultWithItsPlace) {
    write("good.vlm", sample());
    EXPECT_EQ(good({"check", "good.vlm"}), "");
    support::bytes bad = support::read_file(files.file("good.vlm"));
    bad[248 + 12] ^= 1;  // 56 header + 48 strings + 3 * 28 sections + 5 * 12 symbols, 12 packet header
    bad[24] = 9;
    files.write("bad.vlm", bad);
    const run_result result = run({"check", "good.vlm", "bad.vlm"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, HasSubstr("bad.vlm: offset 0x20: error: header checksum is 0x"));
    EXPECT_THAT(result.out, HasSubstr("bad.vlm: offset 0x18: error: reserved field is not zero\n"));
    EXPECT_THAT(result.out, HasSubstr("bad.vlm: offset 0x100: error: packet checksum 0x"));
}

TEST_F(Velmdump, NamesForScripts) {
    write("app.vlm", sample());
    EXPECT_EQ(good({"exports", "app.vlm"}), "_main\n_buffer\n");
    EXPECT_EQ(good({"imports", "app.vlm"}), "_printf\n");
    files.write("base", "_malloc\r\n_printf\r\n");
    EXPECT_EQ(good({"imports", "app.vlm", "--against", "base"}), "");
    files.write("base", "_malloc\n");
    const run_result missing = run({"imports", "app.vlm", "--against", "base"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.out, "_printf\n");
}

TEST_F(Velmdump, DiffTellsWhatChangedInMeaning) {
    write("a.vlm", sample());
    EXPECT_EQ(good({"diff", "a.vlm", "a.vlm"}), "");
    support::coff_image changed = sample();
    changed.timestamp = 1;
    write("stamp.vlm", changed);
    EXPECT_EQ(run({"diff", "a.vlm", "stamp.vlm"}).out, "time stamp: 0x12345678, 0x00000001\n");
    EXPECT_EQ(good({"diff", "--ignore-stamp", "a.vlm", "stamp.vlm"}), "");

    changed.sections[0].contents[3] = 99;
    changed.sections[0].relocs[0].vaddr = 0x101;
    changed.sections[1].name = ".const";
    changed.symbols[0].value = 0x105;
    changed.symbols[2].name = "_bufs";
    write("b.vlm", changed);
    const run_result result = run({"diff", "--ignore-stamp", "a.vlm", "b.vlm"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "section .data: only in the first\n"
                          "section .text: bytes 0x3 to 0x3 differ\n"
                          "section .text: relocation at 0x2 (R_RELLONG, _printf): only in the first\n"
                          "section .text: relocation at 0x6 (R_RELWORD, .data+2050): only in the first\n"
                          "section .text: relocation at 0x1 (R_RELLONG, _printf): only in the second\n"
                          "section .text: relocation at 0x6 (R_RELWORD, .const+2050): only in the second\n"
                          "section .const: only in the second\n"
                          "symbol _buffer: only in the first\n"
                          "symbol _main: 0x00000104 class 2 in .text, 0x00000105 class 2 in .text\n"
                          "symbol _bufs: only in the second\n");
}

TEST_F(Velmdump, MapIsAPictureWithEveryPart) {
    support::coff_image image = sample();
    image.symbols[0].name = "_<&\">";
    write("app.vlm", image);
    EXPECT_EQ(good({"map", "app.vlm", "-o", "map.svg"}), "");
    const run_result lint = support::run_program({XMLLINT_PROGRAM, "--noout", files.file("map.svg")});
    EXPECT_EQ(lint.status, 0) << lint.err;
    const support::bytes svg = support::read_file(files.file("map.svg"));
    const std::string picture(svg.begin(), svg.end());
    for (const char* part : {".text", ".bss", "_&lt;&amp;&quot;&gt;", "_buffer", "2 relocations", "stroke-dasharray"})
        EXPECT_THAT(picture, HasSubstr(part));
}

TEST_F(Velmdump, StatusTellsFaultsFromTrouble) {
    write("app.vlm", sample());
    files.write("short", "0123456789");
    files.write("empty", "");
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string words;
    } table[] = {
        {{}, 2, "Usage: velmdump COMMAND"},
        {{"--help"}, 0, ""},
        {{"show"}, 2, "FILE"},
        {{"show", "absent"}, 2, "cannot read absent: No such file or directory"},
        {{"show", "."}, 2, "cannot read .: Is a directory"},
        {{"show", "short"}, 1, "short: not a VELM module: "},
        {{"show", "empty"}, 1, "empty: not a VELM module: it is empty"},
        {{"show", "--contents=.gone", "app.vlm"}, 2, "no section is named .gone"},
        {{"check", "short"}, 1, ""},
        {{"check", "absent", "app.vlm"}, 2, "cannot read absent"},
        {{"imports", "app.vlm", "--against", "absent"}, 2, "cannot read absent"},
        {{"diff", "app.vlm"}, 2, "required"},
        {{"map", "app.vlm"}, 2, "--output"},
        {{"map", "app.vlm", "-o", "/dev/full"}, 2, "cannot write /dev/full"},
    };
    for (const auto& row : table) {
        const run_result result = run(row.arguments);
        EXPECT_EQ(result.status, row.status) << row.words << result.err;
        EXPECT_THAT(result.err, HasSubstr(row.words));
    }
    const std::string full = std::string("\"") + VELMDUMP_PROGRAM + "\" show --all app.vlm > /dev/full";
    EXPECT_EQ(support::run_program({"/bin/sh", "-c", full}, {.directory = files.path()}).status, 2);
}

std::string page(const std::string& path) {
    const support::bytes text = support::read_file(MODFORGE_SOURCE_DIR "/" + path);
    return {text.begin(), text.end()};
}

TEST_F(Velmdump, TheDocsShowWhatItPrints) {
    const std::string help = page("docs/velmdump.md");
    const std::string program = good({"--help"});
    EXPECT_NE(help.find(program), std::string::npos) << program;
    std::istringstream commands(program.substr(program.find("Commands:\n")));
    std::string name;
    for (std::getline(commands, name); std::getline(commands, name) && !name.empty();) {
        const std::string text = good({name.substr(2, name.find(' ', 2) - 2), "--help"});
        EXPECT_NE(help.find(text), std::string::npos) << text;
    }

    files.write("audio.vlm", support::read_file(MODFORGE_SOURCE_DIR "/examples/audio.vlm"));
    EXPECT_THAT(page("README.md"), HasSubstr(good({"show", "audio.vlm"})));
    EXPECT_EQ(good({"map", "audio.vlm", "-o", "-"}), page("docs/audio.svg"));
}

}  // namespace

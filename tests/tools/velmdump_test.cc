// velmdump through its command line, on modules that the second opinion makes.
#include <gmock/gmock.h>

#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "format/reloc_types.h"
#include "support/coff_builder.h"
#include "support/run_program.h"
#include "tools/second_opinion/conversion.h"

namespace {

using support::run_result;
using ::testing::HasSubstr;

support::coff_image small_sample() {
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
        files.write(name, second_opinion::convert(
                              {.input = image.data(), .c_text = c_text, .order = second_opinion::byte_order::little})
                              .module);
    }

    support::temporary_directory files;
};

TEST_F(Velmdump, ShowsTheModuleInEitherForm) {
    write("app.vlm", small_sample());
    write("app.hex", small_sample(), true);
    const std::string binary = good({"show", "app.vlm"});
    const std::string first = "VELM module app.vlm (binary, little-endian writer)\n";
    ASSERT_EQ(binary.substr(0, first.size()), first);
    const std::string summary = binary.substr(first.size());  // README.md has one, which a test compares
    EXPECT_EQ(good({"show", "app.hex"}), "VELM module app.hex (text, little-endian writer)\n" + summary);
    EXPECT_EQ(run({"show", "-"}, support::read_text(files.file("app.hex"))).out,
              "VELM module standard input (text, little-endian writer)\n" + summary);
}

TEST_F(Velmdump, ShowsEachPart) {
    write("app.vlm", small_sample());
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
}

// That it is as its schema says, hostile_runs.py sees.
TEST_F(Velmdump, JsonTellsWhatThereIs) {
    support::coff_image image = small_sample();
    image.symbols[0].name = "_caf\xE9";
    write("app.vlm", image);
    const std::tuple<const char*, const char*, nlohmann::json> rows[] = {
        {"show", "/header/sections", 3},
        {"show", "/sections/0/packets/0/data", "0102030405060708"},
        {"show", "/sections/0/packets/0/relocations/0/symbol", 1},
        {"show", "/symbols/0/name_hex", "5F636166E9"},
        {"show", "/symbols/3/name", nullptr},
        {"show", "/findings", nlohmann::json::array()},
        {"exports", "/0/exports/0/name_hex", "5F636166E9"},
        {"imports", "/0/imports/0/name", "_printf"},
    };
    for (const auto& [command, place, value] : rows)
        EXPECT_EQ(nlohmann::json::parse(good({command, "--json", "app.vlm"})).at(nlohmann::json::json_pointer(place)),
                  value)
            << place;
}

TEST_F(Velmdump, CheckTellsEachFaultWithItsPlace) {
    write("good.vlm", small_sample());
    EXPECT_EQ(good({"check", "good.vlm"}), "");
    support::bytes bad = support::read_file(files.file("good.vlm"));
    bad[248 + 12] ^= 1;  // 56 header + 48 strings + 3 * 28 sections + 5 * 12 symbols, 12 packet header
    bad[24] = 9;
    files.write("bad.vlm", bad);
    const run_result result = run({"check", "good.vlm", "bad.vlm"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, ::testing::MatchesRegex("bad.vlm: offset 0x20: error: header checksum is .*\n"
                                                    "bad.vlm: offset 0x100: error: packet checksum .*\n"));
}

TEST_F(Velmdump, NamesForScripts) {
    write("app.vlm", small_sample());
    EXPECT_EQ(good({"exports", "app.vlm"}), "_main\n_buffer\n");
    EXPECT_EQ(good({"imports", "app.vlm", "app.vlm"}), "_printf\n_printf\n");
    support::coff_image base = small_sample();
    base.symbols[0].name = "_printf";
    base.symbols[1].name = "_\x1B[31m";
    write("base.vlm", base);
    EXPECT_EQ(good({"imports", "base.vlm"}), "_\\x1B[31m\n");
    files.write("names", "_malloc\r\n_printf\r\n");
    files.write("few", "_malloc\n");
    const support::bytes whole = support::read_file(files.file("base.vlm"));
    files.write("cut.vlm", support::bytes(whole.begin(), whole.end() - 4));
    const struct {
        std::vector<std::string> against;
        int status;
        const char* out;
    } table[] = {
        {{"names"}, 0, ""},
        {{"base.vlm"}, 0, ""},
        {{"few", "base.vlm"}, 0, ""},
        {{"few"}, 1, "_printf\n"},
        {{"few", "cut.vlm"}, 1, ""},
        {{""}, 2, ""},
        {{"."}, 2, ""},
    };
    for (const auto& row : table) {
        std::vector<std::string> arguments = {"imports", "app.vlm"};
        for (const std::string& path : row.against)
            arguments.insert(arguments.end(), {"--against", path});
        const run_result result = run(arguments);
        EXPECT_EQ(result.status, row.status) << result.err;
        EXPECT_EQ(result.out, row.out);
    }
}

// A file is judged before it is used: not a module, unsound, or sound.
TEST_F(Velmdump, EveryCommandJudgesItsFileFirst) {
    write("app.vlm", small_sample());
    const support::bytes sound = support::read_file(files.file("app.vlm"));
    files.write("cut.vlm", support::bytes(sound.begin(), sound.end() - 40));
    files.write("other", std::string(4096, 'x'));
    for (const std::string command : {"show", "check", "exports", "imports", "diff app.vlm", "size", "symbols",
                                      "extract .text -o -", "convert -o -", "map -o -"}) {
        SCOPED_TRACE(command);
        std::istringstream words(command);
        std::vector<std::string> rest(std::istream_iterator<std::string>(words), {});
        rest.insert(rest.begin() + 1, "other");
        const run_result other = run(rest);
        EXPECT_EQ(std::pair(other.status, other.out), std::pair(1, std::string()));
        EXPECT_EQ(other.err, "velmdump: other: not a VELM module: neither its byte-order word nor a checksum of its "
                             "header is in place\n");
        rest[1] = "cut.vlm";
        const run_result cut = run(rest);
        EXPECT_EQ(cut.status, 1);
        const bool tells = command == "show" || command == "check";  // what is wrong, as its result
        EXPECT_THAT(cut.out,
                    ::testing::StartsWith(
                        command == "show" ? "VELM module cut.vlm (binary, little-endian writer)\n  checks       UNSOUND"
                        : command == "check" ? "cut.vlm: offset"
                                             : ""));
        EXPECT_EQ(cut.out.empty(), !tells);
        EXPECT_EQ(cut.err.starts_with("velmdump: cut.vlm: unsound module: "), !tells) << cut.err;
    }
}

// A size that begins like "0x" does not make text of a module; a text tells the lines of what is wrong.
TEST_F(Velmdump, HeaderAndNotFirstBytesTellTheForm) {
    support::coff_image image = small_sample();
    for (std::size_t letters = 0x7830 - 48; letters > 0; letters -= std::min<std::size_t>(letters, 10000))
        image.symbols.push_back(
            {.name = std::string(std::min<std::size_t>(letters, 10000) - 1, static_cast<char>('a' + letters % 7)),
             .value = 0x100,
             .scnum = 1});
    write("app.vlm", image);
    const support::bytes module = support::read_file(files.file("app.vlm"));
    ASSERT_EQ(std::string(module.begin(), module.begin() + 2), "0x");
    EXPECT_EQ(good({"check", "--strict", "app.vlm"}), "");

    write("app.hex", small_sample(), true);
    std::string lines = support::read_text(files.file("app.hex"));
    lines.insert(lines.find('\n', lines.size() - 30), " ");
    files.write("app.hex", lines);
    const auto line = std::to_string(
        std::count(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(lines.rfind(' ')), '\n') + 1);
    EXPECT_THAT(run({"check", "app.hex"}).out, ::testing::StartsWith("app.hex: line " + line + ", offset 0x"));
}

TEST_F(Velmdump, DiffTellsWhatChangedInMeaning) {
    write("a.vlm", small_sample());
    EXPECT_EQ(good({"diff", "a.vlm", "a.vlm"}), "");
    support::coff_image changed = small_sample();
    changed.timestamp = 1;
    write("stamp.vlm", changed);
    EXPECT_EQ(run({"diff", "a.vlm", "stamp.vlm"}).out, "time stamp: 0x12345678, 0x00000001\n");
    EXPECT_EQ(good({"diff", "--ignore-stamp", "a.vlm", "stamp.vlm"}), "");

    support::coff_image long_one = small_sample();
    long_one.sections[0].contents.resize(1100);
    write("long.vlm", long_one);
    EXPECT_THAT(good({"show", "--packets", "long.vlm"}), HasSubstr(": 0x00000500, +0x0400, 76 bytes"));
    long_one.sections[0].contents[1050] = 1;
    write("longer.vlm", long_one);
    EXPECT_EQ(run({"diff", "long.vlm", "longer.vlm"}).out, "section .text: byte 0x41A differs\n");

    changed.sections[0].contents[3] = 99;
    changed.sections[0].relocs[0].vaddr = 0x101;
    changed.sections[1].name = ".const";
    changed.symbols[0].value = 0x105;
    changed.symbols[2].name = "_bufs";
    write("b.vlm", changed);
    const run_result result = run({"diff", "--ignore-stamp", "a.vlm", "b.vlm"});
    EXPECT_EQ(result.status, 1);
    const auto json = nlohmann::json::parse(run({"diff", "--json", "a.vlm", "stamp.vlm"}).out);
    EXPECT_EQ(json["same"], false);
    EXPECT_EQ(json["differences"].dump(), R"([{"part":"module","texts":["time stamp: 0x12345678, 0x00000001"]}])");
    EXPECT_EQ(result.out, "section .const: only in the second\n"
                          "section .data: only in the first\n"
                          "section .text: byte 0x3 differs\n"
                          "section .text: relocation at 0x1 (R_RELLONG, _printf): only in the second\n"
                          "section .text: relocation at 0x2 (R_RELLONG, _printf): only in the first\n"
                          "section .text: relocation at 0x6: (R_RELWORD, 0x00000802 in .data), (R_RELWORD, 0x00000802 "
                          "in .const)\n"
                          "symbol _buffer: only in the first\n"
                          "symbol _bufs: only in the second\n"
                          "symbol _main: 0x00000104 class 2 in .text, 0x00000105 class 2 in .text\n");
}

TEST_F(Velmdump, DiffSeesEveryField) {
    support::coff_image image = small_sample();
    image.sections[0].contents.resize(1500);
    image.sections[0].relocs[1].vaddr = 0x678;
    write("a.vlm", image);
    image.target_id = 0x97;
    image.flags |= 2;
    image.symbols[0].sclass = 21;
    image.symbols[2].scnum = 2;
    image.symbols[4] = {.name = "__DLStart", .value = 0x801, .scnum = 2};
    image.sections[0].relocs[0] = {.vaddr = 0x102, .type = 16, .symndx = 1};
    image.sections[0].relocs[1].disp = 5;
    image.sections[1].mwidth = 16;
    image.sections[1].contents.resize(6);
    image.sections[2] = {.name = ".bss", .flags = 0x280, .paddr = 0x904, .vaddr = 0x908, .page = 7, .size = 20};
    files.write("b.vlm",
                second_opinion::convert(
                    {.input_name = "b.out", .input = image.data(), .order = second_opinion::byte_order::little})
                    .module);
    EXPECT_EQ(run({"diff", "a.vlm", "b.vlm"}).out,
              "module name: app.out, b.out\n"
              "target: 0x00000099, 0x00000097\n"
              "file flags: 0x00001100, 0x00001102\n"
              "entry point: 0x00000000, 0x00000001\n"
              "entry section: .text, .data\n"
              "section .bss: run address: 0x00000900, 0x00000904\n"
              "section .bss: load address: 0x00000900, 0x00000908\n"
              "section .bss: size: 0x00000010, 0x00000014\n"
              "section .bss: page: 0x00000000, 0x00000007\n"
              "section .bss: flags: 0x00000012, 0x00000212\n"
              "section .data: size: 0x00000004, 0x00000003\n"
              "section .data: address units of 8 bits, 16 bits\n"
              "section .data: 4 bytes of contents, 6 bytes\n"
              "section .text: relocation at 0x2: (R_RELLONG, _printf), (R_RELWORD, _printf)\n"
              "section .text: relocation at 0x578: (R_RELWORD, 0x00000802 in .data), (R_RELWORD, 0x00000802 in .data, "
              "displacement 0x0005)\n"
              "symbol _buffer: 0x00000900 class 2 in .bss, 0x00000900 class 2 in .data\n"
              "symbol _main: 0x00000104 class 2 in .text, 0x00000104 class 21 in .text\n");
}

// A relocation may lie before its section; it is not four milliards behind it.
TEST_F(Velmdump, PlacesBeforeTheirSectionAreNegative) {
    support::coff_image image = small_sample();
    image.sections[0].relocs[0].vaddr = 0xFE;
    write("before.vlm", image);
    write("a.vlm", small_sample());
    EXPECT_THAT(good({"show", "--relocs", "before.vlm"}), HasSubstr("0x000000FE  -0x0002  R_RELLONG"));
    EXPECT_THAT(good({"show", "--json", "before.vlm"}), HasSubstr("\"section_offset\": -2"));
    EXPECT_THAT(good({"report", "before.vlm", "-o", "-"}), HasSubstr("[0,254,-2,"));
    EXPECT_THAT(run({"diff", "before.vlm", "a.vlm"}).out,
                HasSubstr("relocation at -0x2 (R_RELLONG, _printf): only in the first\n"));
}

TEST_F(Velmdump, StatusTellsFaultsFromTrouble) {
    write("app.vlm", small_sample());
    files.write("empty", "");
    files.write("image", std::string("\xC2\0", 2));
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string words;
    } table[] = {
        {{}, 2, "Usage: velmdump COMMAND"},
        {{"--help"}, 0, ""},
        {{"show"}, 2, "FILE"},
        {{"show", "absent"}, 2, "cannot read absent: No such file or directory"},
        {{"show", "empty"}, 1, "empty: not a VELM module: it is empty"},
        {{"show", "image"}, 1, "image: not a VELM module: it looks like a COFF file"},
        {{"show", "--contents=.gone", "app.vlm"}, 2, "no section is named .gone"},
        {{"imports", "app.vlm", "--against", "absent"}, 2, "cannot read absent"},
        {{"diff", "app.vlm"}, 2, "required"},
        {{"imports", "app.vlm", "--against", ""}, 2, "it names no file"},
        {{"convert", "app.vlm", "-o", "new", "--form=paper"}, 2, "--form"},
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

TEST_F(Velmdump, TheDocsShowWhatItPrints) {
    const std::string help = support::read_text(MODFORGE_SOURCE_DIR "/docs/velmdump.md");
    const std::string program = good({"--help"});
    EXPECT_NE(help.find(program), std::string::npos) << program;
    std::istringstream commands(program.substr(program.find("Commands:\n")));
    std::string name;
    for (std::getline(commands, name); std::getline(commands, name) && !name.empty();) {
        const std::string text = good({name.substr(2, name.find(' ', 2) - 2), "--help"});
        EXPECT_NE(help.find(text), std::string::npos) << text;
    }

    files.write("audio.vlm", support::read_file(MODFORGE_SOURCE_DIR "/examples/audio.vlm"));
    EXPECT_EQ(good({"map", "audio.vlm", "-o", "-"}), support::read_text(MODFORGE_SOURCE_DIR "/docs/audio.svg"));
}

}  // namespace

// velmdump verify: modules that modforge made, the same with a byte changed, and inputs that give no module.
#include <gmock/gmock.h>

#include <array>

#include "support/coff_builder.h"
#include "support/module_sums.h"
#include "support/run_program.h"
#include "tools/second_opinion/conversion.h"

namespace {

using support::run_result;
using ::testing::HasSubstr;

/// One of each that an account tells of, but for what only -s leaves out.
support::coff_image image_with_everything() {
    support::coff_image image;
    image.sections = {{.name = ".text",
                       .contents = {1, 2, 3, 4, 5, 6, 7, 8},
                       .relocs = {{.vaddr = 0, .type = 17, .symndx = 1},
                                  {.vaddr = 4, .type = 17, .symndx = 4},
                                  {.vaddr = 4, .type = 0x5001},
                                  {.vaddr = 8, .type = 15}}},
                      {.name = ".dummy", .flags = 1, .contents = {1}, .relocs = {{.vaddr = 0, .type = 15}}},
                      {.name = ".noload", .flags = 2, .contents = {1}},
                      {.name = ".none"},
                      {.name = ".old:a", .contents = {1}},
                      {.name = ".bss", .flags = 0x80, .relocs = {{.vaddr = 0, .type = 16}}, .size = 4}};
    image.symbols = {{.name = "__DLStart"},
                     {.name = "_import", .scnum = 0},
                     {.name = "_api_one"},
                     {.name = "_main"},
                     {.name = "_used", .sclass = 3},
                     {.name = "_unused", .sclass = 3},
                     {.name = "_unnamed"},
                     {.name = "a.c", .scnum = -2, .sclass = 103},
                     {.name = "_at_end", .scnum = 6},
                     {.name = ".bss", .scnum = 6},
                     {.name = "_api_gone", .scnum = 5}};
    return image;
}

const char* const all_entries = "_main\n^_api_\n!.old\n-@.bss\n";

class Verify : public testing::Test {
protected:
    Verify() {
        files.write("app.out", image_with_everything().data());
        files.write("names", all_entries);
    }

    run_result run(const std::string& program, std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), program);
        return support::run_program(arguments, {.directory = files.path()});
    }
    run_result verify(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "verify");
        return run(VELMDUMP_PROGRAM, arguments);
    }
    void expect_same(const std::vector<std::string>& arguments) const {
        const run_result result = verify(arguments);
        EXPECT_EQ(result.out + result.err, "") << testing::PrintToString(arguments);
        EXPECT_EQ(result.status, 0);
    }

    support::temporary_directory files;
};

TEST_F(Verify, IsSilentForWhatModforgeMakesWithTheSameOptions) {
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{},
                                               {"-e=names"},
                                               {"-s"},
                                               {"-c"},
                                               {"-p=300", "-q"},
                                               {"-fc"},
                                               {"-e=names", "-e=names", "-fcx", "-s", "-cfoo"}}) {
        for (const std::string input : {"app.out", MODFORGE_SAMPLES "/sensor.out", MODFORGE_SAMPLES "/audio.out"}) {
            std::vector<std::string> arguments = options;
            arguments.insert(arguments.end(), {"-o=made", input});
            ASSERT_EQ(run(MODFORGE_PROGRAM, arguments).status, 0);
            arguments.insert(arguments.begin(), "made");
            expect_same(arguments);
        }
    }
}

TEST_F(Verify, ModulesOfEitherByteOrder) {
    for (const bool c_text : {false, true}) {
        const auto module_in = [&](second_opinion::byte_order order, bool text) {
            return second_opinion::convert({.input = image_with_everything().data(),
                                            .entries = {all_entries},
                                            .c_text = text,
                                            .order = order})
                .module;
        };
        EXPECT_EQ(module_in(second_opinion::byte_order::big, false),
                  support::byte_swapped(module_in(second_opinion::byte_order::little, false)));
        for (const auto order : {second_opinion::byte_order::little, second_opinion::byte_order::big}) {
            files.write("app.vlm", module_in(order, c_text));
            expect_same({"app.vlm", "app.out", "-e=names"});
        }
    }
}

TEST_F(Verify, TellsWhereAndWhatIsDifferent) {
    const support::bytes module = second_opinion::convert({.input = image_with_everything().data(),
                                                           .entries = {all_entries},
                                                           .order = second_opinion::byte_order::little})
                                      .module;
    const std::uint32_t strings = support::word_at(module, 0), sections = 56 + strings, symbols = sections + 2 * 28,
                        packet = symbols + 7 * 12;
    ASSERT_EQ(module.size(), packet + 12 + 8 + 2 * 12);
    const std::string unsound = "cannot be told: the module is unsound";
    const struct {
        std::uint32_t offset;
        std::uint8_t change;
        std::string place;
        std::string meaning;
    } rows[] = {
        {33, 1, "offset 0x20: file header: header checksum is ", unsound},
        {30, 4, "offset 0x1E: file header: entry section is 0x0005, must be 0x0001\n", unsound},
        {36, 0x78, "verification record: time stamp is 0x12345600, must be 0x12345678\n", "time stamp: "},
        {57, 0x10, "offset 0x39: string table: \"app.out\" is 60, must be 70\n", "module name: "},
        {sections + 28 + 12, 1, "section 2 (.bss): size is 0x00000005, must be 0x00000004\n", "section .bss: size: "},
        {sections + 28 + 20, 1, "section 2 (.bss): first packet is 0x00000001, must be 0x00000000\n", unsound},
        {symbols + 12 + 4, 1, "symbol 1 (_api_one): value is 0x00000001, must be 0x00000000\n", "symbol _api_one: "},
        {packet + 4, 1, "section 1 (.text), packet 1: data size is 0x00000009, must be 0x00000008\n", unsound},
        {packet + 12 + 7, 8, "section 1 (.text), packet 1: byte 7 of the contents is 00, must be 08\n",
         "section .text: byte 0x7 differs\n"},
        {packet + 12 + 8 + 12 + 10, 1, "section 1 (.text), packet 1, relocation 1: r_type is 0x0010, must be 0x0011\n",
         "section .text: relocation at 0x4: (R_RELWORD, "},
    };
    for (const auto& row : rows) {
        support::bytes changed = module;
        changed.at(row.offset) ^= row.change;
        if (row.meaning != unsound)
            support::repair_sums(changed);
        files.write("app.vlm", changed);
        const run_result result = verify({"app.vlm", "app.out", "-e=names"});
        EXPECT_EQ(result.status, 1) << row.place;
        EXPECT_THAT(result.out, testing::AllOf(HasSubstr(row.place), HasSubstr(row.meaning)));
        EXPECT_EQ(result.err, "");
    }
    support::bytes neighbours = module;
    neighbours[56] ^= 1;
    neighbours[64] ^= 1;
    files.write("app.vlm", neighbours);
    EXPECT_THAT(verify({"app.vlm", "app.out", "-e=names"}).out, HasSubstr("offset 0x40: string table: \""));
    // Another size of a table or the file, another form, a text that deviates.
    files.write("app.vlm", support::bytes(module.begin(), module.end() - 4));
    EXPECT_THAT(verify({"app.vlm", "app.out", "-e=names"}).out, HasSubstr(" bytes, must be "));
    files.write("app.vlm", module);
    EXPECT_EQ(verify({"app.vlm", "app.out", "-e=names", "-fc"}).out, "app.vlm: in the binary form, must be text\n");
    const run_result other = verify({"app.vlm", "app.out"});
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.out, testing::AllOf(HasSubstr("symbol count is 0x0007, must be 0x0009\n"),
                                          HasSubstr("section .old:a: only in the second\n"),
                                          testing::Not(HasSubstr("string table: \""))));
    support::bytes text = second_opinion::as_text(module, second_opinion::byte_order::little);
    text.back() = ' ';
    files.write("app.vlm", text);
    EXPECT_THAT(verify({"app.vlm", "app.out", "-e=names"}).out, HasSubstr(": not as the text form is written\n"));
}

TEST_F(Verify, RefusesWhatTheConverterMustRefuse) {
    ASSERT_EQ(run(MODFORGE_PROGRAM, {"-o=made", "app.out"}).status, 0);
    files.write("empty", "");
    files.write("long", std::string(256, 'x'));
    support::coff_image endless = image_with_everything();  // the contents of one in all, many times over
    endless.sections[0].contents.resize(2 << 20);
    endless.sections[0].relocs.clear();
    const std::size_t contents = endless.build().contents[0];
    endless.sections.insert(endless.sections.end(), 10,
                            {.size = 2 << 20, .scnptr = static_cast<std::uint32_t>(contents + 10 * 48)});
    files.write("endless", endless.data());
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{"made", "empty"}, "empty: must be refused: Failed to read file and/or section headers\n"},
        {{"made", "app.out", "-e=long"}, "app.out: must be refused: an entry has more than 255 characters\n"},
        {{"made", "endless"}, "bytes, must be more than"},
    };
    for (const auto& [arguments, words] : rows) {
        const run_result result = verify(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.out, HasSubstr(words));
        EXPECT_EQ(result.err, "");
    }
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"made"},
                                               {"made", "app.out", "-x"},
                                               {"made", "app.out", "more"},
                                               {"made", "app.out", "-p=299"},
                                               {"made", "app.out", "-e=absent"},
                                               {"made", "absent"},
                                               {"absent", "app.out"}}) {
        const run_result result = verify(arguments);
        EXPECT_EQ(result.status, 2) << testing::PrintToString(arguments);
        EXPECT_THAT(result.err, testing::StartsWith("velmdump: "));
    }
}

TEST_F(Verify, AccountsForEverythingInTheInput) {
    ASSERT_EQ(run(MODFORGE_PROGRAM, {"-o=made", "-q", "-e=names", "app.out"}).status, 0);
    EXPECT_EQ(verify({"--account", "made", "app.out", "-e=names"}).out,
              "6 sections:\n"
              "  1 .text: in the module as number 1: code, relocated, contents, 1 packet\n"
              "  2 .dummy: left out: dummy\n"
              "  3 .noload: left out: no-load\n"
              "  4 .none: left out: empty, and no symbol of the module lies in it\n"
              "  5 .old:a: left out: excluded by !.old\n"
              "  6 .bss: in the module as number 2: uninitialised, relocated, 0 packets\n"
              "11 symbols:\n"
              "  C_EXT: 4 exported\n"
              "  C_EXT: 1 imported, as its section is left out\n"
              "  C_EXT: 1 imported\n"
              "  C_EXT: 2 left out: no entry names it\n"
              "  C_STAT: 1 nameless, for relocations\n"
              "  C_STAT: 1 left out: not external, and no relocation refers to it\n"
              "  C_FILE: 1 left out: debugging\n"
              "  0 __DLStart (C_EXT): left out: no entry names it, the entry point\n"
              "  1 _import (C_EXT): imported\n"
              "  2 _api_one (C_EXT): exported, entry ^_api_\n"
              "  3 _main (C_EXT): exported, entry _main\n"
              "  4 _used (C_STAT): nameless, for relocations\n"
              "  5 _unused (C_STAT): left out: not external, and no relocation refers to it\n"
              "  6 _unnamed (C_EXT): left out: no entry names it\n"
              "  8 _at_end (C_EXT): exported, entry -@.bss\n"
              "  9 .bss (C_EXT): exported, entry -.bss (always there)\n"
              "  10 _api_gone (C_EXT): imported, as its section is left out, entry ^_api_\n"
              "6 relocations:\n"
              "  1 .text: 1 R_RELBYTE: left out: outside the packets\n"
              "  1 .text: 2 R_RELLONG: in packets\n"
              "  1 .text: 1 type 20481: left out: the linker's own type\n"
              "  2 .dummy: 1 R_RELBYTE: left out with their section\n"
              "  6 .bss: 1 R_RELWORD: left out: the section has no packets\n");
    ASSERT_EQ(run(MODFORGE_PROGRAM, {"-o=made", "-s", "app.out"}).status, 0);
    EXPECT_THAT(verify({"--account", "made", "app.out", "-s"}).out,
                testing::AllOf(HasSubstr("4 .none: left out: no symbol of the module lies in it\n"),
                               HasSubstr("C_EXT: 1 left out: undefined\n"),
                               HasSubstr("1 .text: 2 R_RELLONG: left out: only symbols are wanted\n")));
}

}  // namespace

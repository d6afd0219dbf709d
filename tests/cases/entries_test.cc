// Entries files through whole runs: what each kind of token exports or excludes, and every warning.
#include "cases/run_modforge.h"

#include <gtest/gtest.h>

using namespace cases;
using second_opinion::conversion_request;
using support::bytes;
using support::coff_image;

namespace {

/// Four externals in three sections, one undefined external, one local, and the two names exported by default.
coff_image image_to_choose_from() {
    coff_image image;
    image.sections = {{.name = ".text", .contents = {1, 2}},
                      {.name = ".text:a", .contents = {3, 4}},
                      {.name = ".text:a:b", .contents = {5, 6}}};
    image.symbols = {
        {.name = "_api_one"},        {.name = "_api_two", .scnum = 2}, {.name = "_other_symbol", .scnum = 3},
        {.name = "a#b", .scnum = 3}, {.name = "_absent", .scnum = 0},  {.name = "_local", .sclass = 3}};
    return image;
}

/// The names behind the loader's part of the string table, a blank after each: those of the exported symbols.
std::string exported(const bytes& module) {
    std::string names;
    for (std::size_t at = 56 + module_word(module, 12); at < 56 + module_word(module, 0); ++at)
        if (module.at(at) != 0)
            names += static_cast<char>(module[at]);
        else if (!names.empty() && names.back() != ' ')
            names += ' ';
    return names;
}

std::string missing(const std::string& kind, const std::string& name) {
    return "WARNING: " + kind + ' ' + name + " from entries file not found in app.out\n";
}

std::string duplicate(const std::string& name, char kept) {
    return "WARNING: Duplicate entries for " + name +
           " from entries file(s) with different qualifiers. Keeping entry " + kept + name + '\n';
}

using files = std::vector<std::string>;

}  // namespace

TEST(EntriesFiles, TokensExportAndExcludeWhatTheyName) {
    const std::string all = "_api_one _api_two _other_symbol a#b _absent ";
    const std::string long_token(255, 'x');
    const struct {
        files given;
        std::string names;  // exported
        unsigned sections;
        std::string err;
    } rows[] = {
        {{}, all, 3, ""},
        {{""}, "", 3, ""},
        {{"_api_one"}, "_api_one ", 3, ""},
        {{"-_api_one\t-_nowhere"}, "_api_one ", 3, ""},
        {{"^_api_"}, "_api_one _api_two ", 3, ""},
        {{"-^_api_ -^_none"}, "_api_one _api_two ", 3, ""},
        {{"@.text:a:b"}, "_other_symbol a#b ", 3, ""},
        {{"-@.text -@.none"}, "_api_one ", 3, ""},
        {{"!.text"}, "", 0, ""},
        {{"!.text:a"}, "", 1, ""},
        {{"-!.text:a:b"}, "", 2, ""},
        {{"!.text:b !text !.tex"}, "", 3, ""},
        {{"^"}, all, 3, ""},
        {{"-^"}, all, 3, ""},
        {{"_absent"}, "_absent ", 3, ""},
        // Comments, blanks, and line ends.
        {{"# _api_one\n_api_two#\x01\na#b"}, "a#b ", 3, missing("Symbol", "_api_two#\x01") + "\n\n"},
        {{"_api_one # to the end of the file"}, "_api_one ", 3, ""},
        {{"#"}, "", 3, ""},
        {{"#\n_api_one#\n# x"}, "", 3, missing("Symbol", "_api_one#") + "\n\n"},
        {{"_api_one\r\n# comment\r\n\v\f_api_two\r\n"}, "_api_one _api_two ", 3, ""},
        {{"_api_one\x01x _api_two"}, "_api_two ", 3, missing("Symbol", "_api_one\x01x") + "\n\n"},
        {{"#" + std::string(5000, 'c') + "\n_api_one"}, "_api_one ", 3, ""},
        // Nothing but blanks and qualifiers: names that are empty.
        {{"-"}, "", 3, ""},
        {{"!"}, "", 3, ""},
        {{"@"}, "", 3, missing("Section", "") + "\n\n"},
        // What is missing: by bucket and latest first for symbols, then prefixes, then sections.
        {{long_token}, "", 3, missing("Symbol", long_token) + "\n\n"},
        {{"@.none ^_none @.none", "_none"},
         "",
         3,
         missing("Symbol", "_none") + missing("Prefix", "_none") + missing("Section", ".none") +
             missing("Section", ".none") + "\n\n"},
        {{"--x"}, "", 3, ""},
        {{"_local"}, "", 3, missing("Symbol", "_local") + "\n\n"},
        {{"_api_one ^_api_one"}, "_api_one ", 3, missing("Prefix", "_api_one") + "\n\n"},
        {{"^_api ^_api_one @.text:a"},
         "_api_one _api_two ",
         3,
         missing("Prefix", "_api_one") + missing("Section", ".text:a") + "\n\n"},
        // The first entry of a name wins; only a change of the qualifier is worth a word.
        {{"-_x _x"}, "", 3, duplicate("_x", '-')},
        {{"-_x", "_x\n"}, "", 3, duplicate("_x", '-')},
        {{"_x -_x"}, "", 3, duplicate("_x", ' ') + missing("Symbol", "_x") + "\n\n"},
        {{"_x _x", "_x"}, "", 3, missing("Symbol", "_x") + "\n\n"},
        {{"!.text:a -!.text:a"}, "", 1, duplicate(".text:a", ' ')},
        {{"__DLModules"}, "", 3, duplicate("__DLModules", ' ') + missing("Symbol", "__DLModules") + "\n\n"},
        {{".bss -__DLModules"}, "", 3, duplicate(".bss", ' ') + missing("Symbol", ".bss") + "\n\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.given));
        conversion_request request = request_for(image_to_choose_from());
        request.entries = row.given;
        expect_conversion(request);
        const second_opinion::conversion expected = second_opinion::convert(request);
        EXPECT_EQ(expected.err, row.err);
        EXPECT_EQ(exported(expected.module), row.names);
        EXPECT_EQ(module_half(expected.module, 20), row.sections);
        request.quiet = true;
        EXPECT_EQ(second_opinion::convert(request).err, "");
        expect_conversion(request);
    }
}

// The buckets are walked from 0 to 31 and the latest entry of a bucket comes first; computed by hand for the names
// "a" to "e": (name x 0x4E67C98C mod 2^32) >> 27 gives 22, 0, 10, 19, 29. The byte 0xE4 counts as -28, which gives 13.
TEST(EntriesFiles, MissingSymbolsAreListedByBucket) {
    conversion_request request = request_for(image_to_choose_from());
    request.entries = {"a b c \xE4 d e"};
    const second_opinion::conversion expected = second_opinion::convert(request);
    EXPECT_EQ(expected.err, missing("Symbol", "b") + missing("Symbol", "c") + missing("Symbol", "\xE4") +
                                missing("Symbol", "d") + missing("Symbol", "a") + missing("Symbol", "e") + "\n\n");
    expect_conversion(request);
}

// An entry is found when the question was asked about its symbol, which is not the same as the symbol's being there.
TEST(EntriesFiles, AreFoundWhereTheQuestionIsAsked) {
    const std::tuple<const char*, bool, bool> rows[] = {
        {"_imported", false, true},       // kept for its relocation, asked about when it was named
        {"_imported", true, false},       // undefined: -s does not ask
        {"_referenced", false, true},     // not external, but a relocation keeps it
        {"_unreferenced", false, false},  // neither external nor kept
        {"__DLStart", false, false},      // kept for its relocation, and its name is never in question
        {"__DLStart", true, true},
    };
    coff_image image;
    image.symbols = {{.name = "_imported", .scnum = 0},
                     {.name = "_referenced", .sclass = 3},
                     {.name = "__DLStart"},
                     {.name = "_unreferenced", .sclass = 3}};
    image.sections = {{.contents = bytes(12), .relocs = {{0, 17, 0}, {4, 17, 1}, {8, 17, 2}}}};
    conversion_request request = request_for(image);
    for (const auto& [entry, symbols_only, found] : rows) {
        SCOPED_TRACE(std::string(entry) + (symbols_only ? " with -s" : ""));
        request.entries = {entry};
        request.symbols_only = symbols_only;
        EXPECT_EQ(second_opinion::convert(request).err, found ? "" : missing("Symbol", entry) + "\n\n");
        expect_conversion(request);
    }
    // Only the pass that is blind to auxiliary entries asks about this entry point, in a section that is marked already.
    image.symbols = {{.name = "_marks", .aux = {support::aux_section(0, 0, 0)}}, {.name = "__DLStart"}};
    image.sections[0].relocs = {{0, 17, 2}};
    request = request_for(image);
    request.entries = {"_marks __DLStart"};
    EXPECT_EQ(second_opinion::convert(request).err, "");
    expect_conversion(request);
}

// 255 characters are the most that a token has; a longer name can only be met by a prefix or by its section.
TEST(EntriesFiles, TheLongestTokenNamesOneSymbol) {
    const std::string name(255, 'x');
    coff_image image = image_to_choose_from();
    image.symbols = {{.name = name}, {.name = name + 'x'}, {.name = name.substr(1)}};
    const std::string short_name = name.substr(1);
    image.sections[0].name = short_name + ":yy";
    conversion_request request = request_for(image);
    for (const auto& [entry, names] : {std::pair{name, name + ' '},
                                       {'^' + short_name, name + ' ' + name + "x " + short_name + ' '},
                                       {'!' + short_name, ""}}) {
        request.entries = {entry};
        EXPECT_EQ(exported(second_opinion::convert(request).module), names);
        expect_conversion(request);
    }
}

// The reader takes 4 KiB, then 64 KiB at a time. A name that lost or gained a character there is missed under another name.
TEST(EntriesFiles, TokensMayLieAcrossTheBordersOfBlocks) {
    conversion_request request = request_for(image_to_choose_from());
    std::string text;
    for (int i = 1000; i < 1300; ++i)
        text += std::string(240, 'x') + std::to_string(i) + '\n';
    request.entries = {text + "_api_one"};
    expect_conversion(request);
}

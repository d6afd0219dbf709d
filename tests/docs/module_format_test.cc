// The module that docs/module-format.md works out by hand is what modforge writes for the input that it describes, and its
// table of relocation types is the product's own.
#include <gmock/gmock.h>

#include <bit>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <tuple>

#include "docs/source_folder.h"
#include "support/run_program.h"

namespace {

using namespace support;

/// The bytes in the page's hex blocks: "offset: bytes   comment", the offset being that of the first byte.
bytes worked_example(const std::string& page) {
    bytes module;
    std::istringstream lines(page);
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("```", 0) == 0) {
            inside = line == "```hex";
            continue;
        }
        if (!inside)
            continue;
        EXPECT_EQ(std::stoul(line.substr(0, 4), nullptr, 16), module.size()) << line;
        for (std::size_t at = 6; at + 1 < line.size() && std::isxdigit(static_cast<unsigned char>(line[at])); at += 3)
            module.push_back(static_cast<std::uint8_t>(std::stoul(line.substr(at, 2), nullptr, 16)));
    }
    return module;
}

TEST(ModuleFormatPage, WorkedExampleIsWhatTheConverterWrites) {
    if (std::endian::native != std::endian::little)
        GTEST_SKIP() << "the page shows a little-endian module";
    const bytes expected = worked_example(read_text(source_folder + "/docs/module-format.md"));
    ASSERT_EQ(expected.size(), 236U);

    const temporary_directory room;
    for (const char* name : {"blink.out", "blink.entries"})
        room.write(name, read_file(source_folder + "/examples/" + name));
    const run_result run = run_program({MODFORGE_PROGRAM, "-e=blink.entries", "blink.out"}, {.directory = room.path()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(read_file(room.file("blink.vlm")), expected);
}

/// The rows of src/format/reloc_types.def. Types without a name and with the same numbers share a row of the page.
std::string table_of_types() {
    const bool with_disp = true, no_disp = false;
    std::ostringstream named, unnamed;
    std::map<std::tuple<int, int, int>, std::string> groups;
    const std::map<std::string, std::string> words = {{"symbol", "symbol *"},
                                                      {"field", "[four bytes](#field-records)"},
                                                      {"constant", "constant"},
                                                      {"nothing", "means nothing"}};
    const auto extent = [](int size, int stop) { return stop != 0 ? stop : (size + 7) / 8 * 8; };
    const auto add_named = [&](int number, const char* name, int size, int stop, int offset, const char* word,
                               bool disp) {
        named << "| " << (number < 0x4000 ? "" : "0x") << (number < 0x4000 ? std::dec : std::hex) << std::uppercase
              << number << std::dec << " | `" << name << "` | ";
        if (word == std::string("field"))
            named << "byte 5 | byte 6 | byte 6 / 8 | byte 4";
        else
            named << size << " | " << extent(size, stop) << " | " << extent(size, stop) / 8 << " | " << offset;
        named << " | " << words.at(word) << " | " << (disp ? "yes" : "no") << " |\n";
    };
    const auto add_unnamed = [&](int number, int size, int stop, int offset, const char* word, bool) {
        if (word == std::string("internal"))
            return;
        std::string& group = groups[{extent(size, stop), size, offset}];
        group += (group.empty() ? "" : ", ") + std::to_string(number);
    };
#define RELOC_TYPE(number, name, size, stop, offset, word, disp)                                                       \
    add_named(number, #name, size, stop, offset, #word, disp);
#define RELOC_UNNAMED(number, size, stop, offset, word, disp) add_unnamed(number, size, stop, offset, #word, disp);
#include "format/reloc_types.def"
#undef RELOC_TYPE
#undef RELOC_UNNAMED
    for (const auto& [numbers, types] : groups) {
        const auto& [stop, size, offset] = numbers;
        unnamed << "| " << types << " | | " << size << " | " << stop << " | " << stop / 8 << " | " << offset
                << " | symbol * | yes |\n";
    }
    return "| Type | Name | Field | Container | Bytes | First bit | Symbol word | Displacement |\n"
           "|---|---|---|---|---|---|---|---|\n" +
           named.str() + unnamed.str();
}

TEST(ModuleFormatPage, HasTheTableOfRelocationTypes) {
    EXPECT_THAT(read_text(source_folder + "/docs/module-format.md"),
                testing::HasSubstr("\n\n" + table_of_types() + "\n"));
}

/// What a heading is called in a link.
std::string anchor_of(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        if (std::isalnum(static_cast<unsigned char>(c)) || c == '-')
            anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        else if (c == ' ')
            anchor += '-';
    }
    return anchor;
}

TEST(ModuleFormatPage, LinksLeadSomewhere) {
    const std::string page = read_text(source_folder + "/docs/module-format.md");
    const std::regex heading("\n## (.*)"), link(R"(\]\(([^)#]*)(#([^)]*))?\))");
    std::set<std::string> anchors;
    for (std::sregex_iterator at(page.begin(), page.end(), heading), end; at != end; ++at)
        anchors.insert(anchor_of((*at)[1]));
    for (std::sregex_iterator at(page.begin(), page.end(), link), end; at != end; ++at) {
        if ((*at)[1].length() != 0)
            EXPECT_TRUE(file_exists(source_folder + "/docs/" + (*at)[1].str())) << at->str();
        else
            EXPECT_TRUE(anchors.contains((*at)[3])) << at->str();
    }
}

}  // namespace

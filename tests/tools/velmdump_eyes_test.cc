// What velmdump shows to eyes: sizes, symbols, contents, maps and reports, on modules of the second opinion.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>

#include "support/coff_builder.h"
#include "support/run_program.h"
#include "tools/second_opinion/conversion.h"
#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/module_words.h"

namespace {

using support::run_result;
using ::testing::HasSubstr;
using ::testing::Not;

/// A target with 16-bit address units: 8 units of code, a copy of it elsewhere, 16 units of memory.
support::coff_image sample_with_copy() {
    support::coff_image image;
    image.target_id = 0x98;
    image.sections = {{.name = ".text", .paddr = 0x100, .contents = support::to_bytes("MODULE\n\x01 in text")},
                      {.name = ".fast", .paddr = 0x8000, .vaddr = 0x400, .contents = {1, 2, 3, 4, 5, 6}},
                      {.name = ".bss", .flags = 0x80, .paddr = 0x900, .size = 16}};
    image.sections[0].relocs = {{.vaddr = 0x102, .type = 17, .symndx = 1}, {.vaddr = 0x105, .type = 16, .symndx = 3}};
    image.symbols = {
        {.name = "_main", .value = 0x104, .scnum = 1},     {.name = "_printf", .scnum = 0},
        {.name = "_buffer", .value = 0x904, .scnum = 3},   {.name = "_local", .value = 0x8001, .scnum = 2, .sclass = 3},
        {.name = "__DLStart", .value = 0x102, .scnum = 1}, {.name = "_begin", .value = 0x100, .scnum = 1}};
    return image;
}

class VelmdumpEyes : public ::testing::Test {
protected:
    VelmdumpEyes() { write("app.vlm", sample_with_copy()); }

    run_result run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), VELMDUMP_PROGRAM);
        return support::run_program(arguments, {.directory = files.path()});
    }
    std::string good(const std::vector<std::string>& arguments) {
        const run_result result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }
    void write(const std::string& name, const support::coff_image& image) {
        files.write(name, second_opinion::convert({.input = image.data()}).module);
    }
    void expect_well_formed(const std::string& name) {
        const run_result lint = support::run_program({XMLLINT_PROGRAM, "--noout", files.file(name)});
        EXPECT_EQ(lint.err, "") << name;
    }

    support::temporary_directory files;
};

TEST_F(VelmdumpEyes, SizesAddUpToTheFile) {
    const std::string head = "       code        data         bss relocations     packets      tables        file  ";
    // Header 56, names 56, 6 symbols of 12.
    // Code: 2 packets of 12 bytes of header, one of them with 2 bytes of padding; 2 relocations of 12 bytes.
    EXPECT_EQ(good({"size", "app.vlm"}),
              head + "section\n"
                     "         16           0           0          24          12          28          80  .text\n"
                     "          6           0           0           0          14          28          48  .fast\n"
                     "          0           0          32           0           0          28          28  .bss\n"
                     "          0           0           0           0           0         184         184  (header, "
                     "names, symbols)\n"
                     "         22           0          32          24          26         268         340  app.vlm\n");
    EXPECT_EQ(std::filesystem::file_size(files.file("app.vlm")), 340U);

    support::coff_image grown = sample_with_copy();
    grown.sections[1].contents.resize(8);
    write("grown.vlm", grown);
    EXPECT_EQ(good({"size", "grown.vlm", "--against", "app.vlm"}),
              head +
                  "section\n"
                  "         +2           0           0           0          -2           0           0  .fast\n"
                  "         +2           0           0           0          -2           0           0  grown.vlm\n");
    EXPECT_EQ(good({"size", "app.vlm", "grown.vlm"}),
              head +
                  "module\n"
                  "         22           0          32          24          26         268         340  app.vlm\n"
                  "         24           0          32          24          24         268         340  grown.vlm\n");
    const auto document = nlohmann::json::parse(good({"size", "--json", "app.vlm"}));
    EXPECT_EQ(document["modules"][0]["total"]["file"], 340);
    EXPECT_EQ(document["modules"][0]["sections"][0]["relocations"], 24);
}

TEST_F(VelmdumpEyes, ListsSymbolsInTheOrderThatIsWanted) {
    const std::string head = "address     size        kind  section           name\n";
    const std::string begin = "0x00000100  0x00000002  T     .text             _begin\n";
    const std::string main = "0x00000104  0x00000004  T     .text             _main\n";
    const std::string buffer = "0x00000904  0x0000000C  B     .bss              _buffer\n";
    const std::string import = "-           -           U     undefined         _printf\n";
    EXPECT_EQ(good({"symbols", "app.vlm"}), head + begin + main + buffer + import);
    EXPECT_EQ(good({"symbols", "--sort=size", "app.vlm"}), head + buffer + main + begin + import);
    EXPECT_EQ(good({"symbols", "--sort=name", "app.vlm"}), head + begin + buffer + main + import);
    EXPECT_EQ(good({"symbols", "--section=.fast", "--all", "app.vlm"}),
              head + "0x00008001  0x00000002  t     .fast             -\n");
    const auto list = nlohmann::json::parse(good({"symbols", "--json", "app.vlm"}))["symbols"];
    EXPECT_EQ(list[1], nlohmann::json::parse(
                           R"({"name":"_main","kind":"T","value":260,"size":4,"section":1,"section_name":".text"})"));
}

TEST_F(VelmdumpEyes, ExtractsAndDumpsContents) {
    good({"extract", "app.vlm", ".text", "-o", "text.bin"});
    EXPECT_EQ(support::read_file(files.file("text.bin")), sample_with_copy().sections[0].contents);
    EXPECT_EQ(good({"extract", "app.vlm", "2", "-o", "-"}), std::string("\1\2\3\4\5\6"));
    EXPECT_THAT(run({"extract", "app.vlm", "4", "-o", "-"}).err, HasSubstr("no section is named 4"));
    EXPECT_EQ(run({"extract", "app.vlm", ".bss", "-o", "bss.bin"}).status, 2);
    EXPECT_EQ(run({"extract", "app.vlm", "4", "-o", "none.bin"}).status, 2);
    EXPECT_THAT(good({"show", "--contents", "app.vlm"}),
                HasSubstr("Contents of .text\n"
                          "  00000100  4D4F 4455 4C45 0A01 2069 6E20 7465 7874  |MODULE.. in text|\n"
                          "Contents of .fast\n"
                          "  00008000  0102 0304 0506                           |......|\n"));
}

TEST_F(VelmdumpEyes, NoOutputIsAnInput) {
    const support::bytes module = support::read_file(files.file("app.vlm"));
    std::filesystem::create_symlink("app.vlm", files.file("link"));
    std::filesystem::create_hard_link(files.file("app.vlm"), files.file("second"));
    for (const std::string output : {"app.vlm", "./app.vlm", "link", "second"}) {
        for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
                 {"map", "app.vlm"}, {"convert", "app.vlm"}, {"extract", "app.vlm", ".text"}, {"report", "app.vlm"}}) {
            std::vector<std::string> arguments = command;
            arguments.insert(arguments.end(), {"-o", output});
            const run_result result = run(arguments);
            EXPECT_EQ(result.status, 2) << command[0];
            EXPECT_EQ(result.err, "velmdump: cannot write " + output + ": it is an input\n");
            EXPECT_EQ(support::read_file(files.file("app.vlm")), module) << command[0] << " " << output;
        }
    }
    const std::string from_stdin = std::string("\"") + VELMDUMP_PROGRAM + "\" map - -o app.vlm < app.vlm";
    EXPECT_EQ(support::run_program({"/bin/sh", "-c", from_stdin}, {.directory = files.path()}).status, 2);
    EXPECT_EQ(support::read_file(files.file("app.vlm")), module);
    EXPECT_EQ(run({"map", "app.vlm", "-o", "/dev/full"}).err,
              "velmdump: cannot write /dev/full: No space left on device\n");
}

TEST(DrawnText, ShowsWhatCanBeSeenAndNothingElse) {
    const struct {
        std::string name, drawn;
        std::size_t cells;
    } table[] = {
        {"_plain", "_plain", 6},
        {"back\\slash", "back\\\\slash", 11},
        {"caf\xC3\xA9\xE0\xA4\x85", "caf\xC3\xA9\xE0\xA4\x85", 5},
        {"\xE6\x97\xA5\xE6\x9C\xAC", "\xE6\x97\xA5\xE6\x9C\xAC", 4},         // two wide characters
        {"e\xCC\x81", "e\xCC\x81", 1},                                       // an accent that combines
        {"\xCC\x81", "\\xCC\\x81", 8},                                       // with nothing to combine with
        {"\x1B[1m\x7F\xC2\x85", "\\x1B[1m\\x7F\\xC2\\x85", 19},              // controls
        {"\xE2\x80\xAEx", "\\xE2\\x80\\xAEx", 13},                           // turns the direction
        {"\xE2\x80\x8B\xEF\xBB\xBF", "\\xE2\\x80\\x8B\\xEF\\xBB\\xBF", 24},  // without width
        {"\xC0\x80\xED\xA0\x80\xF5", "\\xC0\\x80\\xED\\xA0\\x80\\xF5", 24},  // no UTF-8
        {"a\xE6\x97", "a\\xE6\\x97", 9},                                     // cut short
    };
    for (const auto& row : table) {
        EXPECT_EQ(drawn_name(row.name), row.drawn);
        EXPECT_EQ(cells(row.drawn), row.cells) << row.drawn;
    }
    EXPECT_EQ(drawn_name("abc\xE6\x97\xA5", 4), "abc\xE2\x80\xA6");
    EXPECT_EQ(drawn_name("abcd", 4), "abcd");
    EXPECT_EQ(brief("\\\\\\\\", 3), "\\\\... (4 bytes)");
    EXPECT_EQ(markup("<a href=\"x\">&'"), "&lt;a href=&quot;x&quot;&gt;&amp;&#39;");
}

/// Names that would end a string, a tag, a script or a page, and those that take much room.
support::coff_image hostile(std::size_t exports) {
    const std::vector<std::string> names = {"<script>alert(1)</script>",
                                            "\"><img src=x onerror=alert(1)>",
                                            "]]>--><!--",
                                            "&amp;&#65;",
                                            "\x1B[31m\r\n",
                                            "\xE2\x80\xAEgnp",
                                            "\xFF\xFE",
                                            "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E",
                                            "\\u003c${x}",
                                            std::string(400, 'w')};
    support::coff_image image = sample_with_copy();
    image.sections[0].contents.resize(2000);
    for (std::size_t i = 0; i < exports; ++i)
        image.symbols.push_back({.name = names[i % names.size()] + std::to_string(i),
                                 .value = static_cast<std::uint32_t>(0x100 + i * i * 37 % 1000),
                                 .scnum = static_cast<std::int16_t>(i % 7 == 6 ? 0 : 1)});
    for (std::size_t i = 0; i < names.size(); ++i)
        image.sections.push_back(
            {.name = names[i], .paddr = static_cast<std::uint32_t>(0x10000 + 0x100 * i), .contents = {1, 2}});
    return image;
}

struct box {
    double left, top, right, bottom;
    std::string what;

    [[nodiscard]] bool overlaps(const box& other) const {
        return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
    }
};

/// The boxes of fitted texts, as high as their letters, of the beginnings of others at the margin, and of bands.
std::vector<box> boxes_of(const std::string& svg) {
    static const std::regex text(R"re(<text x="([\d.]+)" y="([\d.]+)" textLength="([\d.]+)"[^>]*>([^<]*))re");
    static const std::regex label(R"re(<text x="16" y="([\d.]+)" class="q">([^<]*))re");
    static const std::regex band(R"re(<rect x="([\d.]+)" y="([\d.]+)" width="([\d.]+)" height="24")re");
    std::vector<box> boxes;
    for (std::sregex_iterator at(svg.begin(), svg.end(), text), end; at != end; ++at) {
        const double x = std::stod((*at)[1]), y = std::stod((*at)[2]);
        boxes.push_back({x, y - 8, x + std::stod((*at)[3]), y + 2, (*at)[4]});
    }
    for (std::sregex_iterator at(svg.begin(), svg.end(), label), end; at != end; ++at) {
        const double y = std::stod((*at)[1]);
        boxes.push_back({16, y - 8, 64, y + 2, (*at)[2]});
    }
    for (std::sregex_iterator at(svg.begin(), svg.end(), band), end; at != end; ++at) {
        const double x = std::stod((*at)[1]), y = std::stod((*at)[2]);
        boxes.push_back({x, y, x + std::stod((*at)[3]), y + 24, "band"});
    }
    return boxes;
}

TEST_F(VelmdumpEyes, MapHasEveryNameAndNoneOverAnother) {
    for (const std::size_t exports : {0U, 1U, 8U, 25U, 39U, 200U}) {
        write("h.vlm", hostile(exports));
        good({"map", "h.vlm", "-o", "h.svg"});
        expect_well_formed("h.svg");
        const support::bytes file = support::read_file(files.file("h.svg"));
        const std::string svg(file.begin(), file.end());
        for (std::size_t i = 0; i < exports; ++i)
            EXPECT_THAT(svg, testing::ContainsRegex("[^0-9]" + std::to_string(i) + "<")) << "export " << i;
        const std::vector<box> boxes = boxes_of(svg);
        EXPECT_GT(boxes.size(), exports);
        for (const box& a : boxes) {
            EXPECT_GE(a.left, 16) << a.what;
            EXPECT_LE(a.right, 985) << a.what;
            for (const box& b : boxes) {
                const bool apart = &a >= &b || (a.what == "band" && b.what == "band") || !a.overlaps(b);
                EXPECT_TRUE(apart) << exports << ": " << a.what << " / " << b.what;
            }
        }
    }
}

TEST_F(VelmdumpEyes, MapSaysWhatMatters) {
    const std::string svg = good({"map", "app.vlm", "-o", "-"});
    for (const char* part :
         {"Sound: every checksum", "entry point .text+0x2 (0x00000102)", ">entry point<", "loads at 0x00000400",
          ">0x00008000<", "Imports: 1", "class=\"import\"", "prefers-color-scheme:dark", ">_begin<"})
        EXPECT_THAT(svg, HasSubstr(part));
    support::coff_image two = sample_with_copy();
    two.sections.pop_back();
    two.symbols.resize(2);
    two.sections[0].relocs.pop_back();
    write("two.vlm", two);
    EXPECT_THAT(good({"map", "two.vlm", "-o", "-"}), HasSubstr("Memory of all sections: 22 bytes"));
}

TEST_F(VelmdumpEyes, ReportIsOnePageForHostileNamesAndUnsoundModules) {
    write("h.vlm", hostile(60));
    support::bytes damaged = support::read_file(files.file("app.vlm"));
    damaged[24] = 9;
    files.write("<b>&.vlm", damaged);
    const run_result result = run({"report", "app.vlm", "h.vlm", "<b>&.vlm", "-o", "r.html"});
    EXPECT_EQ(result.status, 1) << "one of them is unsound";
    expect_well_formed("r.html");
    const support::bytes file = support::read_file(files.file("r.html"));
    const std::string page(file.begin(), file.end());
    for (const char* part :
         {"unsound: 1 error", "No map", "header checksum is 0x", "&lt;b&gt;&amp;.vlm", "id=\"m2-map-1\""})
        EXPECT_THAT(page, HasSubstr(part));
    for (const char* part : {"<img", "alert(1)</script>", "http://", "https://", "\x1B", "\xE2\x80\xAE"}) {
        const std::string without_name_spaces = std::regex_replace(page, std::regex("xmlns=\"[^\"]*\""), "");
        EXPECT_THAT(without_name_spaces, Not(HasSubstr(part)));
    }
}

TEST_F(VelmdumpEyes, ReportComparesModulesSideBySide) {
    const std::string page = good({"report", "app.vlm", "app.vlm", "-o", "-"});
    for (const char* part : {">Offered here<", "<td class=\"number\">1</td><td class=\"number\">0</td></tr>",
                             ">sound</span>", "</i>code: 22 bytes ", "id=\"m2-sections\">{\"rows\":[\n[1,"})
        EXPECT_THAT(page, HasSubstr(part));
}

/// Drives the page as a user does and leaves in it what was seen.
const char* const driver = R"html(<pre id="seen"></pre><script>//<![CDATA[
var seen = [], box = document.querySelector('[data-table="m1-symbols"]');
function look(what) {
  var rows = Array.from(box.querySelectorAll("tbody tr:not(.pad)")), first = rows[0];
  var turned = box.querySelector("th[aria-sort]");
  seen.push(what + ": " + (turned ? turned.getAttribute("aria-sort") + ", " : "") + box.querySelector("[role=status]").textContent + "; " +
            (first ? Array.from(first.children, function (cell) { return cell.textContent; }).join("|") : "") +
            "; " + (rows.length < 120 ? "few" : "all") + " in the page");
}
function press(name) {
  Array.from(box.querySelectorAll("button")).find(function (b) { return b.textContent === name; }).click();
}
function type(text) {
  var input = box.querySelector("input");
  input.value = text;
  input.dispatchEvent(new Event("input"));
}
look("at first");
press("Value"); look("by value");
press("Value"); look("by value, down");
press("Name"); look("by name");
type("export  _E19"); look("two words");
type("<none>"); look("nothing");
type(""); look("all again");
box = document.querySelector('[data-table="m1-relocations"]');
look("before its section");
document.getElementById("seen").textContent = seen.join("\n");
//]]></script>)html";

TEST_F(VelmdumpEyes, TablesOfTheReportSortAndFilterInABrowser) {
    if (!support::file_exists(CHROMIUM_PROGRAM))
        GTEST_SKIP() << "no chromium on this machine: nobody has looked at the report";
    support::coff_image image = sample_with_copy();
    image.sections[0].relocs[0].vaddr = 0xFE;
    for (unsigned i = 0; i < 200; ++i)
        image.symbols.push_back({.name = "_e" + std::to_string(i), .value = 0x20000 - i, .scnum = 1});
    write("big.vlm", image);
    good({"report", "big.vlm", "-o", "r.html"});
    const support::bytes file = support::read_file(files.file("r.html"));
    std::string page(file.begin(), file.end());
    page.insert(page.rfind("</body>"), driver);
    files.write("driven.html", page);
    const run_result browser = support::run_program(
        {CHROMIUM_PROGRAM, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync", "--enable-logging=stderr",
         "--user-data-dir=" + files.file("profile"), "--dump-dom", "file://" + files.file("driven.html")},
        {.seconds = 120});
    EXPECT_THAT(browser.err, Not(HasSubstr("CONSOLE"))) << "an error of the page";
    EXPECT_THAT(
        browser.out,
        HasSubstr("<pre id=\"seen\">"
                  "at first: 206 rows; 0|_main|export|0x00000104|.text|2|0; few in the page\n"
                  "by value: ascending, 206 rows; 1|_printf|import|0x00000000|undefined|2|1; few in the page\n"
                  "by value, down: descending, 206 rows; 6|_e0|export|0x00020000|.text|2|0; few in the page\n"
                  "by name: ascending, 206 rows; 5|_begin|export|0x00000100|.text|2|0; few in the page\n"
                  "two words: ascending, 11 of 206 rows; 25|_e19|export|0x0001FFED|.text|2|0; few in the page\n"
                  "nothing: ascending, 0 of 206 rows; ; few in the page\n"
                  "all again: ascending, 206 rows; 5|_begin|export|0x00000100|.text|2|0; few in the page\n"
                  "before its section: 2 rows; .text|0x000000FE|-0x2|R_RELLONG|32 bits at bit 0 of 32|_printf|0x0; "
                  "few in the page</pre>"));
}

}  // namespace

// Reads the rows of docs/messages.md and makes patterns of them.
#include "cases/messages_page.h"

#include <algorithm>
#include <regex>

#include "support/run_program.h"

namespace cases {
namespace {

/// What a row stands for: its capital words are filled in by the run.
std::regex pattern_of(const std::string& row) {
    const std::string escaped = std::regex_replace(row, std::regex(R"([.*+?^$(){}|\[\]\\])"), R"(\$&)");
    return std::regex(std::regex_replace(escaped, std::regex(R"(\b(NAME|FILE|N|LINE|OPTION|REASON)\b)"), ".+"));
}

/// The lines of an output, those that the library wrapped put together again.
std::vector<std::string> lines_of(const std::string& text) {
    const std::string whole = std::regex_replace(text, std::regex("\n {10,}"), " ");
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < whole.size();) {
        const std::size_t end = std::min(whole.find('\n', at), whole.size());
        lines.push_back(whole.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

}  // namespace

const std::set<std::string> faults_of_the_machine = {
    ">> fatal error: FILE: cannot read the contents of section NAME",
    ">> fatal error: FILE: cannot read the relocations of section NAME",
    ">> fatal error: FILE: cannot read the string table",
};

std::vector<std::string> page_rows() {
    const support::bytes data = support::read_file(MODFORGE_SOURCE_DIR "/docs/messages.md");
    std::string page(data.begin(), data.end());
    page.resize(page.find("## From tools that use the class library"));
    const std::regex row(R"re(\n\| `([^`]+)` \|)re");
    std::vector<std::string> rows;
    for (std::sregex_iterator at(page.begin(), page.end(), row), end; at != end; ++at)
        rows.push_back((*at)[1]);
    return rows;
}

bool says(const std::string& output, const std::string& row) {
    const std::vector<std::string> lines = lines_of(output);
    return std::any_of(lines.begin(), lines.end(),
                       [pattern = pattern_of(row)](auto& line) { return std::regex_match(line, pattern); });
}

}  // namespace cases

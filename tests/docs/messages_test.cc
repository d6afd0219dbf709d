// docs/messages.md lists every message that the converter and its COFF reader can give, and no other.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "docs/source_folder.h"
#include "support/run_program.h"

namespace {

using namespace support;

/// A format string as it stands in a source, as a pattern for what it prints: line breaks gone, runs of blanks as one.
std::string pattern_of(const std::string& literal) {
    std::string text = std::regex_replace(literal, std::regex(R"(\\n|\\t)"), "");
    text = std::regex_replace(text, std::regex(R"([.*+?^$(){}|\[\]\\])"), R"(\$&)");
    text = std::regex_replace(text, std::regex(R"(%[-0-9\\.]*(ll|l|z)?[a-zA-Z])"), ".+");
    return std::regex_replace(text, std::regex(" +"), " +");
}

/// Every message format in a source: the converter's by how it begins, the library's by the call that it stands in.
/// Not die(): those are faults of the program, and the page has one row for all.
void collect(const std::string& code, std::vector<std::string>& patterns) {
    const std::string joined = std::regex_replace(code, std::regex(R"("\s*\n\s*")"), "");
    const std::regex message(R"re("((?:ERROR: |WARNING: |Invalid |too many |Internal Error )[^"]*)")re"
                             R"re(|(?:end_fatally\(|UMSG\.message\(\s*USER_MSG::\w+,)\s*"([^"]*)")re");
    for (std::sregex_iterator at(joined.begin(), joined.end(), message), end; at != end; ++at)
        patterns.push_back(pattern_of((*at)[1].matched ? (*at)[1] : (*at)[2]));
}

std::vector<std::string> patterns_in_sources() {
    std::vector<std::string> patterns;
    for (const char* folder : {"msg", "containers", "coff", "convert", "packets", "output", "driver"})
        for (const auto& file : std::filesystem::directory_iterator(source_folder + "/src/" + folder))
            if (file.path().extension() == ".cc")
                collect(read_text(file.path()), patterns);
    return patterns;
}

/// The first column of the page's tables, without the library's prefixes.
std::vector<std::string> messages_in_page() {
    const std::string page = read_text(source_folder + "/docs/messages.md");
    const std::regex row(R"re(\n\| `(?:>> [a-z ]+: )?([^`]+)` \|)re");
    std::vector<std::string> messages;
    for (std::sregex_iterator at(page.begin(), page.end(), row), end; at != end; ++at)
        messages.push_back((*at)[1]);
    return messages;
}

bool matches(const std::string& pattern, const std::string& message) {
    return std::regex_match(message, std::regex(pattern));
}

TEST(MessagesPage, ListsEveryMessage) {
    const auto messages = messages_in_page();
    const auto patterns = patterns_in_sources();
    ASSERT_GT(patterns.size(), 30U);
    for (const std::string& pattern : patterns)
        EXPECT_TRUE(std::any_of(messages.begin(), messages.end(), [&](auto& text) { return matches(pattern, text); }))
            << "not in docs/messages.md: " << pattern;
}

TEST(MessagesPage, ListsNoOtherMessage) {
    const auto patterns = patterns_in_sources();
    for (const std::string& message : messages_in_page())
        EXPECT_TRUE(std::any_of(patterns.begin(), patterns.end(), [&](auto& text) { return matches(text, message); }))
            << "nothing gives this message any more: " << message;
}

}  // namespace

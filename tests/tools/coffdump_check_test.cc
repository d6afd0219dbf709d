// coffdump check and coffdump entries against runs of modforge, over random inputs, sound and damaged.
#include <gmock/gmock.h>

#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cases/run_modforge.h"
#include "support/coff_builder.h"
#include "support/random_request.h"
#include "support/run_program.h"

namespace {

using second_opinion::conversion_request;
using support::bytes;
using support::run_result;

/// Overwrites a few places, mostly among the tables, with the values that break things; or cuts the file.
void damage(bytes& input, std::uint32_t seed) {
    std::mt19937 engine(seed);
    const auto below = [&engine](std::size_t limit) { return engine() % limit; };
    if (input.empty() || below(8) == 0)
        return input.resize(input.empty() ? 0 : below(input.size()));
    for (std::size_t times = 1 + below(3); times > 0; --times) {
        static const std::uint8_t values[] = {0, 1, 2, 0x7F, 0x80, 0xFF};
        const std::size_t zone = below(3) == 0 ? std::min<std::size_t>(input.size(), 300) : input.size();
        const std::size_t at = below(2) == 0 ? input.size() - 1 - below(zone) : below(zone);
        input[at] = values[below(std::size(values))];
    }
}

/// The text with runs of white space as one blank, since modforge wraps some of its messages, and with every other
/// unprintable byte spelt out as coffdump does.
std::string plain(const std::string& text) {
    std::string result;
    for (const char c : text) {
        char code[8];
        std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned char>(c));
        if (c == ' ' || (c >= '\t' && c <= '\r'))
            result += result.empty() || result.back() == ' ' ? "" : " ";
        else
            result += c > ' ' && c <= '~' ? std::string(1, c) : code;
    }
    return result;
}

struct report {
    bool refuses = false;
    std::set<std::string> errors;    ///< what modforge says
    std::set<std::string> warnings;  ///< likewise
};

report report_of(const std::string& out) {
    report result;
    bool error = false;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        static const std::string says = "    modforge says: ";
        if (line.rfind(says, 0) == 0)
            (error ? result.errors : result.warnings).insert(plain(line.substr(says.size())));
        else if (line[0] != ' ')
            result.refuses |= error = line.find(": error: ") != std::string::npos;
    }
    return result;
}

std::multiset<std::string> warnings_of(const std::string& err) {
    std::multiset<std::string> result;
    std::istringstream lines(err);
    for (std::string line; std::getline(lines, line);)
        if (line.rfind("WARNING: ", 0) == 0)
            result.insert(plain(line));
    return result;
}

/// Of address space, for inputs of some kilobytes; sanitizers take all there is.
#ifdef MODFORGE_SANITIZED
constexpr std::size_t megabytes = 0;
#else
constexpr std::size_t megabytes = 33;
#endif

class CoffdumpCheck : public ::testing::Test {
protected:
    run_result coffdump(const std::string& command, const std::vector<std::string>& modforge_arguments) {
        std::vector<std::string> arguments = {COFFDUMP_PROGRAM, command, modforge_arguments.back()};
        for (const std::string& argument : modforge_arguments) {
            if (argument.rfind("-e=", 0) == 0 && command == "check")
                arguments.push_back("-e");
            if (argument.rfind("-e=", 0) == 0)
                arguments.push_back(argument.substr(3));
            else if (argument == "-s" || argument == "-c" || argument.rfind("-p=", 0) == 0)
                arguments.push_back(argument == "-s" || argument == "-c" ? argument : "-p" + argument.substr(3));
        }
        return support::run_program(arguments, {.directory = shop.path(""), .megabytes = megabytes});
    }

    /// Every symbol that the module shows under a name, and how often.
    std::map<std::string, unsigned long> exports() const {
        const bytes module = shop.read("out.bin");
        const std::size_t strings = 56;
        const std::size_t symbols = strings + cases::module_word(module, 0) + 28U * cases::module_half(module, 20);
        std::map<std::string, unsigned long> result;
        for (std::size_t i = 0; i < cases::module_half(module, 16); ++i) {
            const std::size_t at = symbols + 12 * i;
            const std::uint32_t name = cases::module_word(module, at);
            if (name != 0xFFFFFFFF && cases::module_half(module, at + 8) != 0)
                ++result[reinterpret_cast<const char*>(&module[strings + name])];
        }
        return result;
    }

    /// The counts of `coffdump entries`, held against the module.
    void expect_counts(const std::string& out) {
        static const std::regex count(": (\\S*) exports (\\d+) symbols?$");
        unsigned long total = 0;
        std::set<std::string> seen;
        const auto shown = exports();
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);) {
            std::smatch match;
            if (!std::regex_search(line, match, count))
                continue;
            const unsigned long number = std::stoul(match[2]);
            total += number;
            const std::string text = match[1];
            const std::string name = text.substr(!text.empty() && text[0] == '-');
            if (name.find_first_of("^@\\") != std::string::npos || !seen.insert(name).second)
                continue;
            const auto place = shown.find(name);
            EXPECT_EQ(number, place == shown.end() ? 0 : place->second) << line;
        }
        unsigned long all = 0;
        for (const auto& [name, times] : shown)
            all += times;
        EXPECT_EQ(total, all) << out;
    }

    /// `refusals` counts the inputs that modforge refuses.
    void expect_agreement(const conversion_request& request, unsigned& refusals) {
        const std::vector<std::string> arguments = cases::prepare(shop, request);
        const run_result made = shop.run(arguments, {.megabytes = megabytes});
        const run_result check = coffdump("check", arguments);
        ASSERT_EQ(check.err, "");
        ASSERT_EQ(check.status, made.status) << made.err << check.out;
        refusals += made.status == 1;
        const report found = report_of(check.out);
        ASSERT_EQ(found.refuses, made.status == 1) << made.err << check.out;
        const std::string said = plain(made.out + made.err);
        if (found.refuses) {
            EXPECT_TRUE(
                std::any_of(found.errors.begin(), found.errors.end(),
                            [&said](const std::string& words) { return said.find(words) != std::string::npos; }))
                << said << '\n'
                << check.out;
        } else if (!request.quiet) {
            const auto warnings = warnings_of(made.err);
            EXPECT_EQ(found.warnings, std::set<std::string>(warnings.begin(), warnings.end())) << check.out;
        }
        if (made.status == 0 && !request.entries.empty() && !request.c_text)
            expect_counts(coffdump("entries", arguments).out);
    }

    cases::workshop shop;
};

TEST_F(CoffdumpCheck, AgreesWithModforgeOnSoundAndDamagedInputs) {
    unsigned refused = 0;
    for (std::uint32_t seed = 0; seed < 350 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        conversion_request request = support::random_request(seed + 1000);
        if (seed % 3 != 0)
            damage(request.input, seed);
        expect_agreement(request, refused);
    }
    EXPECT_GT(refused, 50U);
}

}  // namespace

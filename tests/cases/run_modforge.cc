// Runs, and what must come of them by the word of the second opinion.
#include "cases/run_modforge.h"

#include <bit>

#include <gtest/gtest.h>

#include "support/request_options.h"

namespace cases {
namespace {

constexpr support::byte_order host =
    std::endian::native == std::endian::little ? support::byte_order::little : support::byte_order::big;

}  // namespace

using second_opinion::conversion;
using second_opinion::conversion_request;
using support::run_result;

const std::string banner = "modforge Utility v1.5.1\n"
                           "Converts a linked COFF executable into a dynamically loadable VELM module.\n\n";

// The help line lacks a dash and the line of -q ends in a blank: both on purpose.
const std::string usage = "Usage: modforge [options] <filename>\n\n"
                          "\t[-?] [h]\t\t Help\n"
                          "\t[-e=<entries-filename>]\t Entries file name\n"
                          "\t[-fc]\t\t\t Output in C-style format\n"
                          "\t[-o=<filename>]\t\t Name of the output file\n"
                          "\t[-p=num]\t\t Image packet size\n"
                          "\t[-q]\t\t\t Do not warn if required entries file \n"
                          "\t\t\t\t symbols are missing from <filename>\n"
                          "\t[-s]\t\t\t Produce symbols only\n\n";

run_result workshop::run(const std::vector<std::string>& arguments, support::run_settings settings) const {
    std::vector<std::string> argv = {MODFORGE_PROGRAM};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    settings.directory = files_.path();
    return support::run_program(argv, settings);
}

std::vector<std::string> prepare(const workshop& shop, const conversion_request& request) {
    std::vector<std::string> arguments = support::options_of(request);
    arguments.emplace_back("-o=out.bin");
    for (std::size_t i = 0; i < request.entries.size(); ++i) {
        const std::string name = "names" + std::to_string(i);
        shop.write(name, request.entries[i]);
        arguments.push_back("-e=" + name);
    }
    shop.write(request.input_name, request.input);
    arguments.push_back(request.input_name);
    return arguments;
}

void expect_conversion(const conversion_request& request) {
    const conversion expected = second_opinion::convert(request);
    ASSERT_EQ(expected.status, 0) << expected.why;
    const workshop shop;
    const run_result run = shop.run(prepare(shop, request));
    EXPECT_EQ(run.status, 0) << run.signal;
    EXPECT_EQ(run.out, banner);
    EXPECT_EQ(run.err, expected.err);
    ASSERT_TRUE(shop.has("out.bin"));
    const support::bytes module = shop.read("out.bin");
    const auto first =
        std::mismatch(module.begin(), module.end(), expected.module.begin(), expected.module.end()).first;
    EXPECT_TRUE(module == expected.module) << "first difference at byte " << first - module.begin() << ", "
                                           << module.size() << " bytes instead of " << expected.module.size();
}

std::string expect_refusal(const conversion_request& request, const std::string& words) {
    const conversion expected = second_opinion::convert(request);
    EXPECT_EQ(expected.status, 1) << "it converts";
    const workshop shop;
    const run_result run = shop.run(prepare(shop, request));
    EXPECT_EQ(run.status, 1) << run.signal;
    EXPECT_EQ(run.out, banner + expected.out);
    EXPECT_NE((run.out + run.err).find(words), std::string::npos) << run.err;
    if (expected.wording_open) {
        EXPECT_TRUE(run.err.starts_with(expected.err) && run.err.size() > expected.err.size()) << run.err;
    } else {
        EXPECT_EQ(run.err, expected.err);
    }
    EXPECT_FALSE(shop.has("out.bin"));
    return run.out + run.err;
}

conversion_request request_for(const support::coff_image& image) {
    return {.input = image.data()};
}

support::coff_image small_image() {
    support::coff_image image;
    image.sections = {{.name = ".text",
                       .paddr = 0x1000,
                       .contents = {1, 2, 3, 4, 5, 6, 7, 8},
                       .relocs = {{.vaddr = 0x1004, .type = 17, .symndx = 2}}},
                      {.name = ".data", .flags = 0x40, .paddr = 0x2000, .contents = {9, 10, 11, 12}}};
    image.symbols = {{.name = "_main", .value = 0x1000},
                     {.name = "_table", .value = 0x2000, .scnum = 2},
                     {.name = "_printf", .scnum = 0}};
    return image;
}

std::uint32_t module_word(const support::bytes& module, std::size_t offset) {
    return support::get(module, offset, 4, host);
}

std::uint16_t module_half(const support::bytes& module, std::size_t offset) {
    return static_cast<std::uint16_t>(support::get(module, offset, 2, host));
}

}  // namespace cases

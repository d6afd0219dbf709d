// docs/messages.md says what modforge says: each of its rows is made to happen, and the whole line compared.
#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cases/messages_page.h"
#include "cases/run_modforge.h"

using namespace cases;
using support::coff_image;

namespace {

using image_change = std::function<void(coff_image&)>;
using words = std::vector<std::string>;

const struct {
    const char* row;      ///< as it stands on the page
    image_change change;  ///< of small_image()
    words options = {};   ///< before the input's name
    const char* input = "in.out";
    int status = 1;
} happenings[] = {
    {"Invalid option OPTION", nullptr, {"-x"}},
    {"ERROR: Invalid value for image packet size: Minimum is 300 bytes", nullptr, {"-p=299"}},
    {"ERROR: Invalid value for image packet size: Maximum is 1024 bytes", nullptr, {"-p=1028"}},
    {"ERROR: Image packet size must align to a 32-bit boundary", nullptr, {"-p=302"}},
    {"ERROR: Unable to open entries file FILE", nullptr, {"-e=missing"}},
    {"ERROR: Unable to read entries file FILE", nullptr, {"-e=."}},
    {"ERROR: FILE:LINE: an entry has more than 255 characters", nullptr, {"-e=long"}},
    {"WARNING: Symbol NAME from entries file not found in FILE", nullptr, {"-e=odd"}, "in.out", 0},
    {"WARNING: Prefix NAME from entries file not found in FILE", nullptr, {"-e=odd"}, "in.out", 0},
    {"WARNING: Section NAME from entries file not found in FILE", nullptr, {"-e=odd"}, "in.out", 0},
    {"WARNING: Duplicate entries for NAME from entries file(s) with different qualifiers. Keeping entry -NAME",
     nullptr,
     {"-e=odd"},
     "in.out",
     0},
    {">>   error: Cannot open input file 'FILE': REASON", nullptr, {}, "missing"},
    {">>   error: FILE: too long: a file may have N bytes", nullptr, {}, "huge"},
    {">>   error: FILE: cannot be read in any order: REASON", nullptr, {}, "/dev/stdin"},
    {">>   error: FILE: cannot be read: REASON", nullptr, {}, "."},
    {"Internal Error in USER_MSG::message:  attempt to generate a message > 4095 bytes, which would result in a buffer "
     "overflow; terminating program.",
     [](auto& i) {
         i.sections[0].name = std::string(5000, 's');
         i.sections[0].nreloc = 100000;
     }},
    // A field of four bytes in contents of two.
    {"ERROR: Cannot cut section NAME at byte N: a relocated field leaves no packet",
     [](auto& i) {
         i.sections[0].contents = {1, 2};
         i.sections[0].relocs[0].vaddr = 0x1000;
     }},
    {"ERROR: The module would have 4 GiB or more", nullptr, {}, "sparse"},
    {"WARNING: Section NAME: relocations out of order or outside its packets",
     [](auto& i) { i.sections[0].relocs[0].vaddr = 0x100C; },
     {},
     "in.out",
     0},
    {"ERROR: Unable to open file FILE", nullptr, {"-o=missing/out"}},
    {"ERROR: Cannot write to file FILE", nullptr, {"-o=/dev/full"}},
    {"WARNING: Output file FILE is an entries file", nullptr, {"-q", "-e=odd", "-o=odd"}, "in.out", 0},
    {"WARNING: Output file FILE is the input file", nullptr, {"-o=in.out"}, "in.out", 0},
};

/// Three sections that share two gigabytes of a file that is all hole.
void write_sparse(const workshop& shop) {
    coff_image image = small_image();
    for (int k = 0; k < 3; ++k)
        image.sections.push_back({.name = ".big", .flags = 0x40, .size = 0x7FFF0000, .scnptr = 0x1000});
    shop.write("sparse", image.data());
    std::filesystem::resize_file(shop.path("sparse"), 0x7FFFFFFF);
    shop.write("huge", image.data());
    std::filesystem::resize_file(shop.path("huge"), 0x80000000);
}

void furnish(const workshop& shop, const image_change& change) {
    coff_image image = small_image();
    if (change)
        change(image);
    shop.write("in.out", image.data());
    shop.write("long", std::string(256, 'e'));
    shop.write("odd", "_no_such ^_no_such @.none -_twice _twice\n");
}

}  // namespace

TEST(Messages, EachIsMadeAndStandsOnThePageAsPrinted) {
    const std::vector<std::string> page = page_rows();
    ASSERT_GT(page.size(), 50U);
    std::set<std::string> met = rows_of_refusals();
    for (const auto& h : happenings) {
        SCOPED_TRACE(h.row);
        met.insert(h.row);
        const workshop shop;
        furnish(shop, h.change);
        if (h.input == std::string("sparse") || h.input == std::string("huge"))
            write_sparse(shop);
        words arguments = h.options;
        arguments.emplace_back(h.input);
        const support::run_result run = shop.run(arguments);
        EXPECT_EQ(run.status, h.status) << run.err;
        EXPECT_EQ(shop.has("in.vlm"), h.status == 0 && (h.options.empty() || !h.options.back().starts_with("-o=")));
        EXPECT_TRUE(says(run.err + run.out, h.row)) << run.err;
    }
    for (const std::string& row : met)
        EXPECT_NE(std::find(page.begin(), page.end(), row), page.end()) << "not on the page: " << row;
    for (const std::string& row : page)
        EXPECT_TRUE(met.count(row) != 0 || faults_of_the_machine.count(row) != 0 ||
                    row.starts_with("ERROR: Unable to allocate"))
            << "nothing here makes this message: " << row;
}

// Each of some hundred of the cases that the fuzz targets sweep, as runs of the programs in little memory: modforge and
// coffdump must end as the second opinion says. What velmdump does with modules, tools/hostile_runs.py sees.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>

#include "cases/run_modforge.h"
#include "support/records.h"
#include "sweeps/everything.h"

namespace {

using second_opinion::conversion_request;
using support::byte_order;
using support::bytes;
using support::run_result;

/// Visits the input with one field of a record at a value that may break something: one in `each` of all such cases.
void sample(bytes input, const support::record_map& map, unsigned each,
            const std::function<void(const bytes&)>& visit) {
    unsigned cases = 0;
    for (const support::record& part : map.records)
        for (const support::field& place : part.kind->fields)
            support::at_every_value(input, map, part, place, [&](std::uint32_t value) {
                SCOPED_TRACE(part.kind->name + (" at " + std::to_string(part.offset)) + ", field at " +
                             std::to_string(place.offset) + ": " + std::to_string(value));
                if (++cases % each == 0)
                    visit(input);
            });
    std::printf("%u of %u cases\n", cases / each, cases);
}

/// The inputs are that small that all but the fixed part of the memory may be left out of account.
run_result run(const std::vector<std::string>& arguments, const std::string& directory) {
    support::run_settings limits = {.directory = directory, .seconds = 5, .megabytes = 33};
#ifdef MODFORGE_SANITIZED  // sanitizers take all the address space there is, and time
    limits = {.directory = directory};
#endif
    return support::run_program(arguments, limits);
}

void expect_as_foreseen(const conversion_request& request) {
    const int status = second_opinion::convert(request).status;
    const cases::workshop shop;
    std::vector<std::string> convert = cases::prepare(shop, request);
    convert.insert(convert.begin(), MODFORGE_PROGRAM);
    const run_result made = run(convert, shop.path(""));
    EXPECT_EQ(made.status, status) << made.err << made.signal;
    EXPECT_EQ(shop.has("out.bin"), status == 0);
    EXPECT_TRUE(status == 0 || made.out + made.err != cases::banner);
    const run_result check = run({COFFDUMP_PROGRAM, "check", "-e", "names0", "app.out"}, shop.path(""));
    EXPECT_EQ(check.status, status) << check.out << check.err;
    const run_result list = run({COFFDUMP_PROGRAM, "--json", "app.out"}, shop.path(""));
    EXPECT_TRUE(list.status == 0 || (list.status == 1 && !list.err.empty())) << list.err << list.signal;
}

}  // namespace

TEST(WholeRuns, ImagesWithAFieldThatBreaksSomething) {
    for (const byte_order order : {byte_order::little, byte_order::big}) {
        const bytes image = sweeps::everything(order).data();
        EXPECT_EQ(second_opinion::convert(sweeps::with_entries(image)).status, 0);
        EXPECT_TRUE(support::read_file(MODFORGE_CORPUS "/coff_reader/everything_" +
                                       std::string(order == byte_order::big ? "big" : "little")) == image);
        sample(image, support::records_of_image(image), 397,
               [](const bytes& broken) { expect_as_foreseen(sweeps::with_entries(broken)); });
    }
}

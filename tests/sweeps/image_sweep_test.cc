// Every field of every record of an image that has everything, at the values where things break; every two fields of a
// record; the image cut at every byte. Each case converts in this process and must end as the second opinion says; one
// in some hundred is also a run of the program, in little memory, and of coffdump, which must have foreseen it. Of two
// fields each eleventh pair of values is taken, unless MODFORGE_SWEEP_ALL is in the environment.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include <sys/resource.h>

#include "cases/run_modforge.h"
#include "convert_here.h"
#include "support/records.h"
#include "sweeps/everything.h"

namespace {

using second_opinion::conversion_request;
using support::byte_order;
using support::bytes;
using support::field;
using support::record;

constexpr byte_order both_orders[] = {byte_order::little, byte_order::big};

class ImageSweep : public ::testing::Test {
protected:
    ~ImageSweep() override {
        rusage used{};
        getrusage(RUSAGE_SELF, &used);
        std::printf("%u conversions, %u of them refused; %u also as runs of the programs\n", cases_, refused_, runs_);
#ifndef MODFORGE_SANITIZED  // this process holds the second opinion and the test, too
        EXPECT_LE(used.ru_maxrss, 32 << 10) << "KiB";
#endif
    }

    void give(const conversion_request& request, const std::string& what) {
        if (HasFatalFailure())  // one is enough
            return;
        const std::clock_t began = std::clock();
        const outcome is = convert_here(request);
        const std::clock_t took = std::clock() - began;
        ASSERT_EQ(fault_of(is, request), "") << what;
        ASSERT_LE(took, 5 * CLOCKS_PER_SEC) << what;
        refused_ += is.status;
        if (cases_++ % 331 == 0) {
            SCOPED_TRACE(what);
            run(request, is);
        }
    }

    void give_both_ways(const bytes& image, const std::string& what) {
        give(sweeps::with_entries(image), what);
        give(sweeps::symbols_as_text(image), what);
    }

    /// The input is that small that all but the fixed part of the memory may be left out of account.
    void run(const conversion_request& request, const outcome& is) {
        ++runs_;
        const cases::workshop shop;
        support::run_settings limits = {.seconds = 5, .megabytes = 33};
#ifdef MODFORGE_SANITIZED  // sanitizers take all the address space there is, and time
        limits = {};
#endif
        const support::run_result made = shop.run(cases::prepare(shop, request), limits);
        ASSERT_EQ(made.status, is.status) << made.err << made.signal << made.timed_out;
        ASSERT_EQ(made.out, cases::banner + is.out);
        ASSERT_EQ(made.err.empty(), is.err.empty());
        ASSERT_EQ(shop.has("out.bin"), is.status == 0);
        if (is.status == 0) {
            ASSERT_EQ(shop.read("out.bin"), is.module);
        }
        std::vector<std::string> check = {COFFDUMP_PROGRAM, "check", shop.path("app.out")};
        for (const char* option : {"-e", "names0", "-s"})
            if (request.symbols_only == (option[1] == 's'))
                check.emplace_back(option);
        const support::run_result foreseen = support::run_program(check, {.directory = shop.path("")});
        ASSERT_EQ(foreseen.status, is.status) << foreseen.out << foreseen.err << made.err;
    }

private:
    unsigned cases_ = 0, refused_ = 0, runs_ = 0;
};

std::string name_of(const record& part, const field& place) {
    return std::string(part.kind->name) + " at " + std::to_string(part.offset) + ", field at " +
           std::to_string(place.offset);
}

/// Visits the image with each breaking value in a field of it.
template <typename VISIT>
void for_each_value(bytes& image, byte_order order, const record& part, const field& place, VISIT visit) {
    const std::size_t offset = part.offset + place.offset;
    const std::uint32_t sound = support::get(image, offset, place.width, order);
    for (const std::uint32_t value : support::breaking_values(sound, place.width, image.size())) {
        support::put_at(image, offset, place.width, value, order);
        visit(name_of(part, place) + ": " + std::to_string(value));
    }
    support::put_at(image, offset, place.width, sound, order);
}

}  // namespace

TEST_F(ImageSweep, TheImageHasEverything) {
    for (const byte_order order : both_orders) {
        const bytes image = sweeps::everything(order).data();
        EXPECT_EQ(second_opinion::convert(sweeps::with_entries(image)).status, 0);
        give_both_ways(image, "sound");
    }
}

TEST_F(ImageSweep, EveryFieldAtEveryBreakingValue) {
    for (const byte_order order : both_orders) {
        bytes image = sweeps::everything(order).data();
        for (const record& part : support::records_of_image(image).records)
            for (const field& place : part.kind->fields)
                for_each_value(image, order, part, place,
                               [&](const std::string& what) { give_both_ways(image, what); });
    }
}

// Of the many relocations one stands for all.
TEST_F(ImageSweep, EveryTwoFieldsOfARecord) {
    const bool all = std::getenv("MODFORGE_SWEEP_ALL") != nullptr;
    for (const byte_order order : both_orders) {
        bytes image = sweeps::everything(order).data();
        const support::record_kind* before = nullptr;
        unsigned pairs = 0;
        for (const record& part : support::records_of_image(image).records) {
            const bool repeated = part.kind == before && std::string(part.kind->name) == "relocation";
            before = part.kind;
            for (std::size_t i = 1; i < part.kind->fields.size() && !repeated; ++i)
                for (std::size_t k = 0; k < i; ++k)
                    for_each_value(image, order, part, part.kind->fields[i], [&](const std::string& first) {
                        for_each_value(image, order, part, part.kind->fields[k], [&](const std::string& second) {
                            if (all || ++pairs % 11 == 0)
                                give(sweeps::with_entries(image), first + ", " + second);
                        });
                    });
        }
    }
}

TEST_F(ImageSweep, CutAtEveryByte) {
    for (const byte_order order : both_orders) {
        const bytes whole = sweeps::everything(order).data();
        const std::string entries = sweeps::with_entries(whole).entries.at(0);
        for (std::size_t kept = 0; kept < whole.size(); ++kept)
            give_both_ways({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kept)}, std::to_string(kept));
        for (std::size_t kept = 0; kept < entries.size(); ++kept) {
            conversion_request request = sweeps::with_entries(whole);
            request.entries = {entries.substr(0, kept)};
            give(request, "entries " + std::to_string(kept));
        }
    }
}

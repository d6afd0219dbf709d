// Every system call on a file fails in turn, in every way, once and from there on for ever: the run ends as if nothing
// had been, or with a message and the status of trouble, and never says that it wrote what it did not.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "cases/messages_page.h"
#include "cases/run_modforge.h"
#include "faults/traced_run.h"

using namespace cases;
using namespace faults;
using support::coff_image;

namespace {

using words = std::vector<std::string>;

constexpr int half = 0;
constexpr int the_end = -1;

struct subject {
    words command;
    std::string output = {};
    int status = 0;
    const char* input = "app.out";  ///< standard input
};

const subject conversions[] = {
    {{MODFORGE_PROGRAM, "-q", "-e=names", "-o=new", "app.out"}, "new"},
    {{MODFORGE_PROGRAM, "-fc", "app.out"}, "app.hex"},
    {{MODFORGE_PROGRAM, "-o=long.out", "long.out"}, "long.out"},
    {{MODFORGE_PROGRAM, "-o=new", "long.out"}, "new"},
    {{MODFORGE_PROGRAM, "-o=new", "bad.out"}, "new", 1},
    {{MODFORGE_PROGRAM, "-o=new", "missing"}, "new", 1},
};

const subject module_runs[] = {
    {{VELMDUMP_PROGRAM, "check", "app.vlm", "app.hex"}},
    {{VELMDUMP_PROGRAM, "check", "bad.out", "-"}, "", 1},
    {{VELMDUMP_PROGRAM, "show", "--json", "-"}, "", 0, "app.vlm"},
    {{VELMDUMP_PROGRAM, "report", "app.vlm", "-o", "new"}, "new"},
    {{VELMDUMP_PROGRAM, "convert", "app.vlm", "-o", "new", "--form", "text"}, "new"},
    {{VELMDUMP_PROGRAM, "extract", "app.vlm", ".cinit", "-o", "-"}},
    {{VELMDUMP_PROGRAM, "verify", "-e=names", "app.vlm", "app.out"}},
};

const subject image_runs[] = {
    {{COFFDUMP_PROGRAM, "app.out"}},
    {{COFFDUMP_PROGRAM, "--json", "app.out"}},
    {{COFFDUMP_PROGRAM, "--all", "-"}},
    {{COFFDUMP_PROGRAM, "check", "app.out", "-e", "names"}},
    {{COFFDUMP_PROGRAM, "check", "bad.out"}, "", 1},
};

/// What a disk, a network file system or a signal does to a call.
const struct {
    call_kind kind;
    int error;
} ways[] = {
    {call_kind::open, EIO},     {call_kind::open, EMFILE},  {call_kind::read, EIO},    {call_kind::read, EINTR},
    {call_kind::read, half},    {call_kind::read, the_end}, {call_kind::seek, EIO},    {call_kind::write, ENOSPC},
    {call_kind::write, EINTR},  {call_kind::write, half},   {call_kind::stat, EACCES}, {call_kind::close, EIO},
    {call_kind::close, ENOSPC}, {call_kind::remove, EPERM},
};

coff_image image_with_everything(std::size_t contents) {
    coff_image image;
    image.optional_header.emplace();
    image.sections = {{.name = ".text:with_a_long_name",
                       .paddr = 0x1000,
                       .contents = support::bytes(contents),
                       .relocs = {{.vaddr = 0x1004, .type = 17, .symndx = 3}, {.vaddr = 0x112A, .type = 17}},
                       .lines = {{.address = 0, .line = 0}, {.address = 0x1004, .line = 3}}},
                      {.name = ".bss", .flags = 0x80, .paddr = 0x90000, .size = 8},
                      {.name = ".cinit", .flags = 0x40, .paddr = 0xA0000, .contents = {1, 2, 3, 4}}};
    image.symbols = {{.name = ".bss", .scnum = 2, .sclass = 3, .aux = {support::aux_section(8, 0, 0)}},
                     {.name = "_main_with_a_long_name", .value = 0x1000},
                     {.name = "_printf", .scnum = 0},
                     {.name = "__DLStart", .value = 0x1000}};
    return image;
}

class SystemCalls : public testing::Test {
protected:
    SystemCalls() {
        furnish();
        run({{MODFORGE_PROGRAM, "-e=names", "app.out"}}, nullptr);
        run({{MODFORGE_PROGRAM, "-fc", "app.out"}}, nullptr);
    }

    template <std::size_t COUNT> void sweep(const subject (&subjects)[COUNT]) {
        for (const subject& each : subjects)
            sweep_one(each);
        std::printf("%zu runs with a failing system call\n", runs_);
        EXPECT_GT(runs_, 40 * COUNT);
    }

    std::set<std::string> messages;  ///< of all runs

private:
    void furnish() const {
        coff_image bad = image_with_everything(600);
        bad.sections[2].scnptr = 0x1000000;
        shop_.write("app.out", image_with_everything(600).data());
        shop_.write("long.out", image_with_everything(150000).data());  // more than is read in one piece
        shop_.write("bad.out", bad.data());
        shop_.write("names", "_main_with_a_long_name ^_pr @.bss -@.none !.none # end");
    }

    traced_result run(const subject& each, const fault* planned) {
        return run_traced(each.command, shop_.path("."), each.input, planned);
    }

    void sweep_one(const subject& each) {
        is_modforge_ = each.command[0] == MODFORGE_PROGRAM;
        furnish();
        prepare_output(each);
        clean_ = run(each, nullptr);
        EXPECT_EQ(clean_.status, each.status) << clean_.err;
        const bool made = !each.output.empty() && shop_.has(each.output);
        EXPECT_EQ(made, !each.output.empty() && each.status == 0);
        clean_output_ = made ? shop_.read(each.output) : support::bytes();
        for (std::size_t nth = 0; nth < clean_.calls.size(); ++nth) {
            for (const auto& way : ways) {
                if (way.kind != clean_.calls[nth].kind || is_good_end(clean_.calls[nth], way.error))
                    continue;
                for (const bool for_ever : {false, true})
                    spoil({nth, way.error, for_ever}, each);
            }
        }
    }

    /// Streams and entries files may end anywhere.
    static bool is_good_end(const call& made, int error) {
        return error == the_end && (made.file == 0 || (made.name == "names"));
    }

    void prepare_output(const subject& each) const {
        if (each.output == "long.out")
            furnish();
        else if (!each.output.empty())
            std::filesystem::remove(shop_.path(each.output));
    }

    void spoil(const fault& planned, const subject& each) {
        prepare_output(each);
        const traced_result result = run(each, &planned);
        ++runs_;
        std::string trace = "system call " + std::to_string(planned.nth) + (planned.for_ever ? " for ever" : " once") +
                            ", error " + std::to_string(planned.error) + ", of";
        for (const std::string& word : each.command)
            trace += ' ' + word;
        SCOPED_TRACE(trace + "\n" + result.err);
        ASSERT_GT(result.calls.size(), planned.nth);
        const call& made = result.calls[planned.nth];
        if (!is_complete(result, made, each)) {
            EXPECT_FALSE(must_survive(planned, made));
            expect_refusal(result, made, each);
        }
        messages.insert(result.err);
    }

    /// Whether all is as without the fault. Nobody needs to see the banner.
    bool is_complete(const traced_result& result, const call& made, const subject& each) const {
        const bool said = result.err == clean_.err || made.file == 2;
        const bool printed = result.out == clean_.out || (made.file == 1 && is_modforge_);
        return result.status == clean_.status && said && printed &&
               (each.output.empty() || clean_.status != 0 || !is_changed(each.output));
    }

    bool is_changed(const std::string& output) const {
        return !shop_.has(output) || shop_.read(output) != clean_output_;
    }

    /// What every program has to cope with.
    [[nodiscard]] bool must_survive(const fault& planned, const call& made) const {
        // What a companion had waiting for its output may be lost in an interrupted write: it says so.
        const bool interrupted =
            planned.error == EINTR && !planned.for_ever && (is_modforge_ || made.kind == call_kind::read);
        return planned.error == half || interrupted || (made.kind == call_kind::close && !is_output(made)) ||
               (is_modforge_ && made.file == 1);
    }

    [[nodiscard]] bool is_output(const call& made) const {
        return std::any_of(clean_.calls.begin(), clean_.calls.end(),
                           [&](const call& other) { return other.creates && other.name == made.name; });
    }

    void expect_refusal(const traced_result& result, const call& made, const subject& each) const {
        EXPECT_EQ(result.status, is_modforge_ ? 1 : 2);
        EXPECT_TRUE(made.file == 2 || result.err.ends_with('\n')) << "no message";
        const bool opened = std::any_of(result.calls.begin(), result.calls.end(), [&](auto& c) { return c.creates; });
        if (!each.output.empty() && !(is_modforge_ && opened) && made.kind != call_kind::remove) {
            EXPECT_EQ(shop_.has(each.output), each.output == "long.out") << "an output is left";
        }
    }

    workshop shop_;
    traced_result clean_;
    support::bytes clean_output_;
    bool is_modforge_ = false;
    std::size_t runs_ = 0;
};

TEST_F(SystemCalls, EachMayFailInAConversion) {
    sweep(conversions);
    for (const std::string& row : faults_of_the_machine)
        EXPECT_TRUE(std::any_of(messages.begin(), messages.end(), [&](auto& err) { return says(err, row); })) << row;
}

TEST_F(SystemCalls, EachMayFailInVelmdump) {
    sweep(module_runs);
}

TEST_F(SystemCalls, EachMayFailInCoffdump) {
    sweep(image_runs);
}

}  // namespace

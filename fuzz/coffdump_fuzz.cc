// coffdump: any file can be listed, and its check foresees whether modforge refuses it.
//
// What modforge does is the second opinion's answer, which converter_fuzz.cc holds against modforge itself.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "mutator.h"
#include "survive.h"
#include "tools/coffdump/checks.h"
#include "tools/coffdump/entries_lint.h"
#include "tools/coffdump/input_file.h"
#include "tools/coffdump/json_form.h"
#include "tools/coffdump/options.h"
#include "tools/coffdump/show.h"

namespace {

std::FILE* nowhere() {
    static std::FILE* stream = std::fopen("/dev/null", "w");
    return stream;
}

void list(const std::string& path) {
    input_file input(path);
    coffdump_options everything;
    everything.headers = everything.sections = everything.symbols = everything.relocs = everything.lines = true;
    everything.strings = true;
    everything.contents = "*";
    if (!input.readable() || !input.is_coff())
        return;
    input.try_step([&] { list_parts(input.file(), everything, nowhere()); });
    input.try_step([&] { list_summary(input.file(), nowhere()); });
    input.try_step([&] { print_json(input.file(), path.c_str(), nowhere()); });
    input.try_step([&] { input.file().dump_xml(nowhere()); });
}

void check(const std::string& path, const second_opinion::bytes& contents) {
    planned_conversion plan;
    plan.input = path;
    const examination examined(plan);
    examined.findings().print(nowhere());
    print_counts(examined.entries(), nowhere());
    const bool refused = second_opinion::convert({.input_name = path, .input = contents}).status != 0;
    if (refused == (examined.refused() || examined.findings().has_errors()))
        return;
    std::fprintf(stderr, "coffdump_fuzz: refused: %d\n", refused);
    examined.findings().print(stderr);
    std::abort();
}

support::record_map records(const support::bytes& input) {
    return support::records_of_image(input);
}

}  // namespace

const input_form fuzz_input = {.records = records};

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path =
        std::filesystem::temp_directory_path() / ("modforge-" + std::to_string(getpid()) + ".out");
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    list(path);
    check(path, {data, data + size});
    std::filesystem::remove(path);
    return 0;
}

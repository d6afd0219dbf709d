// coffdump: shows what is in a COFF file, and what modforge will make of it.
#include <cstdio>

#include "tools/coffdump/checks.h"
#include "tools/coffdump/entries_lint.h"
#include "tools/coffdump/input_file.h"
#include "tools/coffdump/json_form.h"
#include "tools/coffdump/options.h"
#include "tools/coffdump/show.h"
#include "tools/common/json_writer.h"
#include "tools/common/tool_run.h"

namespace {

int check(const coffdump_options& options) {
    const examination examined(options.plan);
    if (!examined.readable())
        return status_trouble;
    if (options.json) {
        json_writer json(stdout);
        json.begin_object();
        json.name("file", options.plan.input);
        json.member("converts", !examined.refused());
        json.begin_array("findings");
        examined.findings().put(json);
        json.end_array();
        json.end_object();
    } else {
        examined.findings().print(stdout);
    }
    const bool faults = examined.refused() || examined.findings().has_errors();
    return faults || (options.strict && !examined.findings().empty()) ? status_faults : status_good;
}

int entries(const coffdump_options& options) {
    const examination examined(options.plan);
    if (!examined.readable())
        return status_trouble;
    examined.findings().print(stdout);
    print_counts(examined.entries(), stdout);
    return examined.refused() || !examined.findings().empty() ? status_faults : status_good;
}

bool print_listing(COFF_FILE& input, const coffdump_options& options) {
    if (options.json) {
        print_json(input, options.file.c_str(), stdout);
    } else if (options.xml) {
        std::fputs("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", stdout);
        input.dump_xml(stdout);
    } else if (options.asks_for_parts()) {
        return list_parts(input, options, stdout);
    } else {
        list_summary(input, stdout);
    }
    return true;
}

int list(const coffdump_options& options) {
    input_file input(options.file);
    if (!input.readable())
        return status_trouble;
    bool found = true;
    if (input.is_coff())
        input.try_step([&] { found = print_listing(input.file(), options); });
    return !found || input.reading_failed() ? status_trouble : input.sound() ? status_good : status_faults;
}

int run(const coffdump_options& options) {
    switch (options.command) {
    case coffdump_options::check:
        return check(options);
    case coffdump_options::entries:
        return entries(options);
    default:
        return list(options);
    }
}

}  // namespace

int main(int argc, char** argv) {
    begin_tool("coffdump");
    coffdump_options options;
    const int early = parse_options(argc, argv, options);
    return end_tool(early < 0 ? run(options) : early);
}

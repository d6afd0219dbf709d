// coffdump: shows what is in a COFF file, and checks entries files against it.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "coff/coff_file.h"
#include "tools/coffdump/entries_lint.h"
#include "tools/coffdump/json_form.h"
#include "tools/coffdump/options.h"
#include "tools/coffdump/show.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"

namespace {

/// Whether bytes come out of the file; says why not. What is readable but no sound COFF file has a fault instead.
bool is_readable(const std::string& path) {
    std::FILE* stream = std::fopen(path.c_str(), "rb");
    const bool readable = stream && (std::fgetc(stream) != EOF || !std::ferror(stream));
    if (!readable)
        complain("cannot read %s: %s", printable(path).c_str(), std::strerror(errno));
    if (stream)
        std::fclose(stream);
    return readable;
}

int lint(COFF_FILE& input, const coffdump_options& options) {
    std::vector<placed_entry> entries;
    for (const std::string& file : options.entries_files) {
        if (!read_entries(file, entries))
            return status_trouble;
    }
    apply_entries(input, entries);
    return report_entries(entries, options.file.c_str(), stdout) == 0 ? status_good : status_faults;
}

int list(COFF_FILE& input, const coffdump_options& options) {
    if (options.json) {
        print_json(input, options.file.c_str(), stdout);
    } else if (options.xml) {
        std::fputs("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", stdout);
        input.dump_xml(stdout);
    } else if (options.asks_for_parts()) {
        if (!list_parts(input, options, stdout))
            return status_trouble;
    } else {
        list_summary(input, stdout);
    }
    return status_good;
}

int run(const coffdump_options& options) {
    if (!is_readable(options.file))
        return status_trouble;
    COFF_FILE input(true);
    if (input.read(options.file.c_str(), false) != 0)
        return status_faults;  // the reader has said which, here or where it ended the run with this status
    return options.lint ? lint(input, options) : list(input, options);
}

}  // namespace

int main(int argc, char** argv) {
    begin_tool("coffdump");
    coffdump_options options;
    const int early = parse_options(argc, argv, options);
    return end_tool(early < 0 ? run(options) : early);
}

// coffdump: shows what is in a COFF file, and checks entries files against it.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "coff/coff_file.h"
#include "msg/allocation.h"
#include "msg/end_run.h"
#include "tools/coffdump/entries_lint.h"
#include "tools/coffdump/json_listing.h"
#include "tools/coffdump/options.h"
#include "tools/coffdump/text_listing.h"

namespace {

enum exit_status { good = 0, faults = 1, trouble = 2 };

/// Whether bytes come out of the file; says why not. What is readable but no sound COFF file has a fault instead.
bool is_readable(const std::string& path) {
    std::FILE* stream = std::fopen(path.c_str(), "rb");
    const bool readable = stream && (std::fgetc(stream) != EOF || !std::ferror(stream));
    if (!readable)
        std::fprintf(stderr, "coffdump: cannot read %s: %s\n", path.c_str(), std::strerror(errno));
    if (stream)
        std::fclose(stream);
    return readable;
}

int lint(COFF_FILE& input, const coffdump_options& options) {
    std::vector<placed_entry> entries;
    for (const std::string& file : options.entries_files) {
        if (!read_entries(file, entries))
            return trouble;
    }
    apply_entries(input, entries);
    return report_entries(entries, options.file.c_str(), stdout) == 0 ? good : faults;
}

int list(COFF_FILE& input, const coffdump_options& options) {
    if (options.json) {
        list_as_json(input, options.file.c_str(), stdout);
    } else if (options.xml) {
        std::fputs("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", stdout);
        input.dump_xml(stdout);
    } else if (options.asks_for_parts()) {
        if (!list_parts(input, options, stdout))
            return trouble;
    } else {
        list_summary(input, stdout);
    }
    return good;
}

/// The status of the run, once everything is written: a listing that did not arrive is no listing.
int after_flush(int status) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    std::fprintf(stderr, "coffdump: cannot write to standard output: %s\n", std::strerror(errno));
    return trouble;
}

}  // namespace

int main(int argc, char** argv) {
    install_allocation_handler();
    coffdump_options options;
    const int early = parse_options(argc, argv, options);
    if (early >= 0)
        return after_flush(early);
    if (!is_readable(options.file))
        return trouble;
    COFF_FILE input(true);
    int status = faults;  // the reader has said which, here or where it ended the run with this status
    if (input.read(options.file.c_str(), false) == 0)
        status = options.lint ? lint(input, options) : list(input, options);
    return after_flush(status);
}

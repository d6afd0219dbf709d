// The command report: takes unsound modules, too, and tells them by its status.
#include <memory>

#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/output_file.h"
#include "tools/velmdump/report_page.h"

namespace {

struct report_arguments {
    std::vector<std::string> paths;
    std::string output;
};

int report(const report_arguments& given) {
    int status = status_good;
    std::vector<module_file> files;
    for (const std::string& path : given.paths) {
        if (auto file = read_module(path, wanted_module::any, status)) {
            if (!file->sound())
                status = std::max<int>(status, status_faults);
            files.push_back(std::move(*file));
        }
    }
    if (files.empty())
        return status;
    return write_output(given.output, given.paths, [&files](std::FILE* out) { print_report(files, out); })
               ? status
               : status_trouble;
}

std::function<int()> set_up_report(command_arguments& arguments) {
    auto given = std::make_shared<report_arguments>();
    add_files(arguments, given->paths);
    add_output(arguments, given->output, "the page to write");
    return [given] { return report(*given); };
}

}  // namespace

const command report_command = {"a page for the browser: maps, tables, findings and sizes of modules",
                                "  velmdump report app.vlm driver.vlm -o report.html\n", set_up_report};

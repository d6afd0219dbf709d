#include <cstdio>

#include "tools/common/file_input.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/module_file.h"

namespace {

struct arguments {
    std::vector<std::string> paths;
};

int check(const arguments& given) {
    int status = status_good;
    for (const std::string& path : given.paths) {
        const auto file = read_module(path, wanted_module::any, status);
        if (!file)
            continue;
        for (const finding& f : file->findings)
            std::printf("%s: %s\n", input_label(path).c_str(), finding_words(f).c_str());
        if (!file->sound())
            status = std::max<int>(status, status_faults);
    }
    return status;
}

std::function<int()> set_up(CLI::App& app) {
    auto given = std::make_shared<arguments>();
    add_files(app, given->paths);
    return [given] { return check(*given); };
}

}  // namespace

const command check_command = {"every checksum and every rule of the format; silent when all is sound",
                               "  velmdump check app.vlm other.vlm\n", set_up};

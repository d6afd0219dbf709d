#include "tools/common/file_input.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/diff.h"
#include "tools/velmdump/module_file.h"

namespace {

struct arguments {
    std::string paths[2];
    bool ignore_stamp = false;
};

int diff(const arguments& given) {
    int status = status_good;
    const auto a = read_module(given.paths[0], wanted_module::any, status);
    const auto b = read_module(given.paths[1], wanted_module::any, status);
    if (!a || !b)
        return status;
    if (diff_modules(a->module, b->module, given.ignore_stamp, stdout) != 0)
        status = status_faults;
    return status;
}

std::function<int()> set_up(CLI::App& app) {
    auto given = std::make_shared<arguments>();
    add_positional(app, "A", given->paths[0], "a module, binary or text; - for standard input", "A")->required();
    add_positional(app, "B", given->paths[1], "what it is compared with", "B")->required();
    app.add_flag("--ignore-stamp", given->ignore_stamp, "time stamps may differ");
    return [given] { return diff(*given); };
}

}  // namespace

const command diff_command = {"what two modules mean differently", "  velmdump diff --ignore-stamp old.vlm new.vlm\n",
                              set_up};

// The commands exports and imports.
#include "tools/common/file_input.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/names.h"

namespace {

struct arguments {
    std::string path;
    std::string against;
};

int print_exports(const arguments& given) {
    int status = status_good;
    if (const auto file = read_module(given.path, wanted_module::sound, status))
        print_names(exported_names(file->module), stdout);
    return status;
}

int print_imports(const arguments& given) {
    int status = status_good;
    const auto file = read_module(given.path, wanted_module::sound, status);
    if (!file)
        return status;
    const std::vector<std::string> names = imported_names(file->module);
    if (given.against.empty()) {
        print_names(names, stdout);
        return status_good;
    }
    const auto list = read_whole(given.against);
    if (!list)
        return status_trouble;
    const std::vector<std::string> missing = missing_names(names, *list);
    print_names(missing, stdout);
    return missing.empty() ? status_good : status_faults;
}

std::function<int()> set_up_exports(CLI::App& app) {
    auto given = std::make_shared<arguments>();
    add_file(app, given->path);
    return [given] { return print_exports(*given); };
}

std::function<int()> set_up_imports(CLI::App& app) {
    auto given = std::make_shared<arguments>();
    add_file(app, given->path);
    app.add_option("--against", given->against, "names on offer, one a line: list only those that are missing")
        ->type_name("FILE");
    return [given] { return print_imports(*given); };
}

}  // namespace

const command exports_command = {"the names that a module offers, one a line", "  velmdump exports app.vlm\n",
                                 set_up_exports};
const command imports_command = {"the names that a module needs, one a line",
                                 "  velmdump imports --against base.names app.vlm\n", set_up_imports};

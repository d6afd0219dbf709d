// The command check: the findings of each file, as lines or as a document.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "tools/common/file_input.h"
#include "tools/common/json_writer.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/json_form.h"
#include "tools/velmdump/module_file.h"

namespace {

struct check_arguments {
    std::vector<std::string> paths;
    bool strict = false;
    bool json = false;
};

void print_lines(const std::string& path, const std::vector<finding>& findings) {
    const std::string label = input_label(path);
    for (const finding& f : findings)
        std::printf("%s: %s\n", label.c_str(), finding_words(f).c_str());
}

void put_file(json_writer& json, const std::string& path, const std::optional<module_file>& file) {
    json.begin_object();
    json.name("file", path);
    json.member("module", file.has_value());
    json.member("sound", file && file->sound());
    json.begin_array("findings");
    if (file)
        put_findings(json, file->findings);
    json.end_array();
    json.end_object();
}

int check(const check_arguments& given) {
    int status = status_good;
    json_writer json(stdout);
    if (given.json)
        json.begin_array();
    for (const std::string& path : given.paths) {
        const auto file = read_module(path, wanted_module::any, status);
        if (given.json)
            put_file(json, path, file);
        else if (file)
            print_lines(path, file->findings);
        if (file && (!file->sound() || (given.strict && !file->findings.empty())))
            status = std::max<int>(status, status_faults);
    }
    if (given.json)
        json.end_array();
    return status;
}

std::function<int()> set_up_check(command_arguments& arguments) {
    auto given = std::make_shared<check_arguments>();
    add_files(arguments, given->paths);
    arguments.add_flag("--strict", given->strict, "warnings make the status 1, too");
    arguments.add_flag("--json", given->json, "the findings as a JSON document");
    return [given] { return check(*given); };
}

}  // namespace

const command check_command = {"every checksum and every rule of the format; silent when all is sound",
                               "  velmdump check app.vlm other.vlm\n"
                               "  velmdump check --strict app.vlm\n",
                               set_up_check};

// The command diff: differences as lines or as a document.
#include <algorithm>
#include <cstdio>

#include "tools/common/file_input.h"
#include "tools/common/json_writer.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/diff.h"
#include "tools/velmdump/module_file.h"

namespace {

struct arguments {
    std::string paths[2];
    bool ignore_stamp = false;
    bool json = false;
};

unsigned long print_lines(const module_file& a, const module_file& b, bool ignore_stamp) {
    return diff_modules(a.module, b.module, ignore_stamp,
                        [](const difference& d) { std::printf("%s\n", difference_words(d).c_str()); });
}

unsigned long print_json(const module_file& a, const module_file& b, bool ignore_stamp) {
    json_writer json(stdout);
    json.begin_object();
    json.name("first", a.path);
    json.name("second", b.path);
    json.begin_array("differences");
    const unsigned long lines = diff_modules(a.module, b.module, ignore_stamp, [&json](const difference& d) {
        json.begin_object();
        json.member("part", d.part);
        if (d.part != std::string_view("module"))
            json.name("name", d.name);
        json.member("text", d.text);
        json.end_object();
    });
    json.end_array();
    json.member("same", lines == 0);
    json.end_object();
    return lines;
}

int diff(const arguments& given) {
    int status = status_good;
    const auto a = read_module(given.paths[0], wanted_module::sound, status);
    const auto b = read_module(given.paths[1], wanted_module::sound, status);
    if (!a || !b)
        return status;
    return (given.json ? print_json : print_lines)(*a, *b, given.ignore_stamp) == 0 ? status_good : status_faults;
}

std::function<int()> set_up(CLI::App& app) {
    auto given = std::make_shared<arguments>();
    add_positional(app, "A", given->paths[0], "a module, binary or text; - for standard input", "A")->required();
    add_positional(app, "B", given->paths[1], "what it is compared with", "B")->required();
    app.add_flag("--ignore-stamp", given->ignore_stamp, "time stamps may differ");
    app.add_flag("--json", given->json, "the differences as a JSON document");
    return [given] { return diff(*given); };
}

}  // namespace

const command diff_command = {"what two modules mean differently", "  velmdump diff --ignore-stamp old.vlm new.vlm\n",
                              set_up};

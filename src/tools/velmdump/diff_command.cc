// The command diff: differences as lines or as a document.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "tools/common/file_input.h"
#include "tools/common/json_writer.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/diff.h"
#include "tools/velmdump/module_file.h"

namespace {

struct diff_arguments {
    std::string paths[2];
    bool ignore_stamp = false;
    bool json = false;
};

/// Whether a difference is the first of its section, symbol or module; those of one stand together.
class subjects {
public:
    bool begins(const difference& d) {
        const bool same = d.part == part_ && d.name.data() == name_.data() && d.name.size() == name_.size();
        part_ = d.part;
        name_ = d.name;
        return !same;
    }

private:
    const char* part_ = nullptr;
    std::string_view name_;
};

unsigned long print_differences(const module_file& a, const module_file& b, bool ignore_stamp) {
    subjects told;
    std::string subject;
    return diff_modules(a.module, b.module, ignore_stamp, [&](const difference& d) {
        if (told.begins(d))
            subject = subject_words(d);
        std::fwrite(subject.data(), 1, subject.size(), stdout);
        std::fwrite(d.text.data(), 1, d.text.size(), stdout);
        std::putchar('\n');
    });
}

unsigned long print_differences_as_json(const module_file& a, const module_file& b, bool ignore_stamp) {
    json_writer json(stdout);
    json.begin_object();
    json.name("first", a.path);
    json.name("second", b.path);
    json.begin_array("differences");
    subjects told;
    bool open = false;
    const auto close = [&] {
        if (!open)
            return;
        json.end_array();
        json.end_object();
    };
    const unsigned long lines = diff_modules(a.module, b.module, ignore_stamp, [&](const difference& d) {
        if (told.begins(d)) {
            close();
            open = true;
            json.begin_object();
            json.member("part", d.part);
            if (d.part != std::string_view("module"))
                json.name("name", d.name);
            json.begin_array("texts");
        }
        json.member({}, d.text);
    });
    close();
    json.end_array();
    json.member("same", lines == 0);
    json.end_object();
    return lines;
}

int diff(const diff_arguments& given) {
    int status = status_good;
    const auto a = read_module(given.paths[0], wanted_module::sound, status);
    const auto b = read_module(given.paths[1], wanted_module::sound, status);
    if (!a || !b)
        return status;
    return (given.json ? print_differences_as_json : print_differences)(*a, *b, given.ignore_stamp) == 0
               ? status_good
               : status_faults;
}

std::function<int()> set_up_diff(command_arguments& arguments) {
    auto given = std::make_shared<diff_arguments>();
    arguments.add_positional("A", given->paths[0], "A", "a module, binary or text; - for standard input").required();
    arguments.add_positional("B", given->paths[1], "B", "what it is compared with").required();
    arguments.add_flag("--ignore-stamp", given->ignore_stamp, "time stamps may differ");
    arguments.add_flag("--json", given->json, "the differences as a JSON document");
    return [given] { return diff(*given); };
}

}  // namespace

const command diff_command = {"what two modules mean differently", "  velmdump diff --ignore-stamp old.vlm new.vlm\n",
                              set_up_diff};

// The commands exports and imports.
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>

#include "tools/common/file_input.h"
#include "tools/common/json_writer.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/names.h"

namespace {

struct names_arguments {
    std::vector<std::string> paths;
    std::vector<std::string> against;
    bool json = false;
};

using name_list = std::vector<std::string_view>;

/// Prints the names of file after file, one a line or as a document, which is complete also where a file was refused.
class name_printer {
public:
    name_printer(const names_arguments& given, const char* key) : json_(stdout), as_json_(given.json), key_(key) {
        if (as_json_)
            json_.begin_array();
    }

    void print(const std::string& path, const name_list& names) {
        if (!as_json_) {
            for (const std::string_view name : names)
                std::printf("%s\n", printable(name).c_str());
            return;
        }
        json_.begin_object();
        json_.name("file", path);
        json_.begin_array(key_);
        for (const std::string_view name : names) {
            json_.begin_object();
            json_.name("name", name);
            json_.end_object();
        }
        json_.end_array();
        json_.end_object();
    }

    void finish() {
        if (as_json_)
            json_.end_array();
    }

private:
    json_writer json_;
    bool as_json_;
    const char* key_;
};

int print_exports(const names_arguments& given) {
    int status = status_good;
    name_printer printer(given, "exports");
    for (const std::string& path : given.paths) {
        if (const auto file = read_module(path, wanted_module::sound, status))
            printer.print(path, exported_names(file->module));
    }
    printer.finish();
    return status;
}

/// Adds what a file offers, be it a module or a list of names. False after a message.
bool add_offer(const std::string& path, offered_names& offer, int& status) {
    auto bytes = read_whole(path);
    if (!bytes) {
        status = status_trouble;
        return false;
    }
    if (!is_no_list(*bytes)) {
        offer.add_lines(*bytes);
        return true;
    }
    const auto file = judge_module(path, std::move(*bytes), wanted_module::sound, status);
    if (file)
        offer.add(file->module);
    return file.has_value();
}

int print_imports(const names_arguments& given) {
    int status = status_good;
    offered_names offer;
    for (const std::string& path : given.against) {
        if (!add_offer(path, offer, status))
            return status;
    }
    name_printer printer(given, given.against.empty() ? "imports" : "missing");
    for (const std::string& path : given.paths) {
        const auto file = read_module(path, wanted_module::sound, status);
        if (!file)
            continue;
        name_list names = imported_names(file->module);
        std::erase_if(names, [&offer](std::string_view name) { return offer.has(name); });
        printer.print(path, names);
        if (!given.against.empty() && !names.empty())
            status = std::max<int>(status, status_faults);
    }
    printer.finish();
    return status;
}

std::function<int()> set_up_exports(command_arguments& arguments) {
    auto given = std::make_shared<names_arguments>();
    add_files(arguments, given->paths);
    arguments.add_flag("--json", given->json, "as a JSON document");
    return [given] { return print_exports(*given); };
}

std::function<int()> set_up_imports(command_arguments& arguments) {
    auto given = std::make_shared<names_arguments>();
    add_files(arguments, given->paths);
    arguments
        .add_repeated_option("--against", given->against, "FILE",
                             "what is on offer, a module or a list with one name a line: print\n"
                             "only what is missing; may be given several times")
        .refused_if([](const std::string& path) { return path.empty() ? "it names no file" : ""; });
    arguments.add_flag("--json", given->json, "as a JSON document");
    return [given] { return print_imports(*given); };
}

}  // namespace

const command exports_command = {"the names that a module offers, one a line", "  velmdump exports app.vlm\n",
                                 set_up_exports};
const command imports_command = {"the names that a module needs, one a line",
                                 "  velmdump imports app.vlm\n"
                                 "  velmdump imports --against base.vlm --against rom.names app.vlm\n",
                                 set_up_imports};

// The command show.
#include <memory>

#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/json_form.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/show.h"

namespace {

struct show_arguments {
    std::string path;
    show_options parts;
    bool all = false;
    bool json = false;
};

int show(show_arguments given) {
    if (given.all)
        given.parts.symbols = given.parts.strings = given.parts.packets = given.parts.relocs = true;
    if (given.all && given.parts.contents.empty())
        given.parts.contents = '*';
    int status = status_good;
    const auto file = read_module(given.path, wanted_module::any, status);
    if (!file)
        return status;
    if (given.json) {
        print_json(*file, stdout);
    } else if (!show_module(*file, given.parts, stdout)) {
        complain("no section is named %s", printable(given.parts.contents).c_str());
        return status_trouble;
    }
    return file->sound() ? status_good : status_faults;
}

std::function<int()> set_up_show(command_arguments& arguments) {
    auto given = std::make_shared<show_arguments>();
    add_file(arguments, given->path);
    arguments.add_flag("--symbols", given->parts.symbols, "every symbol");
    arguments.add_flag("--strings", given->parts.strings, "the string table");
    arguments.add_flag("--packets", given->parts.packets, "every image packet");
    arguments.add_flag("--relocs", given->parts.relocs, "every packet with its relocations");
    arguments.add_flag_with_value("--contents", given->parts.contents, "SECTION", "*",
                                  "contents in hex, of one section with its name");
    arguments.add_flag("--all", given->all, "everything above");
    arguments.add_flag("--json", given->json, "everything, as one JSON document");
    return [given] { return show(*given); };
}

}  // namespace

const command show_command = {"what is in a module", "  velmdump show --symbols app.vlm\n", set_up_show};

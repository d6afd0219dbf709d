// The command map.
#include <memory>

#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/drawn_text.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/output_file.h"
#include "tools/velmdump/svg_map.h"

namespace {

struct map_arguments {
    std::string path;
    std::string output;
};

int draw(const map_arguments& given) {
    int status = status_good;
    const auto file = read_module(given.path, wanted_module::sound, status);
    if (!file)
        return status;
    const auto print = [&file](std::FILE* out) {
        draw_map(file->module, file->findings, {.title = drawn_file_name(file->path)}, out);
    };
    return write_output(given.output, {given.path}, print) ? status_good : status_trouble;
}

std::function<int()> set_up_map(command_arguments& arguments) {
    auto given = std::make_shared<map_arguments>();
    add_file(arguments, given->path);
    add_output(arguments, given->output, "the picture to write");
    return [given] { return draw(*given); };
}

}  // namespace

const command map_command = {"a picture of a module, as SVG", "  velmdump map app.vlm -o app.svg\n", set_up_map};

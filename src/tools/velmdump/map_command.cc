#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"
#include "tools/velmdump/module_file.h"
#include "tools/velmdump/svg_map.h"

namespace {

struct arguments {
    std::string path;
    std::string output;
};

int draw(const arguments& given) {
    int status = status_good;
    const auto file = read_module(given.path, wanted_module::sound, status);
    if (!file)
        return status;
    std::FILE* out = given.output == "-" ? stdout : std::fopen(given.output.c_str(), "w");
    if (out) {
        draw_map(file->module, given.path.c_str() + (given.path.rfind('/') + 1), out);
        const bool written = !std::ferror(out) && std::fflush(out) == 0;
        if ((out == stdout || std::fclose(out) == 0) && written)
            return status_good;
    }
    complain("cannot write %s: %s", printable(given.output).c_str(), std::strerror(errno));
    return status_trouble;
}

std::function<int()> set_up(CLI::App& app) {
    auto given = std::make_shared<arguments>();
    add_file(app, given->path);
    app.add_option("-o,--output", given->output, "the picture to write; - for standard output")
        ->required()
        ->type_name("FILE");
    return [given] { return draw(*given); };
}

}  // namespace

const command map_command = {"a picture of a module, as SVG", "  velmdump map app.vlm -o app.svg\n", set_up};

#include "tools/velmdump/commands.h"

namespace {

constexpr const char* file_words = "a module, binary or text; - for standard input";

}  // namespace

CLI::Option* add_file(CLI::App& app, std::string& path) {
    return add_positional(app, "FILE", path, file_words, "FILE")->required();
}

CLI::Option* add_files(CLI::App& app, std::vector<std::string>& paths) {
    return add_positional(app, "FILE", paths, file_words, "FILE...")->required();
}

// Arguments that several commands have.
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

CLI::Option* add_output(CLI::App& app, std::string& path, const std::string& what) {
    return app.add_option("-o,--output", path, what + "; - for standard output")->required()->type_name("FILE");
}

CLI::Validator one_of(const std::vector<std::string>& words) {
    return CLI::IsMember(words).description("");
}

// Arguments that several commands have.
#include "tools/velmdump/commands.h"

namespace {

constexpr const char* file_words = "a module, binary or text; - for standard input";

}  // namespace

void add_file(command_arguments& arguments, std::string& path) {
    arguments.add_positional("FILE", path, "FILE", file_words).required();
}

void add_files(command_arguments& arguments, std::vector<std::string>& paths) {
    arguments.add_positional("FILE", paths, "FILE...", file_words).required();
}

void add_output(command_arguments& arguments, std::string& path, const std::string& what) {
    arguments.add_option("-o,--output", path, "FILE", what + "; - for standard output").required();
}

// What a command of velmdump is. Each is a file of its own, which declares its arguments and does its work.
#ifndef MODFORGE_TOOLS_VELMDUMP_COMMANDS_H
#define MODFORGE_TOOLS_VELMDUMP_COMMANDS_H

#include <functional>
#include <string>
#include <vector>

#include "tools/common/command_line.h"

struct command {
    const char* what;      ///< what it is for, one line without a full stop
    const char* examples;  ///< whole lines, each a call, indented by two blanks
    /// Declares the arguments and returns what the command does once they are read. That lives as long as the parser,
    /// so it owns what the arguments are read into; it returns a tool_status.
    std::function<int()> (*set_up)(command_arguments& arguments);
};

#define COMMAND(name) extern const command name##_command;
#include "tools/velmdump/commands.def"
#undef COMMAND

/// The positional argument FILE of commands that take one module.
void add_file(command_arguments& arguments, std::string& path);
/// The positional argument FILE... of commands that take several.
void add_files(command_arguments& arguments, std::vector<std::string>& paths);
/// The option -o, which must be given.
void add_output(command_arguments& arguments, std::string& path, const std::string& what);

#endif

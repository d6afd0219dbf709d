// The command line of a companion: what the parser library needs to be told by both, and help as people expect it.
#ifndef MODFORGE_TOOLS_COMMON_COMMAND_LINE_H
#define MODFORGE_TOOLS_COMMON_COMMAND_LINE_H

#include <CLI/CLI.hpp>
#include <string>

/// A parser for the program `name`, with --help and --version.
class command_line {
public:
    /// `what` says in a sentence what the program is for. `statuses` goes below every help page, as does `examples` on
    /// the program's own: whole lines, of which the examples are calls.
    command_line(const std::string& name, const std::string& what, std::string statuses, const std::string& examples);

    /// The program itself, for options that belong to no command.
    CLI::App& program() { return app_; }

    /// A command with its own help page, which ends with `examples`.
    CLI::App* add_command(const std::string& name, const std::string& what, const std::string& examples);

    /// Reads the arguments. Returns -1 when there is work to do; else the exit status of the run: 0 after --help and
    /// --version, 2 when the arguments are wrong (a message went to standard error) or absent (a usage did).
    int parse(int argc, char** argv);

    /// Says what is wrong with the arguments, and where help is. Returns 2.
    int refuse(const std::string& message) const;

private:
    std::string notes(const std::string& examples) const;

    CLI::App app_;
    std::string statuses_;
};

/// Adds a positional argument. The parser takes only a name without blanks; help and usage show `shown`, which may have
/// some ("A B"), in its place.
template <typename VALUE>
CLI::Option* add_positional(CLI::App& command, const std::string& name, VALUE& value, const std::string& what,
                            const std::string& shown) {
    return command.add_option(name, value, what)->type_name(shown);
}

/// Adds a flag that may be given a value: "--contents" or, with `value_name` "SECTION", "--contents=SECTION". Without
/// a value it stores `otherwise`.
CLI::Option* add_flag_with_value(CLI::App& command, const std::string& name, std::string& value,
                                 const std::string& value_name, const std::string& otherwise, const std::string& what);

#endif

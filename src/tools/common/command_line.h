// The command line of a companion: what it takes, and help as people expect it. The parser library is a matter of
// command_line.cc alone: it would cost every other source that includes it seconds to compile.
#ifndef MODFORGE_TOOLS_COMMON_COMMAND_LINE_H
#define MODFORGE_TOOLS_COMMON_COMMAND_LINE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/// An option with a value, or a positional argument, for which more is demanded than that it may be given. A handle:
/// the parser owns what it stands for.
class declared_argument {
public:
    explicit declared_argument(CLI::Option& option) : option_(&option) {}

    /// It must be given.
    declared_argument& required();
    /// Its value is one of `words`. The help of the argument has to name them.
    declared_argument& one_of(const std::vector<std::string>& words);
    /// `fault_of` is called with each value and returns what is wrong with it, or nothing.
    declared_argument& refused_if(const std::function<std::string(const std::string&)>& fault_of);

private:
    CLI::Option* option_;
};

/// What a program or one of its commands takes. A handle like the above; what values are read into must live until the
/// arguments are parsed. Options are named as in "--json" or "-o,--output". `shown` stands in the help for the value;
/// `what` says what the argument is for and may have several lines. The help has everything in the order of the calls.
class command_arguments {
public:
    explicit command_arguments(CLI::App& app) : app_(&app) {}

    /// An option without a value, which sets `given`.
    void add_flag(const std::string& name, bool& given, const std::string& what);
    /// A flag that may be given a value: "--contents" or, with `shown` "SECTION", "--contents=SECTION". Without a value
    /// it stores `otherwise`.
    void add_flag_with_value(const std::string& name, std::string& value, const std::string& shown,
                             const std::string& otherwise, const std::string& what);

    /// An option with a value, given once. Text that is no number is refused for a `value` that is one.
    declared_argument add_option(const std::string& name, std::string& value, const std::string& shown,
                                 const std::string& what);
    declared_argument add_option(const std::string& name, int& value, const std::string& shown,
                                 const std::string& what);
    /// An option that may be given several times, with one value each time.
    declared_argument add_repeated_option(const std::string& name, std::vector<std::string>& values,
                                          const std::string& shown, const std::string& what);
    /// An option that may be given several times and takes all that follows, up to the next option.
    declared_argument add_list_option(const std::string& name, std::vector<std::string>& values,
                                      const std::string& shown, const std::string& what);

    /// A positional argument; several, where `values` are. The parser takes only a `name` without blanks, which its
    /// messages use; `shown` may have some ("A B").
    declared_argument add_positional(const std::string& name, std::string& value, const std::string& shown,
                                     const std::string& what);
    declared_argument add_positional(const std::string& name, std::vector<std::string>& values,
                                     const std::string& shown, const std::string& what);

    /// What nothing declared takes, options as well, goes into `rest` as it stands there. Without this it is refused.
    void add_rest(std::vector<std::string>& rest);

    /// Puts `note`, whole lines, above the examples of the help page.
    void add_note(const std::string& note);

    /// `call` is called when these arguments were given and are read.
    void when_parsed(std::function<void()> call);
    /// Whether these arguments were given: of a command, whether it was called.
    bool parsed() const;

private:
    CLI::App* app_;
};

/// A parser for the program `name`, with --help and --version.
class command_line {
public:
    /// `what` says in a sentence what the program is for. `statuses` goes below every help page, as does `examples` on
    /// the program's own: whole lines, of which the examples are calls.
    command_line(const std::string& name, const std::string& what, std::string statuses, const std::string& examples);
    ~command_line();

    /// The program itself, for arguments that belong to no command.
    command_arguments program() { return command_arguments(*app_); }

    /// A command with its own help page, which ends with `examples`.
    command_arguments add_command(const std::string& name, const std::string& what, const std::string& examples);

    /// From now on a call without a command is refused.
    void require_command();

    /// Reads the arguments. Returns -1 when there is work to do; else the exit status of the run: 0 after --help and
    /// --version, 2 when the arguments are wrong (a message went to standard error) or absent (a usage did).
    int parse(int argc, char** argv);

    /// Says what is wrong with the arguments, and where help is. Returns 2.
    int refuse(const std::string& message) const;

private:
    std::string notes(const std::string& examples) const;

    std::unique_ptr<CLI::App> app_;
    std::string statuses_;
};

#endif

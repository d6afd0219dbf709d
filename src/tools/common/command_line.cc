// The one source that includes the parser library. The help pages are made here and not by that, whose own differ from
// version to version and show its notation instead of the user's.
#include "tools/common/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"

namespace {

using row_list = std::vector<std::pair<std::string, std::string>>;

/// "[OPTIONS] FILE...", or "COMMAND ..." for what is nothing without a command.
std::string arguments_of(const CLI::App& app) {
    if (app.get_require_subcommand_min() > 0)
        return " COMMAND [OPTIONS] FILE...";
    std::string text = " [OPTIONS]";
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional())
            text += ' ' + option->get_type_name();
    }
    return text;
}

/// One line per way to call: the program's own, and one for each command.
std::string usage_of(const CLI::App& app) {
    const CLI::App* parent = app.get_parent();
    const std::string name = parent ? parent->get_name() + ' ' + app.get_name() : app.get_name();
    std::string text = "Usage: " + name + arguments_of(app) + '\n';
    if (app.get_require_subcommand_min() == 0) {
        for (const CLI::App* command : app.get_subcommands(nullptr))
            text.append("       ").append(name).append(1, ' ').append(command->get_name() + arguments_of(*command) +
                                                                      '\n');
    }
    return text;
}

std::string name_of(const CLI::Option& option) {
    if (option.get_positional())
        return option.get_type_name();
    std::string text;
    for (const std::string& name : option.get_snames())
        text += (text.empty() ? "-" : ", -") + name;
    for (const std::string& name : option.get_lnames())
        text += (text.empty() ? "--" : ", --") + name;
    const std::string value = option.get_type_name();
    return text + (value.empty() || value[0] == '[' ? value : ' ' + value);
}

row_list options_of(const CLI::App& app, bool positional) {
    row_list result;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional() == positional)
            result.emplace_back(name_of(*option), option->get_description());
    }
    return result;
}

row_list commands_of(const CLI::App& app) {
    row_list result;
    for (const CLI::App* command : app.get_subcommands(nullptr))
        result.emplace_back(command->get_name(), command->get_description());
    return result;
}

/// A block of two columns under a title; nothing when there are no rows.
std::string block(const std::string& title, const row_list& rows) {
    std::size_t width = 0;
    for (const auto& row : rows)
        width = std::max(width, row.first.size());
    std::string text = rows.empty() ? "" : '\n' + title + '\n';
    for (const auto& [left, right] : rows)
        text.append("  ").append(left).append(width - left.size() + 2, ' ').append(right + '\n');
    return text;
}

class house_help : public CLI::Formatter {
public:
    std::string make_help(const CLI::App* app, std::string /*name*/, CLI::AppFormatMode /*mode*/) const override {
        return app->get_description() + "\n\n" + usage_of(*app) + block("Commands:", commands_of(*app)) +
               block("Arguments:", options_of(*app, true)) + block("Options:", options_of(*app, false)) + '\n' +
               app->get_footer();
    }
};

template <typename VALUE>
CLI::Option& add(CLI::App& app, const std::string& name, VALUE& value, const std::string& shown,
                 const std::string& what) {
    return *app.add_option(name, value, what)->type_name(shown);
}

}  // namespace

declared_argument& declared_argument::required() {
    option_->required();
    return *this;
}

declared_argument& declared_argument::one_of(const std::vector<std::string>& words) {
    option_->check(CLI::IsMember(words).description(""));
    return *this;
}

declared_argument& declared_argument::refused_if(const std::function<std::string(const std::string&)>& fault_of) {
    option_->check(fault_of);
    return *this;
}

void command_arguments::add_flag(const std::string& name, bool& given, const std::string& what) {
    app_->add_flag(name, given, what);
}

void command_arguments::add_flag_with_value(const std::string& name, std::string& value, const std::string& shown,
                                            const std::string& otherwise, const std::string& what) {
    app_->add_flag(name + '{' + otherwise + '}', value, what)->type_name("[=" + shown + ']');
}

declared_argument command_arguments::add_option(const std::string& name, std::string& value, const std::string& shown,
                                                const std::string& what) {
    return declared_argument(add(*app_, name, value, shown, what));
}

declared_argument command_arguments::add_option(const std::string& name, int& value, const std::string& shown,
                                                const std::string& what) {
    return declared_argument(add(*app_, name, value, shown, what));
}

declared_argument command_arguments::add_repeated_option(const std::string& name, std::vector<std::string>& values,
                                                         const std::string& shown, const std::string& what) {
    CLI::Option& option = add(*app_, name, values, shown, what);
    return declared_argument(*option.expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll));
}

declared_argument command_arguments::add_list_option(const std::string& name, std::vector<std::string>& values,
                                                     const std::string& shown, const std::string& what) {
    return declared_argument(add(*app_, name, values, shown, what));
}

declared_argument command_arguments::add_positional(const std::string& name, std::string& value,
                                                    const std::string& shown, const std::string& what) {
    return declared_argument(add(*app_, name, value, shown, what));
}

declared_argument command_arguments::add_positional(const std::string& name, std::vector<std::string>& values,
                                                    const std::string& shown, const std::string& what) {
    return declared_argument(add(*app_, name, values, shown, what));
}

void command_arguments::add_rest(std::vector<std::string>& rest) {
    app_->allow_extras();
    app_->final_callback([app = app_, &rest] { rest = app->remaining(); });
}

void command_arguments::add_note(const std::string& note) {
    app_->footer(note + '\n' + app_->get_footer());
}

void command_arguments::when_parsed(std::function<void()> call) {
    app_->parse_complete_callback(std::move(call));
}

bool command_arguments::parsed() const {
    return app_->parsed();
}

command_line::command_line(const std::string& name, const std::string& what, std::string statuses,
                           const std::string& examples)
    : app_(std::make_unique<CLI::App>(what, name)), statuses_(std::move(statuses)) {
    app_->formatter(std::make_shared<house_help>());
    app_->set_help_flag("-h,--help", "this help");
    app_->set_version_flag("--version", name + " " MODFORGE_VERSION, "the version of the program");
    app_->footer(notes(examples));
}

command_line::~command_line() = default;

command_arguments command_line::add_command(const std::string& name, const std::string& what,
                                            const std::string& examples) {
    CLI::App* command = app_->add_subcommand(name, what);
    command->footer(notes(examples));
    return command_arguments(*command);
}

void command_line::require_command() {
    app_->require_subcommand(1);
}

std::string command_line::notes(const std::string& examples) const {
    return "Examples:\n" + examples + '\n' + statuses_;
}

int command_line::parse(int argc, char** argv) {
    if (argc <= 1) {
        std::fputs(usage_of(*app_).c_str(), stderr);
        std::fprintf(stderr, "Try '%s --help'.\n", app_->get_name().c_str());
        return status_trouble;
    }
    try {
        app_->parse(argc, argv);
    } catch (const CLI::CallForVersion& e) {
        std::printf("%s\n", e.what());
        return status_good;
    } catch (const CLI::CallForHelp&) {
        std::fputs(app_->help().c_str(), stdout);
        return status_good;
    } catch (const CLI::ParseError& e) {
        return refuse(e.what());
    }
    return -1;
}

int command_line::refuse(const std::string& message) const {
    const auto parsed = app_->get_subcommands();
    const std::string page = app_->get_name() + (parsed.empty() ? "" : ' ' + parsed[0]->get_name());
    complain("%s (try '%s --help')", printable(message).c_str(), page.c_str());
    return status_trouble;
}

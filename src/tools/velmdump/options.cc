#include "tools/velmdump/options.h"

#include <CLI/CLI.hpp>

namespace {

CLI::App* add_command(CLI::App& app, const char* name, const char* what, velmdump_options& options, int files) {
    CLI::App* command = app.add_subcommand(name, what);
    CLI::Option* file = command->add_option(files == 2 ? "A B" : "FILE", options.files,
                                            "the module, binary or text; - for standard input");
    file->required()->type_name("");
    if (files > 0)
        file->expected(files);
    return command;
}

void add_show_options(CLI::App& show, velmdump_options& options, bool& all) {
    show.add_flag("--symbols", options.parts.symbols, "every symbol");
    show.add_flag("--strings", options.parts.strings, "the string table");
    show.add_flag("--packets", options.parts.packets, "every image packet");
    show.add_flag("--relocs", options.parts.relocs, "every packet with its relocations");
    show.add_flag("--contents{*}", options.parts.contents, "contents in hex, of one section with --contents=SECTION");
    show.add_flag("--all", all, "everything above");
    show.add_flag("--json", options.json, "everything, as one JSON document");
}

void take_all(show_options& parts) {
    parts.symbols = parts.strings = parts.packets = parts.relocs = true;
    if (parts.contents.empty())
        parts.contents = "*";
}

}  // namespace

int parse_options(int argc, char** argv, velmdump_options& options) {
    CLI::App app("Shows, checks and compares VELM modules, binary or text.", "velmdump");
    app.set_version_flag("--version", "velmdump " MODFORGE_VERSION);
    app.require_subcommand(1);
    bool all = false;
    CLI::App* commands[] = {
        add_command(app, "show", "what is in a module", options, 1),
        add_command(app, "check", "every checksum and every rule of the format; silent when all is sound", options, 0),
        add_command(app, "exports", "the names that a module offers, one a line", options, 1),
        add_command(app, "imports", "the names that a module needs, one a line", options, 1),
        add_command(app, "diff", "what two modules mean differently", options, 2),
        add_command(app, "map", "a picture of a module, as SVG", options, 1),
    };
    add_show_options(*commands[velmdump_options::show], options, all);
    commands[velmdump_options::imports]->add_option(
        "--against", options.against, "file with the names on offer, one a line: list only those that are missing");
    commands[velmdump_options::diff]->add_flag("--ignore-stamp", options.ignore_stamp, "time stamps may differ");
    commands[velmdump_options::map]->add_option("-o,--output", options.output, "the picture to write")->required();
    app.footer("Exit status: 0 good (sound, nothing missing, the same), 1 faults (or missing, or different), "
               "2 usage or\ninput/output trouble.");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    for (int i = velmdump_options::show; i <= velmdump_options::map; ++i) {
        if (commands[i]->parsed())
            options.command = static_cast<velmdump_options::command_type>(i);
    }
    if (all)
        take_all(options.parts);
    return -1;
}

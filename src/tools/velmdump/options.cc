#include "tools/velmdump/options.h"

#include "tools/common/command_line.h"

namespace {

void add_files(CLI::App* command, velmdump_options& options, int files) {
    CLI::Option* file =
        add_positional(*command, "FILE", options.files, "the module, binary or text; - for standard input",
                       files == 2   ? "A B"
                       : files == 1 ? "FILE"
                                    : "FILE...");
    file->required();
    if (files > 0)
        file->expected(files);
}

void add_show_options(CLI::App& show, velmdump_options& options, bool& all) {
    show.add_flag("--symbols", options.parts.symbols, "every symbol");
    show.add_flag("--strings", options.parts.strings, "the string table");
    show.add_flag("--packets", options.parts.packets, "every image packet");
    show.add_flag("--relocs", options.parts.relocs, "every packet with its relocations");
    add_flag_with_value(show, "--contents", options.parts.contents, "SECTION", "*",
                        "contents in hex, of one section with its name");
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
    command_line line("velmdump", "Shows, checks and compares VELM modules, binary or text.",
                      "Exit status: 0 good (sound, nothing missing, the same), 1 faults (or missing, or different),\n"
                      "2 usage or input/output trouble.\n",
                      "  velmdump check app.vlm\n  velmdump show --help\n");
    line.program().require_subcommand(1);
    bool all = false;
    CLI::App* commands[] = {
        line.add_command("show", "what is in a module", "  velmdump show --symbols app.vlm\n"),
        line.add_command("check", "every checksum and every rule of the format; silent when all is sound",
                         "  velmdump check app.vlm other.vlm\n"),
        line.add_command("exports", "the names that a module offers, one a line", "  velmdump exports app.vlm\n"),
        line.add_command("imports", "the names that a module needs, one a line",
                         "  velmdump imports --against base.names app.vlm\n"),
        line.add_command("diff", "what two modules mean differently",
                         "  velmdump diff --ignore-stamp old.vlm new.vlm\n"),
        line.add_command("map", "a picture of a module, as SVG", "  velmdump map app.vlm -o app.svg\n"),
    };
    for (const auto command : {velmdump_options::show, velmdump_options::check, velmdump_options::exports,
                               velmdump_options::imports, velmdump_options::diff, velmdump_options::map})
        add_files(commands[command], options,
                  command == velmdump_options::check  ? 0
                  : command == velmdump_options::diff ? 2
                                                      : 1);
    add_show_options(*commands[velmdump_options::show], options, all);
    commands[velmdump_options::imports]
        ->add_option("--against", options.against, "names on offer, one a line: list only those that are missing")
        ->type_name("FILE");
    commands[velmdump_options::diff]->add_flag("--ignore-stamp", options.ignore_stamp, "time stamps may differ");
    commands[velmdump_options::map]
        ->add_option("-o,--output", options.output, "the picture to write; - for standard output")
        ->required()
        ->type_name("FILE");
    if (const int early = line.parse(argc, argv); early >= 0)
        return early;
    for (int i = velmdump_options::show; i <= velmdump_options::map; ++i) {
        if (commands[i]->parsed())
            options.command = static_cast<velmdump_options::command_type>(i);
    }
    if (all)
        take_all(options.parts);
    return -1;
}

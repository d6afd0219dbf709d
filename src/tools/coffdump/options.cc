#include "tools/coffdump/options.h"

#include "tools/common/command_line.h"

namespace {

void add_listing_options(CLI::App& app, coffdump_options& options, bool& all) {
    app.add_flag("--headers", options.headers, "file header, optional header and section headers");
    app.add_flag("--sections", options.sections, "a table of the sections");
    app.add_flag("--symbols", options.symbols, "symbols with their auxiliary entries");
    app.add_flag("--relocs", options.relocs, "relocations of every section");
    app.add_flag("--lines", options.lines, "line numbers of every section");
    app.add_flag("--strings", options.strings, "the string table");
    add_flag_with_value(app, "--contents", options.contents, "SECTION", "*",
                        "contents in hex, of one section with its name");
    app.add_flag("--all", all, "everything above");
    app.add_flag("--xml", options.xml, "everything, as XML");
    app.add_flag("--json", options.json, "everything, as JSON");
}

}  // namespace

int parse_options(int argc, char** argv, coffdump_options& options) {
    command_line line("coffdump",
                      "Lists what is in a COFF file: headers, sections, symbols, relocations, contents.\n"
                      "Without options it prints a summary.",
                      "Exit status: 0 good, 1 the file has faults, 2 usage or input/output trouble.\n",
                      "  coffdump app.out\n  coffdump --symbols --contents=.text app.out\n");
    bool all = false;
    add_positional(line.program(), "FILE", options.file, "the COFF file", "FILE");
    add_listing_options(line.program(), options, all);
    CLI::App* lint = line.add_command("entries", "checks entries files against the COFF file that they are for",
                                      "  coffdump entries app.out app.entries\n");
    add_positional(*lint, "FILE", options.file, "the COFF file", "FILE")->required();
    add_positional(*lint, "ENTRIES", options.entries_files, "entries files, in the order of the converter's -e options",
                   "ENTRIES...")
        ->required();
    if (const int early = line.parse(argc, argv); early >= 0)
        return early;
    options.lint = lint->parsed();
    if (!options.lint && options.file.empty())  // were it required, the name of a command would be taken for it
        return line.refuse("FILE is required");
    if (all) {
        options.headers = options.sections = options.symbols = options.relocs = options.lines = options.strings = true;
        if (options.contents.empty())
            options.contents = "*";
    }
    return -1;
}

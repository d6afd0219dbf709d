#include "tools/coffdump/options.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace {

void add_listing_options(CLI::App& app, coffdump_options& options, bool& all) {
    app.add_flag("--headers", options.headers, "file header, optional header and section headers");
    app.add_flag("--sections", options.sections, "a table of the sections");
    app.add_flag("--symbols", options.symbols, "symbols with their auxiliary entries");
    app.add_flag("--relocs", options.relocs, "relocations of every section");
    app.add_flag("--lines", options.lines, "line numbers of every section");
    app.add_flag("--strings", options.strings, "the string table");
    app.add_flag("--contents{*}", options.contents, "contents in hex, of one section with --contents=SECTION");
    app.add_flag("--all", all, "everything above");
    app.add_flag("--xml", options.xml, "everything, as XML");
    app.add_flag("--json", options.json, "everything, as JSON");
}

}  // namespace

int parse_options(int argc, char** argv, coffdump_options& options) {
    CLI::App app("Lists what is in a COFF file: headers, sections, symbols, relocations, contents.\n"
                 "Without options it prints a summary.",
                 "coffdump");
    app.set_version_flag("--version", "coffdump " MODFORGE_VERSION);
    bool all = false;
    app.add_option("FILE", options.file, "the COFF file");
    add_listing_options(app, options, all);
    CLI::App* lint = app.add_subcommand("entries", "checks entries files against the COFF file that they are for");
    lint->add_option("FILE", options.file, "the COFF file")->required();
    lint->add_option("ENTRIES", options.entries_files, "entries files, in the order of the converter's -e options")
        ->required();
    app.footer("Exit status: 0 good, 1 the file has faults, 2 usage or input/output trouble.");
    try {
        app.parse(argc, argv);
        options.lint = lint->parsed();
        if (!options.lint && options.file.empty())
            throw CLI::RequiredError("FILE");
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    if (all) {
        options.headers = options.sections = options.symbols = options.relocs = options.lines = options.strings = true;
        if (options.contents.empty())
            options.contents = "*";
    }
    return -1;
}

// What the command line takes: options of the listing, and the two commands.
#include "tools/coffdump/options.h"

#include <cstdlib>

#include "tools/common/command_line.h"

namespace {

constexpr const char* input_words = "the COFF file; - for standard input";

void add_listing_options(command_arguments& arguments, coffdump_options& options, bool& all) {
    arguments.add_flag("--headers", options.headers, "file header, optional header and section headers");
    arguments.add_flag("--sections", options.sections, "a table of the sections");
    arguments.add_flag("--symbols", options.symbols, "symbols with their auxiliary entries");
    arguments.add_flag("--relocs", options.relocs, "relocations of every section");
    arguments.add_flag("--lines", options.lines, "line numbers of every section");
    arguments.add_flag("--strings", options.strings, "the string table");
    arguments.add_flag_with_value("--contents", options.contents, "SECTION", "*",
                                  "contents in hex, of one section with its name");
    arguments.add_flag("--all", all, "everything above");
    arguments.add_flag("--xml", options.xml, "everything, as XML");
    arguments.add_flag("--json", options.json, "everything, as JSON");
}

void add_conversion_options(command_arguments& arguments, planned_conversion& plan) {
    arguments.add_flag("-s,--symbols-only", plan.symbols_only, "as for modforge -s");
    arguments.add_flag("-c,--runtime-cinit", plan.runtime_cinit, "as for modforge -c");
    arguments.add_option("-p,--packet-size", plan.packet_size, "N", "as for modforge -p=N; 1024 unless told")
        .refused_if([](const std::string& text) {
            const long size = std::strtol(text.c_str(), nullptr, 10);
            const bool good = size >= second_opinion::least_packet && size <= second_opinion::greatest_packet &&
                              size % second_opinion::packet_step == 0;
            return std::string(good ? "" : "must be a multiple of 4 from 300 to 1024");
        });
}

command_arguments add_check(command_line& line, coffdump_options& options) {
    command_arguments check = line.add_command(
        "check", "everything for which modforge would refuse the file or warn; silent when there is nothing",
        "  coffdump check app.out -e app.entries\n");
    check.add_positional("FILE", options.plan.input, "FILE", input_words).required();
    check.add_list_option("-e,--entries", options.plan.entries_files, "ENTRIES...",
                          "entries files, in the order of modforge's -e options");
    add_conversion_options(check, options.plan);
    check.add_flag("--strict", options.strict, "warnings are faults, too");
    check.add_flag("--json", options.json, "the findings as a JSON document");
    return check;
}

command_arguments add_entries(command_line& line, coffdump_options& options) {
    command_arguments entries = line.add_command(
        "entries", "what each entry of entries files exports or leaves out, and which do not do what they seem to",
        "  coffdump entries app.out app.entries\n");
    entries.add_positional("FILE", options.plan.input, "FILE", input_words).required();
    entries
        .add_positional("ENTRIES", options.plan.entries_files, "ENTRIES...",
                        "entries files, in the order of modforge's -e options")
        .required();
    add_conversion_options(entries, options.plan);
    return entries;
}

}  // namespace

int parse_options(int argc, char** argv, coffdump_options& options) {
    command_line line("coffdump",
                      "Lists what is in a COFF file: headers, sections, symbols, relocations, contents.\n"
                      "Without options it prints a summary. Checks beforehand what modforge will make of it.",
                      "Exit status: 0 good, 1 the file or an entry has faults, 2 usage or input/output trouble.\n",
                      "  coffdump app.out\n"
                      "  coffdump --symbols --contents=.text app.out\n"
                      "  coffdump check app.out -e app.entries\n");
    bool all = false;
    command_arguments program = line.program();
    program.add_positional("FILE", options.file, "FILE", input_words);
    add_listing_options(program, options, all);
    const command_arguments check = add_check(line, options);
    const command_arguments entries = add_entries(line, options);
    if (const int early = line.parse(argc, argv); early >= 0)
        return early;
    options.command = check.parsed()     ? coffdump_options::check
                      : entries.parsed() ? coffdump_options::entries
                                         : coffdump_options::list;
    if (options.command == coffdump_options::list && options.file.empty())
        return line.refuse("FILE is required");  // were it required, the name of a command would be taken for it
    if (all) {
        options.headers = options.sections = options.symbols = options.relocs = options.lines = options.strings = true;
        if (options.contents.empty())
            options.contents = '*';
    }
    return -1;
}

// The command line of coffdump.
#ifndef MODFORGE_TOOLS_COFFDUMP_OPTIONS_H
#define MODFORGE_TOOLS_COFFDUMP_OPTIONS_H

#include <string>

#include "tools/coffdump/checks.h"

struct coffdump_options {
    enum command_type { list, entries, check };

    command_type command = list;
    std::string file;      ///< the COFF file to list
    bool headers = false;  ///< which parts to list; none of them: the summary
    bool sections = false;
    bool symbols = false;
    bool relocs = false;
    bool lines = false;
    bool strings = false;
    std::string contents;  ///< a section's name, "*" for every section, empty for none
    bool xml = false;
    bool json = false;

    bool asks_for_parts() const {
        return headers || sections || symbols || relocs || lines || strings || !contents.empty();
    }

    planned_conversion plan;  ///< entries, check
    bool strict = false;      ///< check: warnings count as faults
};

/// Reads the arguments. Returns -1 when there is work to do; else the exit status of the run: 0 after --help and
/// --version, 2 when the arguments are wrong (a message went to standard error).
int parse_options(int argc, char** argv, coffdump_options& options);

#endif

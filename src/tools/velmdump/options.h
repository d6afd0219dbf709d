// The command line of velmdump.
#ifndef MODFORGE_TOOLS_VELMDUMP_OPTIONS_H
#define MODFORGE_TOOLS_VELMDUMP_OPTIONS_H

#include <string>
#include <vector>

#include "tools/velmdump/show.h"

struct velmdump_options {
    enum command_type { show, check, exports, imports, diff, map };

    command_type command = show;
    std::vector<std::string> files;
    show_options parts;         ///< show
    bool json = false;          ///< show
    std::string against;        ///< imports: file with the names that the base image offers
    bool ignore_stamp = false;  ///< diff
    std::string output;         ///< map
};

/// Reads the arguments. Returns -1 when there is work to do; else the exit status of the run: 0 after --help and
/// --version, 2 when the arguments are wrong (a message went to standard error).
int parse_options(int argc, char** argv, velmdump_options& options);

#endif

// A module for people to read.
#ifndef MODFORGE_TOOLS_VELMDUMP_SHOW_H
#define MODFORGE_TOOLS_VELMDUMP_SHOW_H

#include <cstdio>
#include <string>
#include <string_view>

#include "tools/velmdump/module_file.h"
#include "tools/velmdump/module_words.h"

struct show_options {
    bool symbols = false;
    bool strings = false;
    bool packets = false;
    bool relocs = false;
    std::string contents;  ///< a section's name, "*" for all, empty for none
};

/// Prints the summary and what the options ask for; of an unsound module it says so first. False when a section is asked
/// for that is not there. Names of more than 255 bytes are cut, but not in the list of strings.
bool show_module(const module_file& file, const show_options& options, std::FILE* out);

#endif

// A module for people to read.
#ifndef MODFORGE_TOOLS_VELMDUMP_SHOW_H
#define MODFORGE_TOOLS_VELMDUMP_SHOW_H

#include <cstdio>
#include <string>
#include <string_view>

#include "tools/velmdump/velm_module.h"

struct show_options {
    bool symbols = false;
    bool strings = false;
    bool packets = false;
    bool relocs = false;
    std::string contents;  ///< a section's name, "*" for all, empty for none
};

/// Prints the summary and what the options ask for. False when a section is asked for that is not there.
bool show_module(const velm_module& module, const char* path, const show_options& options, std::FILE* out);

/// The section's flags in words: "code", "relocated", "contents", "aligned to 2^n".
std::string flag_words(std::uint16_t flags);

/// "R_RELLONG", or "type 22" for a type without a name.
std::string type_words(std::uint16_t type);

#endif

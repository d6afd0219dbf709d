// Whether a module is sound: its checksums, and everything that the module format implies.
#ifndef MODFORGE_TOOLS_VELMDUMP_CHECKS_H
#define MODFORGE_TOOLS_VELMDUMP_CHECKS_H

#include <vector>

#include "tools/velmdump/findings.h"
#include "tools/velmdump/velm_module.h"

/// Every finding, in the order of the file; one cause gives one finding. Errors: no converter wrote this. Warnings:
/// legal, but a loader or its user may be in for a surprise.
std::vector<finding> check_module(const velm_module& module);

/// Whether there is an error among them.
bool has_errors(const std::vector<finding>& findings);

/// Which parts of a module add up. One that does not is not judged further: what is found in it would be the same
/// damage, told again.
struct sound_parts {
    bool header = false;
    bool strings = false;
    bool sections = false;
    bool symbols = false;
};

#endif

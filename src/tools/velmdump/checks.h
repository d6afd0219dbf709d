// Whether a module is sound: its checksums, and everything that the module format implies.
#ifndef MODFORGE_TOOLS_VELMDUMP_CHECKS_H
#define MODFORGE_TOOLS_VELMDUMP_CHECKS_H

#include <vector>

#include "tools/velmdump/check_report.h"
#include "tools/velmdump/velm_module.h"

/// Every finding, in the order of the file. Errors: no converter wrote this. Warnings: legal, but a loader or its
/// user may be in for a surprise.
std::vector<finding> check_module(const velm_module& module);

/// Whether there is an error among them.
bool has_errors(const std::vector<finding>& findings);

#endif

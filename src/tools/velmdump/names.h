// The names that a module offers and asks for, for scripts and for builds.
#ifndef MODFORGE_TOOLS_VELMDUMP_NAMES_H
#define MODFORGE_TOOLS_VELMDUMP_NAMES_H

#include <cstdio>
#include <string>
#include <vector>

#include "tools/velmdump/velm_module.h"

/// The names, as their bytes stand in the module, in symbol order, each once.
std::vector<std::string> exported_names(const velm_module& module);
std::vector<std::string> imported_names(const velm_module& module);

/// Those of `wanted` that are no line of `list`.
std::vector<std::string> missing_names(const std::vector<std::string>& wanted, const std::vector<unsigned char>& list);

/// Prints one name a line.
void print_names(const std::vector<std::string>& names, std::FILE* out);

#endif

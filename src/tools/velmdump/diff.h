// What two modules mean differently.
#ifndef MODFORGE_TOOLS_VELMDUMP_DIFF_H
#define MODFORGE_TOOLS_VELMDUMP_DIFF_H

#include <cstdio>

#include "tools/velmdump/velm_module.h"

/// Prints a line for each difference in header, sections, symbols, relocations and contents; how the same contents are
/// cut into packets, numbered or summed does not count. Returns the number of lines.
unsigned long diff_modules(const velm_module& a, const velm_module& b, bool ignore_stamp, std::FILE* out);

#endif

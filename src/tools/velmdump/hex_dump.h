// Contents for people to read.
#ifndef MODFORGE_TOOLS_VELMDUMP_HEX_DUMP_H
#define MODFORGE_TOOLS_VELMDUMP_HEX_DUMP_H

#include <cstdio>

#include "tools/velmdump/velm_module.h"

/// Prints the contents of a section, 16 bytes a line: the run address, the bytes grouped to address units, in the order
/// in which they lie in the file, and what of them is text.
void print_hex_dump(const velm_module& module, const section_place& section, std::FILE* out);

#endif

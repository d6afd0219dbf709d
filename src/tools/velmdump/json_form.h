// A module as one JSON document; docs/velmdump.schema.json describes it.
#ifndef MODFORGE_TOOLS_VELMDUMP_JSON_FORM_H
#define MODFORGE_TOOLS_VELMDUMP_JSON_FORM_H

#include <cstdio>

#include "tools/velmdump/velm_module.h"

/// Prints everything that the module holds, contents included, and the findings of its checks.
void print_json(const velm_module& module, const char* path, std::FILE* out);

#endif

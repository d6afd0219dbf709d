// A module as one JSON document; docs/velmdump.schema.json describes it.
#ifndef MODFORGE_TOOLS_VELMDUMP_JSON_FORM_H
#define MODFORGE_TOOLS_VELMDUMP_JSON_FORM_H

#include <cstdio>

#include "tools/common/json_writer.h"
#include "tools/velmdump/module_file.h"

/// Prints everything that the module holds, contents included, and the findings of its checks. Names of symbols and
/// sections that are longer than `longest_json_name` stand in the list of strings only.
void print_json(const module_file& file, std::FILE* out);

inline constexpr std::size_t longest_json_name = 512;

/// Findings as elements of the array that is open.
void put_findings(json_writer& json, const std::vector<finding>& findings);

#endif

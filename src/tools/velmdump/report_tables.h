// The tables of the report that sort and filter.
#ifndef MODFORGE_TOOLS_VELMDUMP_REPORT_TABLES_H
#define MODFORGE_TOOLS_VELMDUMP_REPORT_TABLES_H

#include <cstdio>
#include <string>

#include "tools/velmdump/module_file.h"

/// Each prints one table with its data; `id` is that of the module in the page.
void print_findings_table(const module_file& file, const std::string& id, std::FILE* out);
void print_sections_table(const velm_module& module, const std::string& id, std::FILE* out);
void print_symbols_table(const velm_module& module, const std::string& id, std::FILE* out);
void print_relocs_table(const velm_module& module, const std::string& id, std::FILE* out);

/// So many findings or relocations of a module are in the page at most.
inline constexpr std::uint64_t most_report_rows = 50000;

#endif

// Modules as one page for a browser.
#ifndef MODFORGE_TOOLS_VELMDUMP_REPORT_PAGE_H
#define MODFORGE_TOOLS_VELMDUMP_REPORT_PAGE_H

#include <cstdio>
#include <vector>

#include "tools/velmdump/module_file.h"

/// Prints the page, which needs nothing but itself: HTML that is well-formed XML, too.
void print_report(const std::vector<module_file>& files, std::FILE* out);

/// What the page looks like and how its tables work.
extern const char* const report_style;
extern const char* const report_script;

#endif

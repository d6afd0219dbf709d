// The string table: laid out without gaps, in the order of the first use, each name once.
#ifndef MODFORGE_TOOLS_VELMDUMP_STRING_CHECKS_H
#define MODFORGE_TOOLS_VELMDUMP_STRING_CHECKS_H

class check_report;
class velm_module;

void check_strings(const velm_module& module, check_report& report);

#endif

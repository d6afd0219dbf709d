// Symbol records.
#ifndef MODFORGE_TOOLS_VELMDUMP_SYMBOL_CHECKS_H
#define MODFORGE_TOOLS_VELMDUMP_SYMBOL_CHECKS_H

class finding_list;
class velm_module;
struct sound_parts;

/// Classes, sections, names and values. One finding for a record at most, but for a name that is exported twice.
void check_symbols(const velm_module& module, const sound_parts& parts, finding_list& report);

#endif

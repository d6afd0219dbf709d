// The string table: laid out without gaps, in the order of the first use, each name once.
#ifndef MODFORGE_TOOLS_VELMDUMP_STRING_CHECKS_H
#define MODFORGE_TOOLS_VELMDUMP_STRING_CHECKS_H

class finding_list;
class velm_module;
struct sound_parts;

/// That the names lie one behind the other in the order of their use, each once, and as long as the header says.
void check_strings(const velm_module& module, const sound_parts& parts, finding_list& report);

/// Whether the string table begins with the name of the module, as it does unless only symbols were wanted.
bool begins_with_module_name(const velm_module& module);

#endif

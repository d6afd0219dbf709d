// Section headers and the entry point.
#ifndef MODFORGE_TOOLS_VELMDUMP_SECTION_CHECKS_H
#define MODFORGE_TOOLS_VELMDUMP_SECTION_CHECKS_H

class finding_list;
class velm_module;
struct section_place;
struct sound_parts;

/// Flags against packets, names and addresses; the order of the sections; sections that lie over each other; the entry
/// point.
void check_sections(const velm_module& module, const sound_parts& parts, finding_list& report);

/// Whether the header says 0 where the section's addresses were: a copy section with contents.
bool is_copy_without_address(const section_place& section);

#endif

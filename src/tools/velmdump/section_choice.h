// Sections as the user names them.
#ifndef MODFORGE_TOOLS_VELMDUMP_SECTION_CHOICE_H
#define MODFORGE_TOOLS_VELMDUMP_SECTION_CHOICE_H

#include <string>

#include "tools/velmdump/velm_module.h"

/// The section with that name or, as no module has to have distinct names, with that number. Null, after a message on
/// standard error, when there is none or more than one.
const section_place* one_section(const velm_module& module, const std::string& wanted);

#endif

// A picture of a module.
#ifndef MODFORGE_TOOLS_VELMDUMP_SVG_MAP_H
#define MODFORGE_TOOLS_VELMDUMP_SVG_MAP_H

#include <cstdio>

#include "tools/velmdump/velm_module.h"

/// Draws the sections to scale, with their packets, how dense the relocations are in each, and the exported symbols at
/// their places. The picture needs nothing but a browser.
void draw_map(const velm_module& module, const char* title, std::FILE* out);

#endif

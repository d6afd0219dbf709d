// A module as a picture.
#ifndef MODFORGE_TOOLS_VELMDUMP_SVG_MAP_H
#define MODFORGE_TOOLS_VELMDUMP_SVG_MAP_H

#include <cstdio>
#include <string>
#include <vector>

#include "tools/velmdump/findings.h"
#include "tools/velmdump/velm_module.h"

struct map_options {
    std::string title;
    std::string prefix = "velm";  ///< of the ids in the picture, for pages that hold several
};

/// Prints the module as one SVG element. `findings` are those of check_module, none of them an error.
void draw_map(const velm_module& module, const std::vector<finding>& findings, const map_options& options,
              std::FILE* out);

#endif

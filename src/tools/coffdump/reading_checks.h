// What modforge refuses while it reads a COFF file.
#ifndef MODFORGE_TOOLS_COFFDUMP_READING_CHECKS_H
#define MODFORGE_TOOLS_COFFDUMP_READING_CHECKS_H

#include <string>

#include "tools/coffdump/findings.h"
#include "tools/coffdump/raw_image.h"

/// Adds what is wrong to `findings`, and mends it in `image`, so that what lies behind it can be looked at, too. False
/// when there is nothing behind it. `path`: as modforge would name the file.
bool check_reading(raw_image& image, const std::string& path, finding_list& findings);

#endif

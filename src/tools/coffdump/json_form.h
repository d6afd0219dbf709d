// A COFF file as one JSON document.
#ifndef MODFORGE_TOOLS_COFFDUMP_JSON_FORM_H
#define MODFORGE_TOOLS_COFFDUMP_JSON_FORM_H

#include <cstdio>

class COFF_FILE;

/// Prints everything that `input`, which has been read, holds. Names that are not UTF-8 have their stray bytes
/// replaced, and stand in hex beside.
void print_json(COFF_FILE& input, const char* path, std::FILE* out);

#endif

// The parts of a COFF file as text for people.
#ifndef MODFORGE_TOOLS_COFFDUMP_SHOW_H
#define MODFORGE_TOOLS_COFFDUMP_SHOW_H

#include <cstdio>
#include <string>

class COFF_FILE;
struct coffdump_options;

/// A page about the whole file: headers, a line per section, how many symbols there are of which kind.
void list_summary(COFF_FILE& input, std::FILE* out);

/// What the options ask for. False, with a message on standard error, when a section is asked for that is not there.
bool list_parts(COFF_FILE& input, const coffdump_options& options, std::FILE* out);

#endif

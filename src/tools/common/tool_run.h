// How the run of a companion begins and ends, and its voice for errors.
#ifndef MODFORGE_TOOLS_COMMON_TOOL_RUN_H
#define MODFORGE_TOOLS_COMMON_TOOL_RUN_H

/// The exit statuses of the companions.
enum tool_status {
    status_good = 0,     ///< sound, nothing missing, the same
    status_faults = 1,   ///< faults, or missing, or different
    status_trouble = 2,  ///< wrong usage, or input/output trouble
};

/// To be called first in main. `name` (the text must stay) is what every message begins with. From now on running out
/// of memory is a message and the status `status_trouble`, and a reader of standard output who goes away, or a limit
/// on the size of files, is an error of the write and no signal.
void begin_tool(const char* name);

/// One line on standard error: the name of the program, a colon, and the message, which has no line break.
[[gnu::format(printf, 1, 2)]] void complain(const char* format, ...);

/// Whether standard output has taken all that was printed so far. If not, a message says so, once.
bool standard_output_is_good();

/// To be called last: the status with which main ends. That is `status`, or `status_trouble` unless
/// standard_output_is_good().
int end_tool(int status);

#endif

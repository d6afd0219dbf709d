// The converter's own voice for errors: one line on standard error, then the end of the run.
#ifndef MODFORGE_MSG_ERROR_EXIT_H
#define MODFORGE_MSG_ERROR_EXIT_H

/// Prints the message as it stands, line break included in `format`, and ends the run with status 1.
[[noreturn]] [[gnu::format(printf, 1, 2)]] void error_exit(const char* format, ...);

#endif

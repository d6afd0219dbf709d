// The command line: from arguments to the option globals.
#ifndef MODFORGE_DRIVER_OPTIONS_H
#define MODFORGE_DRIVER_OPTIONS_H

/// Prints the usage text on standard error and ends the run with status 1.
[[noreturn]] void usage();

/// Reads the arguments (argv[0] is not looked at) into the globals of convert/options.h. Returns only when an input was
/// named and every option is good; otherwise says why on standard error and ends the run with status 1.
void proc_args(int argc, char** argv);

/// Derives filename_out from filename_in: the same directory, the extension of the output mode. Ends the run with
/// status 1 when there is no memory for it.
void build_outfile_name();

#endif

// The options of a run: plain globals, set once by proc_args, read everywhere. Leaf header.
#ifndef MODFORGE_DRIVER_OPTIONS_H
#define MODFORGE_DRIVER_OPTIONS_H

#include <cstdint>

class SLIST;

extern const char* filename_in;            ///< the COFF input; points into the argument vector; null until named
extern char* filename_out;                 ///< the module to write; owned by the driver; null until known
extern std::int32_t image_packet_size;     ///< most data bytes in one image packet: 300 to 1024, a multiple of 4
extern std::uint8_t symbols_only;          ///< -s: no entry point, no contents
extern std::uint8_t hex_output_mode;       ///< -fc: C-style text instead of the binary module
extern std::uint8_t warn_missing_symbols;  ///< cleared by -q
extern std::uint8_t allow_runtime_cinit;   ///< -c: leaves ".cinit" an ordinary section
extern SLIST entries_files_list;           ///< names of the entries files (const char*), in command-line order

/// Prints the usage text on standard error and ends the run with status 1.
[[noreturn]] void usage();

/// Reads the arguments (argv[0] is not looked at) into the globals above. Returns only when an input was named and
/// every option is good; otherwise says why on standard error and ends the run with status 1.
void proc_args(int argc, char** argv);

/// Derives filename_out from filename_in: the same directory, the extension of the output mode. Ends the run with
/// status 1 when there is no memory for it.
void build_outfile_name();

/// Frees filename_out and makes it null.
void release_filename_out();

#endif

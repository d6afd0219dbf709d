// The options of a run: plain globals, set by the driver from the command line and read from here upwards.
#ifndef MODFORGE_CONVERT_OPTIONS_H
#define MODFORGE_CONVERT_OPTIONS_H

#include <cstdint>
#include <memory>

class SLIST;

extern const char* filename_in;            ///< the COFF input; points into the argument vector; null until named
extern char* filename_out;                 ///< the module to write; null until known; see own_filename_out()
extern std::int32_t image_packet_size;     ///< most data bytes in one image packet: see format/limits.h
extern std::uint8_t symbols_only;          ///< -s: no entry point, no contents
extern std::uint8_t hex_output_mode;       ///< -fc: C-style text instead of the binary module
extern std::uint8_t warn_missing_symbols;  ///< cleared by -q
extern std::uint8_t allow_runtime_cinit;   ///< -c: leaves ".cinit" an ordinary section
extern SLIST entries_files_list;           ///< names of the entries files (const char*), in command-line order

/// Makes `name` the output name; the one before is freed.
void own_filename_out(std::unique_ptr<char[]> name);

/// Frees filename_out and makes it null.
void release_filename_out();

#endif

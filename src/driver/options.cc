// The command line: one dispatch on the character behind the dash.
#include "driver/options.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "containers/slist.h"
#include "convert/file_names.h"
#include "convert/options.h"
#include "format/limits.h"
#include "msg/allocation.h"
#include "msg/end_run.h"
#include "msg/error_exit.h"

namespace {

/// Makes `text` + room for `extra` characters the output name.
void set_filename_out(const char* text, std::size_t extra) {
    const std::size_t length = std::strlen(text);
    auto storage = std::make_unique<char[]>(length + extra + 1);
    std::memcpy(storage.get(), text, length + 1);
    own_filename_out(std::move(storage));
}

[[noreturn]] void invalid_option(const char* argument) {
    std::fprintf(stderr, "Invalid option %s\n\n", argument);
    usage();
}

/// The text behind "-x=", or the end of the run when the argument has no "=" there.
const char* value_of(const char* argument) {
    if (argument[2] != '=')
        invalid_option(argument);
    return argument + 3;
}

void want_two_characters(const char* argument) {
    if (argument[2] != '\0')
        invalid_option(argument);
}

void set_packet_size(const char* text) {
    // Junk behind the digits is accepted, and no digits are 0, on purpose. What strtol saturates is judged as it is.
    const long size = std::strtol(text, nullptr, 10);
    if (size < min_packet_size)
        error_exit("ERROR: Invalid value for image packet size: Minimum is %d bytes\n", min_packet_size);
    if (size > max_packet_size)
        error_exit("ERROR: Invalid value for image packet size: Maximum is %d bytes\n", max_packet_size);
    if (size % 4 != 0)
        error_exit("ERROR: Image packet size must align to a 32-bit boundary\n");
    image_packet_size = static_cast<std::int32_t>(size);
}

void take_output_name(const char* name) {
    const allocation_scope scope(
        "ERROR: Unable to allocate storage for                                 output filename\n");
    set_filename_out(name, 0);
}

void take_option(const char* argument) {
    switch (argument[1]) {
    case '?':
    case 'h':
        want_two_characters(argument);
        usage();
    case 'c':  // whatever stands behind "-c" and "-fc" is ignored, on purpose
        allow_runtime_cinit = 1;
        break;
    case 'e':
        entries_files_list.append(const_cast<char*>(value_of(argument)));
        break;
    case 'f':
        if (argument[2] != 'c')
            invalid_option(argument);
        hex_output_mode = 1;
        break;
    case 'o':
        take_output_name(value_of(argument));
        break;
    case 'p':
        set_packet_size(value_of(argument));
        break;
    case 'q':
        want_two_characters(argument);
        warn_missing_symbols = 0;
        break;
    case 's':
        want_two_characters(argument);
        symbols_only = 1;
        break;
    default:
        invalid_option(argument);
    }
}

}  // namespace

void usage() {
    // "[h]" without its dash and the blank at the end of the -q line stay as they are.
    std::fputs("Usage: modforge [options] <filename>\n\n"
               "\t[-?] [h]\t\t Help\n"
               "\t[-e=<entries-filename>]\t Entries file name\n"
               "\t[-fc]\t\t\t Output in C-style format\n"
               "\t[-o=<filename>]\t\t Name of the output file\n"
               "\t[-p=num]\t\t Image packet size\n"
               "\t[-q]\t\t\t Do not warn if required entries file \n"
               "\t\t\t\t symbols are missing from <filename>\n"
               "\t[-s]\t\t\t Produce symbols only\n\n",
               stderr);
    end_run(EXIT_FAILURE);
}

void proc_args(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (argv[i][0] == '-')
            take_option(argv[i]);
        else
            filename_in = argv[i];
    }
    if (!filename_in)
        usage();
}

void build_outfile_name() {
    const allocation_scope scope("ERROR: Unable to allocate storage for output filename\n");
    const char* extension = hex_output_mode ? ".hex" : ".vlm";
    set_filename_out(filename_in, std::strlen(extension) + 1);
    fn_addext(filename_out, extension, 1);
}

// The run from start to end.
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "convert/entries_files.h"
#include "convert/options.h"
#include "convert/velm_file.h"
#include "driver/options.h"
#include "driver/table_memory.h"
#include "output/velm_writer.h"
#include "packets/image_packets.h"

namespace {

/// A reader that went away and a file that may not grow any more are failed writes like others, with their message.
void turn_signals_into_errors() {
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN);
#endif
#ifdef SIGXFSZ
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

/// Nobody needs to see it: a standard output that is closed or full is no reason to stop.
void print_banner() {
    std::printf("modforge Utility v%s\n", MODFORGE_VERSION);
    std::printf("Converts a linked COFF executable into a dynamically loadable VELM module.\n\n");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    turn_signals_into_errors();
    print_banner();
    proc_args(argc, argv);
    prepare_table_memory(filename_in);
    if (coff_file.read(filename_in, false) != 0)
        return EXIT_FAILURE;  // the reader has said why
    setup_entries_lists();
    init_velm_file();
    build_velm();
    if (!filename_out)
        build_outfile_name();
    write_velm();
    cleanup_velm();
    return EXIT_SUCCESS;
}

// Whole conversions, in memory: any input with any entries file ends in a module or in a message.
//
// An input is a byte of options, a byte that tells how long the entries file is, the entries file, and the COFF file.
#include <climits>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "convert/entries_files.h"
#include "convert/options.h"
#include "convert/velm_file.h"
#include "driver/options.h"
#include "msg/user_msg.h"
#include "output/velm_writer.h"
#include "packets/image_packets.h"
#include "survive.h"

namespace {

enum : unsigned { no_entries = 0x10 };

void set_options(unsigned bits) {
    symbols_only = hex_output_mode = allow_runtime_cinit = 0;
    warn_missing_symbols = 1;
    image_packet_size = 1024;
    std::string arguments[] = {"modforge", "-o=/dev/null", "", "", "", "", "fuzz.out"};
    if (bits & 0x01)
        arguments[2] = "-s";
    if (bits & 0x02)
        arguments[3] = "-fc";
    if (bits & 0x04)
        arguments[4] = "-c";
    if (bits & 0x08)
        arguments[5] = "-p=300";
    static std::string input = "fuzz.out";  // filename_in points to it after this function
    char* argv[8] = {};
    int argc = 0;
    for (std::string& argument : arguments)
        if (!argument.empty())
            argv[argc++] = argument.data();
    argv[argc - 1] = input.data();
    proc_args(argc, argv);
}

void convert(unsigned bits, std::FILE* entries, std::FILE* input) {
    set_options(bits);
    if (coff_file.read(input, false) != 0)
        return;
    if (!(bits & no_entries)) {
        static char name[] = "fuzz.entries";
        entries_files_list.append(name);
        read_in_entries(entries, name);
    }
    init_velm_file();
    build_velm();
    write_velm();
}

/// Brings every global back to where a process starts.
void start_afresh() {
    cleanup_velm();
    c2v_scn_xtbl.clear();
    sym_refd.clear();
    scn_refd.clear();
    entries_files_list.clear();
    std::destroy_at(&velm_file);
    std::construct_at(&velm_file);
    std::destroy_at(&coff_file);
    std::construct_at(&coff_file, true);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size - 2 < data[1])
        return 0;
    UMSG.set_max_errors(INT32_MAX);  // errors add up over the runs
    const std::size_t entries_size = data[1];
    const auto entries = stream_of(data + 2, entries_size);
    const auto input = stream_of(data + 2 + entries_size, size - 2 - entries_size);
    survive([&] { convert(data[0], entries.get(), input.get()); });
    start_afresh();
    return 0;
}

// The option globals with their values before the command line is read.
#include "convert/options.h"

#include <utility>

#include "format/limits.h"

const char* filename_in;
char* filename_out;
std::int32_t image_packet_size = max_packet_size;
std::uint8_t symbols_only = 0;
std::uint8_t hex_output_mode = 0;
std::uint8_t warn_missing_symbols = 1;
std::uint8_t allow_runtime_cinit = 0;

namespace {

constinit std::unique_ptr<char[]> filename_out_storage;  // what filename_out points to

}  // namespace

void own_filename_out(std::unique_ptr<char[]> name) {
    filename_out_storage = std::move(name);
    filename_out = filename_out_storage.get();
}

void release_filename_out() {
    own_filename_out(nullptr);
}

// The home of every global that more than one source file uses: here, and nowhere else, is their order.
//
// They are destroyed in reverse, also when the run ends in the middle. Standard streams need no initialiser: the
// program uses those of C only. UMSG needs none either: it is a constant and lives in msg.
#include "containers/slist.h"
#include "convert/entries_files.h"
#include "convert/velm_file.h"
#include "driver/options.h"
#include "msg/allocation.h"
#include "output/string_table.h"
#include "packets/image_packets.h"

namespace {
/// First of all: the objects below allocate.
const struct allocation_handler {
    allocation_handler() { install_allocation_handler(); }
} handler;
}  // namespace

COFF_FILE coff_file(true);
class velm_file velm_file;
SLIST entries_files_list;

SLIST entries_prefix_list;
SLIST entries_symbols_section_list;
entries_index entries_lookup;
entries_file_sym* entry_sym_table[entries_buckets];
entries_file_sym* entry_section_table[entries_buckets];
std::uint32_t hash_key;
std::uint32_t last_length;

std::vector<std::uint16_t> c2v_scn_xtbl;
std::vector<velm_symbol*> c2v_symbol_xtbl;
std::vector<std::uint8_t> sym_refd;
std::vector<std::uint8_t> scn_refd;

const std::uint32_t* str_table_buf;
std::uint32_t cur_byte_offset;

const char* filename_in;
char* filename_out;
std::int32_t image_packet_size = 1024;
std::uint8_t symbols_only = 0;
std::uint8_t hex_output_mode = 0;
std::uint8_t warn_missing_symbols = 1;
std::uint8_t allow_runtime_cinit = 0;

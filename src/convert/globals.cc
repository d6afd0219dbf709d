// The globals of the module model: here is their order, and with them the one option that has a constructor. The other
// options stand in options.cc, what belongs to one stage with that stage.
//
// They are destroyed in reverse, also when the run ends in the middle. Standard streams need no initialiser: the
// program uses those of C only. UMSG needs none either: it is a constant and lives in msg.
#include "containers/slist.h"
#include "convert/entries_files.h"
#include "convert/options.h"
#include "convert/velm_file.h"
#include "msg/allocation.h"

namespace {
/// First of all: the objects below allocate.
const struct allocation_handler {
    allocation_handler() { install_allocation_handler(); }
} handler;
}  // namespace

COFF_FILE coff_file(true);
class velm_file velm_file;
SLIST entries_files_list;

entries_table entry_sym_table;
entries_table entry_section_table;
prefix_table entries_prefix_list;
entries_table entries_symbols_section_list;

std::vector<std::uint16_t> c2v_scn_xtbl;
std::vector<std::uint16_t> c2v_symbol_xtbl;
std::vector<std::uint8_t> sym_refd;
std::vector<std::uint8_t> scn_refd;

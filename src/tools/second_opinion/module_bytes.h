// Lays out what stands before the packets of a module, and sums it up.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_MODULE_BYTES_H
#define MODFORGE_TOOLS_SECOND_OPINION_MODULE_BYTES_H

#include "tools/second_opinion/bytes.h"
#include "tools/second_opinion/coff_input.h"
#include "tools/second_opinion/name_table.h"
#include "tools/second_opinion/selection.h"

namespace second_opinion {

/// Bytes from the start of the module to its first packet. The names must be padded.
u64 front_size(const selection& selected, const name_table& names);

/// Fills the front of the module, front_size() bytes, which has its packets already.
void fill_front(const coff_input& input, const selection& selected, const name_table& names, byte_order order,
                bytes& module);

}  // namespace second_opinion

#endif

// A module in another byte order, and in the text form.
#ifndef MODFORGE_TOOLS_VELMDUMP_BYTE_ORDER_H
#define MODFORGE_TOOLS_VELMDUMP_BYTE_ORDER_H

#include <cstdio>

#include "tools/velmdump/velm_module.h"

/// The module as a writer of that byte order would have written it, in the binary form: numbers turned, sums made anew,
/// names, contents and the descriptors of fields left as they are, because single bytes have no order. `module` must
/// be sound; in its own order it gives its own bytes.
module_bytes in_byte_order(const velm_module& module, bool big_endian);

/// Prints the words of a module as the text form has them. The caller looks for errors of the stream.
void print_as_text(const module_bytes& module, std::FILE* out);

#endif

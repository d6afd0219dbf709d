// Cuts the contents of a section into image packets, each with the relocations of its fields.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_PACKETS_H
#define MODFORGE_TOOLS_SECOND_OPINION_PACKETS_H

#include "tools/second_opinion/bytes.h"
#include "tools/second_opinion/coff_input.h"
#include "tools/second_opinion/conversion.h"
#include "tools/second_opinion/selection.h"

namespace second_opinion {

/// Thrown when the module becomes longer than its user wants it.
struct too_long {};

/// The module as far as it is made.
struct made_module {
    u64 size = 0;
    bytes* data = nullptr;  ///< its bytes; null if they are not kept
};

/// Appends the packets of a section with contents to the module and counts them and their relocations in `scn`.
/// True when some relocation lies where the format does not want it: out of order, or not wholly in its packet.
/// Throws a refusal, or too_long.
bool append_packets(module_section& scn, const coff_input& input, const selection& selected,
                    const conversion_request& request, made_module& module);

}  // namespace second_opinion

#endif

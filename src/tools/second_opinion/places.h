// Which record and field of a module a byte lies in.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_PLACES_H
#define MODFORGE_TOOLS_SECOND_OPINION_PLACES_H

#include <string>

#include "tools/second_opinion/bytes.h"
#include "tools/second_opinion/facts.h"

namespace second_opinion {

/// Behind the records of fixed size, where the string table starts.
inline constexpr u64 tables_start = u64{module_header_size} + verification_size;

/// A field of a module.
struct place {
    u64 start = 0, end = 0;  ///< file offsets
    bool is_number = false;  ///< a number of `end` - `start` bytes; else bytes without an order
    std::string name = {};   ///< "symbol 3 (_main): value"
};

/// The field that holds the byte at `offset` of a module that convert() made in binary form.
place place_of(const bytes& module, byte_order order, u64 offset);

}  // namespace second_opinion

#endif

// What two modules mean differently.
#ifndef MODFORGE_TOOLS_VELMDUMP_DIFF_H
#define MODFORGE_TOOLS_VELMDUMP_DIFF_H

#include <functional>
#include <string>
#include <string_view>

#include "tools/velmdump/velm_module.h"

/// One thing that differs.
struct difference {
    const char* part;       ///< "module", "section" or "symbol"
    std::string_view name;  ///< of the section or symbol, as it stands in the module
    std::string_view text;  ///< printable; gone when the next difference is found
};

/// "section .text: ", to stand before the text; empty for the module.
std::string subject_words(const difference& d);

/// Hands over each difference in header, sections, symbols, relocations and contents of two sound modules; how the same
/// contents are cut into packets, numbered or summed does not count. Returns how many there were.
unsigned long diff_modules(const velm_module& a, const velm_module& b, bool ignore_stamp,
                           const std::function<void(const difference&)>& tell);

#endif

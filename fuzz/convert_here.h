// Whole conversions by the converter's own stages in this process, thousands in a second, held against the second
// opinion.
#ifndef MODFORGE_FUZZ_CONVERT_HERE_H
#define MODFORGE_FUZZ_CONVERT_HERE_H

#include <string>

#include "tools/second_opinion/conversion.h"

/// What a run of the program would give, without its banner.
struct outcome {
    int status = 0;
    std::string out = {};  ///< standard output
    std::string err = {};  ///< standard error
    bool wrote = false;    ///< there is an output file
    second_opinion::bytes module = {};
};

/// Converts as the program would. Afterwards every global is back where a process starts.
outcome convert_here(const second_opinion::conversion_request& request);

/// What is not as the second opinion says, or against what holds for any run: status 0 or 1, a message and no file when
/// it is 1. Empty when all is well.
std::string fault_of(const outcome& is, const second_opinion::conversion_request& request);

#endif

// A request in the words of a command line.
#ifndef MODFORGE_TESTS_SUPPORT_REQUEST_OPTIONS_H
#define MODFORGE_TESTS_SUPPORT_REQUEST_OPTIONS_H

#include <string>
#include <utility>
#include <vector>

#include "tools/second_opinion/conversion.h"

namespace support {

/// The options that say what `request` asks for; entries files and input are not among them.
inline std::vector<std::string> options_of(const second_opinion::conversion_request& request) {
    std::vector<std::string> options = {"-p=" + std::to_string(request.packet_size)};
    for (const auto& [chosen, option] : {std::pair{request.symbols_only, "-s"},
                                         {request.c_text, "-fc"},
                                         {request.quiet, "-q"},
                                         {request.keep_cinit, "-c"}})
        if (chosen)
            options.emplace_back(option);
    return options;
}

}  // namespace support

#endif

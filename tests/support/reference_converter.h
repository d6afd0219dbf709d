// What a run of modforge must give, worked out a second time and as plainly as possible.
//
// It answers for inputs as a whole: the module's bytes, both outputs, the exit status. It is slow, keeps everything
// in maps and vectors and shares no code with the product, so that one fault is unlikely to sit in both.
#ifndef MODFORGE_SUPPORT_REFERENCE_CONVERTER_H
#define MODFORGE_SUPPORT_REFERENCE_CONVERTER_H

#include <string>
#include <vector>

#include "support/bytes.h"

namespace support {

/// What the user hands to a run.
struct conversion_request {
    std::string input_name = "app.out";     ///< as spelt on the command line
    bytes input = {};                       ///< what that file holds
    std::vector<std::string> entries = {};  ///< contents of the -e files, in order
    bool symbols_only = false;              ///< -s
    bool c_text = false;                    ///< -fc
    bool quiet = false;                     ///< -q
    bool keep_cinit = false;                ///< -c
    int packet_size = 1024;                 ///< -p
};

/// What the run must give back.
struct conversion {
    int status = 0;
    std::string out;            ///< standard output behind the banner
    std::string err;            ///< standard error
    bool wording_open = false;  ///< an error follows `err` whose words are the product's own choice
    bytes module;               ///< contents of the output file; nothing is written when status is 1
};

conversion convert(const conversion_request& request);

}  // namespace support

#endif

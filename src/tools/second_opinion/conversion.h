// A second opinion: what a run of modforge must give, worked out anew from the input.
//
// It answers for a conversion as a whole: the module's bytes, both outputs, the exit status. It reads the COFF file
// and the entries files by itself, keeps its own statement of the facts, and shares no code with the converter, so that
// one fault is unlikely to sit in both. Builds compare modules with it (velmdump verify), and so do the tests.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_CONVERSION_H
#define MODFORGE_TOOLS_SECOND_OPINION_CONVERSION_H

#include <string>
#include <vector>

#include "tools/second_opinion/bytes.h"
#include "tools/second_opinion/facts.h"

namespace second_opinion {

struct account;

/// What the user hands to a run. The options are those of modforge.
struct conversion_request {
    std::string input_name = "app.out";     ///< as spelt on the command line
    bytes input = {};                       ///< what that file holds
    std::vector<std::string> entries = {};  ///< contents of the -e files, in order
    bool symbols_only = false;              ///< -s
    bool c_text = false;                    ///< -fc
    bool quiet = false;                     ///< -q
    bool keep_cinit = false;                ///< -c
    int packet_size = greatest_packet;      ///< -p; one that modforge accepts
    byte_order order = host_order;          ///< of the machine that writes the module
    u64 most_bytes = largest_module;        ///< a longer module is not made: the conversion is then unfinished
    bool account_only = false;              ///< the module is worked out, but its bytes are not kept
};

/// What the run must give back.
struct conversion {
    int status = 0;
    bool unfinished = false;    ///< the module would be longer than the request allows; nothing else is known
    std::string out = {};       ///< standard output behind the banner
    std::string err = {};       ///< standard error
    bool wording_open = false;  ///< an error follows `err` whose words are the converter's own choice
    std::string why = {};       ///< with status 1: why there can be no module
    bytes module = {};          ///< contents of the output file; empty when the status is 1
};

/// Never fails but for want of memory. `told`, unless null, gets what became of everything in the input if that was
/// converted; it refers to the request, which must outlive it.
conversion convert(const conversion_request& request, account* told = nullptr);

/// A module, whose words are in `order`, in the C-style text form.
bytes as_text(const bytes& module, byte_order order);

}  // namespace second_opinion

#endif

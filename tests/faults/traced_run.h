// Runs a program under ptrace and lets one of its system calls on files fail, as a disk, a network or a signal would.
#ifndef MODFORGE_FAULTS_TRACED_RUN_H
#define MODFORGE_FAULTS_TRACED_RUN_H

#include <cstddef>
#include <string>
#include <vector>

namespace faults {

enum class call_kind { open, read, seek, write, stat, close, remove };

/// A call on a standard stream, on a file with a relative name, or on a file without a name.
struct call {
    call_kind kind;
    int file;          ///< its descriptor; -1 when the call has a name instead
    std::string name;  ///< the file's; "" for standard streams and files without one
    bool creates;      ///< opens for writing
};

struct fault {
    std::size_t nth;  ///< which of the calls, from 0
    int error;  ///< the errno; 0: it does half of what was asked (`read` and `write` only); -1: `read` gives the end
    bool for_ever;  ///< so do all later calls of its kind on the same file, or of any `open`
};

struct traced_result {
    int status = -1;  ///< exit status; -1 when a signal ended the program, which is what happens after 20 seconds
    std::string out, err;
    std::vector<call> calls;
};

/// Runs argv[0] in `directory`, with the file `input` there as standard input.
traced_result run_traced(const std::vector<std::string>& argv, const std::string& directory, const std::string& input,
                         const fault* planned);

}  // namespace faults

#endif

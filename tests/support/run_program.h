// Runs a built program the way a user does, and gives tests a directory to do it in.
#ifndef MODFORGE_SUPPORT_RUN_PROGRAM_H
#define MODFORGE_SUPPORT_RUN_PROGRAM_H

#include <string>
#include <string_view>
#include <vector>

#include "support/bytes.h"

namespace support {

struct run_result {
    std::string out;  ///< standard output
    std::string err;  ///< standard error
    int status = -1;  ///< exit status; -1 when a signal ended the program
    int signal = 0;   ///< the signal that ended it, else 0
    bool timed_out = false;
};

struct run_settings {
    std::string directory = {};   ///< working directory; the test's own when empty
    std::string input = {};       ///< standard input, up to 64 KiB
    int seconds = 20;             ///< a program still running after that is killed
    std::size_t megabytes = 0;    ///< limit of its address space; 0: none (sanitizers need none)
    std::size_t file_bytes = 0;   ///< limit of the size of its files; 0: none
    bool reader_is_gone = false;  ///< its standard output is a pipe that nobody reads any more
};

/// Runs argv[0], a path (no PATH search), with the arguments behind it. Throws std::system_error
/// when it cannot be started at all.
run_result run_program(const std::vector<std::string>& argv, const run_settings& settings = {});

/// A directory of its own, removed with everything in it at the end of its life.
class temporary_directory {
public:
    temporary_directory();
    ~temporary_directory();
    temporary_directory(const temporary_directory&) = delete;
    temporary_directory& operator=(const temporary_directory&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }
    /// The path of a file in it, which need not exist.
    [[nodiscard]] std::string file(const std::string& name) const { return path_ + '/' + name; }
    /// Writes a file in it and returns its path.
    std::string write(const std::string& name, const bytes& data) const;
    std::string write(const std::string& name, std::string_view text) const { return write(name, to_bytes(text)); }

private:
    std::string path_;
};

/// The whole of a file; throws std::system_error when it cannot be read.
bytes read_file(const std::string& path);
std::string read_text(const std::string& path);
bool file_exists(const std::string& path);

}  // namespace support

#endif

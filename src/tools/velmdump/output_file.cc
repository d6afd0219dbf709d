// An output that is an input would be emptied by the opening, and a module that was the only one is lost: so files are
// compared as the system knows them, and links and other spellings of a path do not help.
#include "tools/velmdump/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

#include "msg/end_run.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"

namespace {

std::optional<struct stat> facts_of(const std::string& path, int stream) {
    struct stat facts {};
    const int result = path == "-" ? fstat(stream, &facts) : stat(path.c_str(), &facts);
    return result == 0 && S_ISREG(facts.st_mode) ? std::optional(facts) : std::nullopt;
}

bool is_input(const std::string& path, const std::vector<std::string>& inputs) {
    const auto output = facts_of(path, STDOUT_FILENO);
    return output && std::any_of(inputs.begin(), inputs.end(), [&output](const std::string& name) {
               const auto input = facts_of(name, STDIN_FILENO);
               return input && input->st_dev == output->st_dev && input->st_ino == output->st_ino;
           });
}

const char* begun = nullptr;  ///< what is to go if it is not finished: no device, no pipe, no link

/// Takes no memory, for want of which the run may end.
void remove_begun(int /*status*/ = 0) {
    if (begun)
        std::remove(begun);
}

bool fail(const std::string& path, int fault) {
    complain("cannot write %s: %s", printable(path).c_str(), std::strerror(fault));
    return false;
}

}  // namespace

bool write_output(const std::string& path, const std::vector<std::string>& inputs,
                  const std::function<void(std::FILE*)>& print) {
    if (is_input(path, inputs)) {
        complain("cannot write %s: it is an input", printable(path).c_str());
        return false;
    }
    if (path == "-") {
        print(stdout);
        return standard_output_is_good();
    }
    std::FILE* const out = std::fopen(path.c_str(), "wb");
    if (!out)
        return fail(path, errno);
    std::error_code none;
    if (std::filesystem::is_regular_file(std::filesystem::symlink_status(path, none)))
        begun = path.c_str();
    end_run_hook = remove_begun;
    print(out);
    end_run_hook = nullptr;
    const bool written = std::fflush(out) == 0 && !std::ferror(out);
    const int fault = errno;
    if ((std::fclose(out) == 0) && written)
        return true;
    const int last_fault = written ? errno : fault;
    remove_begun();
    return fail(path, last_fault);
}

// Reading, then the checks, then the decision whether the command gets the module.
#include "tools/velmdump/module_file.h"

#include <algorithm>
#include <utility>

#include "tools/common/file_input.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/checks.h"

namespace {

bool is_error(const finding& f) {
    return f.error;
}

}  // namespace

bool module_file::sound() const {
    return std::none_of(findings.begin(), findings.end(), is_error);
}

std::optional<module_file> read_module(const std::string& path, wanted_module wanted, int& status) {
    auto bytes = read_whole(path);
    if (bytes)
        return judge_module(path, std::move(*bytes), wanted, status);
    status = status_trouble;
    return std::nullopt;
}

std::optional<module_file> judge_module(const std::string& path, std::vector<unsigned char> contents,
                                        wanted_module wanted, int& status) {
    module_file file{path, velm_module(decode_module(std::move(contents))), {}};
    if (!file.module.has_header) {
        complain("%s: not a VELM module: %s", input_label(path).c_str(), file.module.raw.why_no_module.c_str());
        status = std::max<int>(status, status_faults);
        return std::nullopt;
    }
    file.findings = check_module(file.module);
    const auto first_error = std::find_if(file.findings.begin(), file.findings.end(), is_error);
    if (wanted == wanted_module::sound && first_error != file.findings.end()) {
        complain("%s: unsound module: %s ('velmdump check' tells all)", input_label(path).c_str(),
                 finding_words(*first_error).c_str());
        status = std::max<int>(status, status_faults);
        return std::nullopt;
    }
    return file;
}

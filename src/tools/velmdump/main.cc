// velmdump: shows, checks and compares modules without a device.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "tools/common/file_input.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"
#include "tools/velmdump/checks.h"
#include "tools/velmdump/diff.h"
#include "tools/velmdump/json_form.h"
#include "tools/velmdump/names.h"
#include "tools/velmdump/options.h"
#include "tools/velmdump/show.h"
#include "tools/velmdump/svg_map.h"
#include "tools/velmdump/velm_module.h"

namespace {

std::optional<velm_module> load(const std::string& path) {
    auto bytes = read_whole(path);
    if (!bytes)
        return std::nullopt;
    return velm_module(decode_module(std::move(*bytes)));
}

/// Whether the file has at least the header of a module; says so when not.
bool is_module(const velm_module& module, const std::string& path) {
    if (!module.has_header)
        complain("%s is no module: it ends inside the header", input_label(path).c_str());
    return module.has_header;
}

int run_check(const velmdump_options& options) {
    int status = status_good;
    for (const std::string& path : options.files) {
        const auto module = load(path);
        if (!module) {
            status = status_trouble;
            continue;
        }
        const std::vector<finding> findings = check_module(*module);
        for (const finding& f : findings)
            std::printf("%s: offset 0x%llx: %s: %s\n", path.c_str(), static_cast<unsigned long long>(f.offset),
                        f.error ? "error" : "warning", f.text.c_str());
        if (has_errors(findings) && status == status_good)
            status = status_faults;
    }
    return status;
}

int run_show(const velmdump_options& options, const velm_module& module) {
    const std::string& path = options.files[0];
    if (options.json) {
        print_json(module, path.c_str(), stdout);
    } else if (!show_module(module, path.c_str(), options.parts, stdout)) {
        complain("no section is named %s", printable(options.parts.contents).c_str());
        return status_trouble;
    }
    return status_good;
}

int run_imports(const velmdump_options& options, const velm_module& module) {
    const std::vector<std::string> names = imported_names(module);
    if (options.against.empty()) {
        print_names(names, stdout);
        return status_good;
    }
    const auto list = read_whole(options.against);
    if (!list)
        return status_trouble;
    const std::vector<std::string> missing = missing_names(names, *list);
    print_names(missing, stdout);
    return missing.empty() ? status_good : status_faults;
}

int run_diff(const velmdump_options& options, const velm_module& first) {
    const auto second = load(options.files[1]);
    if (!second)
        return status_trouble;
    if (!is_module(*second, options.files[1]))
        return status_faults;
    return diff_modules(first, *second, options.ignore_stamp, stdout) == 0 ? status_good : status_faults;
}

int run_map(const velmdump_options& options, const velm_module& module) {
    std::FILE* out = options.output == "-" ? stdout : std::fopen(options.output.c_str(), "w");
    if (out) {
        const std::string& path = options.files[0];
        draw_map(module, path.c_str() + (path.rfind('/') + 1), out);
        const bool written = !std::ferror(out) && std::fflush(out) == 0;
        if ((out == stdout || std::fclose(out) == 0) && written)
            return status_good;
    }
    complain("cannot write %s: %s", printable(options.output).c_str(), std::strerror(errno));
    return status_trouble;
}

int run(const velmdump_options& options) {
    if (options.command == velmdump_options::check)
        return run_check(options);
    const auto module = load(options.files[0]);
    if (!module)
        return status_trouble;
    if (!is_module(*module, options.files[0]))
        return status_faults;
    switch (options.command) {
    case velmdump_options::exports:
        print_names(exported_names(*module), stdout);
        return status_good;
    case velmdump_options::imports:
        return run_imports(options, *module);
    case velmdump_options::diff:
        return run_diff(options, *module);
    case velmdump_options::map:
        return run_map(options, *module);
    default:
        return run_show(options, *module);
    }
}

}  // namespace

int main(int argc, char** argv) {
    begin_tool("velmdump");
    velmdump_options options;
    const int early = parse_options(argc, argv, options);
    return end_tool(early < 0 ? run(options) : early);
}

// velmdump: shows, checks and compares modules without a device.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "tools/velmdump/checks.h"
#include "tools/velmdump/diff.h"
#include "tools/velmdump/json_form.h"
#include "tools/velmdump/names.h"
#include "tools/velmdump/options.h"
#include "tools/velmdump/show.h"
#include "tools/velmdump/svg_map.h"
#include "tools/velmdump/velm_module.h"

namespace {

enum exit_status { good = 0, faults = 1, trouble = 2 };

/// The contents of the file, or nothing after a message.
std::optional<std::vector<unsigned char>> contents_of(const std::string& path) {
    std::vector<unsigned char> bytes;
    if (read_whole(path, bytes))
        return bytes;
    std::fprintf(stderr, "velmdump: cannot read %s: %s\n", path.c_str(), std::strerror(errno));
    return std::nullopt;
}

std::optional<velm_module> load(const std::string& path) {
    auto bytes = contents_of(path);
    if (!bytes)
        return std::nullopt;
    return velm_module(decode_module(std::move(*bytes)));
}

/// Whether the file has at least the header of a module; says so when not.
bool is_module(const velm_module& module, const std::string& path) {
    if (!module.has_header)
        std::fprintf(stderr, "velmdump: %s is no module: it ends inside the header\n", path.c_str());
    return module.has_header;
}

int run_check(const velmdump_options& options) {
    int status = good;
    for (const std::string& path : options.files) {
        const auto module = load(path);
        if (!module) {
            status = trouble;
            continue;
        }
        const std::vector<finding> findings = check_module(*module);
        for (const finding& f : findings)
            std::printf("%s: offset 0x%llx: %s: %s\n", path.c_str(), static_cast<unsigned long long>(f.offset),
                        f.error ? "error" : "warning", f.text.c_str());
        if (has_errors(findings) && status == good)
            status = faults;
    }
    return status;
}

int run_show(const velmdump_options& options, const velm_module& module) {
    const std::string& path = options.files[0];
    if (options.json) {
        print_json(module, path.c_str(), stdout);
    } else if (!show_module(module, path.c_str(), options.parts, stdout)) {
        std::fprintf(stderr, "velmdump: no section is named %s\n", options.parts.contents.c_str());
        return trouble;
    }
    return good;
}

int run_imports(const velmdump_options& options, const velm_module& module) {
    const std::vector<std::string> names = imported_names(module);
    if (options.against.empty()) {
        print_names(names, stdout);
        return good;
    }
    const auto list = contents_of(options.against);
    if (!list)
        return trouble;
    const std::vector<std::string> missing = missing_names(names, *list);
    print_names(missing, stdout);
    return missing.empty() ? good : faults;
}

int run_diff(const velmdump_options& options, const velm_module& first) {
    const auto second = load(options.files[1]);
    if (!second)
        return trouble;
    if (!is_module(*second, options.files[1]))
        return faults;
    return diff_modules(first, *second, options.ignore_stamp, stdout) == 0 ? good : faults;
}

int run_map(const velmdump_options& options, const velm_module& module) {
    std::FILE* out = options.output == "-" ? stdout : std::fopen(options.output.c_str(), "w");
    if (out) {
        const std::string& path = options.files[0];
        draw_map(module, path.c_str() + (path.rfind('/') + 1), out);
        const bool written = !std::ferror(out) && std::fflush(out) == 0;
        if ((out == stdout || std::fclose(out) == 0) && written)
            return good;
    }
    std::fprintf(stderr, "velmdump: cannot write %s: %s\n", options.output.c_str(), std::strerror(errno));
    return trouble;
}

int run(const velmdump_options& options) {
    if (options.command == velmdump_options::check)
        return run_check(options);
    const auto module = load(options.files[0]);
    if (!module)
        return trouble;
    if (!is_module(*module, options.files[0]))
        return faults;
    switch (options.command) {
    case velmdump_options::exports:
        print_names(exported_names(*module), stdout);
        return good;
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
    velmdump_options options;
    int status = parse_options(argc, argv, options);
    if (status < 0)
        status = run(options);
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "velmdump: cannot write to standard output: %s\n", std::strerror(errno));
        return trouble;
    }
    return status;
}

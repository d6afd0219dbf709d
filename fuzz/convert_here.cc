// The stages of a run as main() calls them. Streams are exchanged, and what a run leaves behind is put back.
#include "convert_here.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <memory>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "convert/entries_files.h"
#include "convert/options.h"
#include "convert/velm_file.h"
#include "driver/options.h"
#include "msg/user_msg.h"
#include "output/velm_writer.h"
#include "packets/image_packets.h"
#include "support/request_options.h"
#include "survive.h"

namespace {

using second_opinion::bytes;
using second_opinion::conversion;
using second_opinion::conversion_request;

/// Takes what is written to a standard stream. Only the C library's stream is exchanged, so that sanitizers still speak.
class captured {
public:
    explicit captured(std::FILE*& stream) : stream_(stream), original_(stream) {
        stream_ = open_memstream(&text_, &size_);
    }
    captured(const captured&) = delete;
    captured& operator=(const captured&) = delete;
    ~captured() {
        std::fclose(stream_);
        stream_ = original_;
        std::free(text_);
    }
    [[nodiscard]] std::string text() const {
        std::fflush(stream_);
        return {text_, size_};
    }

private:
    std::FILE*& stream_;
    std::FILE* original_;
    char* text_ = nullptr;
    std::size_t size_ = 0;
};

/// A file that only this process has, under a name.
class memory_file {
public:
    explicit memory_file(const std::string& text) : file_(memfd_create("modforge", 0)) {
        if (write(file_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            std::abort();
    }
    memory_file(const memory_file&) = delete;
    memory_file& operator=(const memory_file&) = delete;
    ~memory_file() { close(file_); }
    [[nodiscard]] std::string name() const { return "/proc/self/fd/" + std::to_string(file_); }

private:
    int file_;
};

/// What proc_args() points into until the next run.
std::vector<std::string> arguments;

void set_options(const conversion_request& request, const std::list<memory_file>& entries, const std::string& output) {
    symbols_only = hex_output_mode = allow_runtime_cinit = 0;
    warn_missing_symbols = 1;
    arguments = support::options_of(request);
    arguments.insert(arguments.begin(), {"modforge", "-o=" + output});
    for (const memory_file& file : entries)
        arguments.push_back("-e=" + file.name());
    arguments.push_back(request.input_name);
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    proc_args(static_cast<int>(argv.size()), argv.data());
}

/// As main() does.
void run(const conversion_request& request, std::FILE* input, const std::string& output) {
    const std::list<memory_file> entries(request.entries.begin(), request.entries.end());
    set_options(request, entries, output);
    if (coff_file.read(input, false) != 0)
        end_run(EXIT_FAILURE);
    setup_entries_lists();
    init_velm_file();
    build_velm();
    write_velm();
}

void start_afresh() {
    cleanup_velm();
    c2v_scn_xtbl.clear();
    sym_refd.clear();
    scn_refd.clear();
    entries_files_list.clear();
    std::destroy_at(&velm_file);
    std::construct_at(&velm_file);
    std::destroy_at(&coff_file);
    std::construct_at(&coff_file, true);
}

std::string output_name() {
    return std::filesystem::temp_directory_path() / ("modforge-" + std::to_string(getpid()) + ".vlm");
}

/// Where a file has two faults either may be told: words count for what converts.
std::string difference(const outcome& is, const conversion& must) {
    if (is.status != must.status)
        return "status " + std::to_string(is.status) + ", must be " + std::to_string(must.status) + " " + must.why;
    if (is.module != must.module)
        return "another module: " + std::to_string(is.module.size()) + " bytes, must be " +
               std::to_string(must.module.size());
    if (must.status == 0 && (is.out != must.out || is.err != must.err))
        return "other words, must be " + must.out + must.err;
    return "";
}

}  // namespace

outcome convert_here(const conversion_request& request) {
    static const std::string output = output_name();
    UMSG.set_max_errors(INT_MAX);  // errors add up over the runs
    outcome result;
    {
        const captured out(stdout), err(stderr);
        const auto input = stream_of(request.input.data(), request.input.size());
        result.status = survive([&] { run(request, input.get(), output); });
        result.out = out.text();
        result.err = err.text();
        start_afresh();
    }
    if (std::ifstream written(output, std::ios::binary); written) {
        result.wrote = true;
        result.module = bytes(std::istreambuf_iterator<char>(written), {});
        std::filesystem::remove(output);
    }
    return result;
}

std::string fault_of(const outcome& is, const conversion_request& request) {
    std::string fault = difference(is, second_opinion::convert(request));
    if (is.wrote != (is.status == 0))
        fault = is.wrote ? "a file, but status " + std::to_string(is.status) : "status 0, but no file";
    if (is.status != 0 && is.out.empty() && is.err.empty())
        fault = "no message";
    return fault.empty() ? fault : fault + "\nstandard output: " + is.out + "\nstandard error: " + is.err;
}

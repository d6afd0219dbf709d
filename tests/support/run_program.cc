// fork, exec, and a poll loop that collects both outputs until the time is up.
#include "support/run_program.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {
namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

struct pipe_ends {
    int read_end = -1, write_end = -1;
};

pipe_ends make_pipe() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        fail("pipe");
    return {ends[0], ends[1]};
}

[[noreturn]] void become(const std::vector<std::string>& argv, const run_settings& settings) {
    std::signal(SIGPIPE, SIG_DFL);
    std::vector<char*> arguments;
    for (const std::string& argument : argv)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    const rlimit no_core{0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    if (settings.megabytes != 0) {
        const rlimit space{settings.megabytes << 20, settings.megabytes << 20};
        setrlimit(RLIMIT_AS, &space);
    }
    if (settings.file_bytes != 0) {
        const rlimit size{settings.file_bytes, settings.file_bytes};
        setrlimit(RLIMIT_FSIZE, &size);
    }
    if (settings.reader_is_gone) {
        const pipe_ends none = make_pipe();
        close(none.read_end);
        dup2(none.write_end, STDOUT_FILENO);
        close(none.write_end);
    }
    if (settings.directory.empty() || chdir(settings.directory.c_str()) == 0)
        execv(arguments[0], arguments.data());
    _exit(127);
}

/// Reads both pipes until their ends or the deadline; true when the time was not enough.
bool collect(int out, int err, run_result& result, int seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::array<pollfd, 2> watched{{{out, POLLIN, 0}, {err, POLLIN, 0}}};
    const std::array<std::string*, 2> texts{&result.out, &result.err};
    while (watched[0].fd >= 0 || watched[1].fd >= 0) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0 || poll(watched.data(), watched.size(), static_cast<int>(left.count())) == 0)
            return true;
        for (std::size_t i = 0; i < watched.size(); ++i) {
            std::array<char, 65536> buffer{};
            if (watched[i].fd < 0 || watched[i].revents == 0)
                continue;
            const ssize_t got = read(watched[i].fd, buffer.data(), buffer.size());
            if (got > 0)
                texts[i]->append(buffer.data(), static_cast<std::size_t>(got));
            else
                watched[i].fd = -1;
        }
    }
    return false;
}

}  // namespace

run_result run_program(const std::vector<std::string>& argv, const run_settings& settings) {
    const pipe_ends in = make_pipe(), out = make_pipe(), err = make_pipe();
    const pid_t child = fork();
    if (child < 0)
        fail("fork");
    if (child == 0) {
        dup2(in.read_end, STDIN_FILENO);
        dup2(out.write_end, STDOUT_FILENO);
        dup2(err.write_end, STDERR_FILENO);
        for (const int end : {in.read_end, in.write_end, out.read_end, out.write_end, err.read_end, err.write_end})
            close(end);
        become(argv, settings);
    }
    close(in.read_end);
    close(out.write_end);
    close(err.write_end);
    std::signal(SIGPIPE, SIG_IGN);
    [[maybe_unused]] const ssize_t written = write(in.write_end, settings.input.data(), settings.input.size());
    close(in.write_end);

    run_result result;
    result.timed_out = collect(out.read_end, err.read_end, result, settings.seconds);
    if (result.timed_out)
        kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    close(out.read_end);
    close(err.read_end);
    if (WIFEXITED(status))
        result.status = WEXITSTATUS(status);
    else
        result.signal = WTERMSIG(status);
    if (result.status == 127 && result.out.empty() && result.err.empty())
        fail(argv[0].c_str());
    return result;
}

temporary_directory::temporary_directory() {
    std::string name = (std::filesystem::temp_directory_path() / "modforge-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        fail("mkdtemp");
    path_ = name;
}

temporary_directory::~temporary_directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string temporary_directory::write(const std::string& name, const bytes& data) const {
    const std::string path = file(name);
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
    if (!stream.flush())
        fail(path.c_str());
    return path;
}

bytes read_file(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        fail(path.c_str());
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string read_text(const std::string& path) {
    const bytes data = read_file(path);
    return {data.begin(), data.end()};
}

bool file_exists(const std::string& path) {
    return std::filesystem::exists(path);
}

}  // namespace support

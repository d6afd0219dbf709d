// The ends of a run, and what may go wrong outside the work itself.
#include "tools/common/tool_run.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "msg/allocation.h"

#if __has_include(<fcntl.h>) && !defined(_WIN32)
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

const char* tool_name = "";

/// The parser library has global objects that take memory before main begins, when no tool has a name yet.
struct memory_before_main {
    memory_before_main() {
        static const allocation_scope scope("out of memory\n");
        install_allocation_handler(status_trouble);
    }
};
#ifdef __GNUC__
[[gnu::init_priority(101)]]
#endif
[[maybe_unused]] const memory_before_main handled;

/// A file that is opened would take the place of a standard stream that is closed, and what is printed would go there.
void fill_closed_streams() {
#if __has_include(<fcntl.h>) && !defined(_WIN32)
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0)  // opened the wrong way round: its use fails, as it has to
            (void)!open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
#endif
}

}  // namespace

void begin_tool(const char* name) {
    tool_name = name;
    fill_closed_streams();
    static char out_of_memory[64];
    std::snprintf(out_of_memory, sizeof out_of_memory, "%s: out of memory\n", name);
    static const allocation_scope scope(out_of_memory);
    install_allocation_handler(status_trouble);
#ifdef SIGPIPE  // Windows has neither
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

void complain(const char* format, ...) {
    std::fprintf(stderr, "%s: ", tool_name);
    std::va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
}

bool standard_output_is_good() {
    static bool good = true;
    if (!good)
        return false;
    errno = 0;
    good = std::fflush(stdout) == 0 && !std::ferror(stdout);
    if (!good && errno != 0)
        complain("cannot write to standard output: %s", std::strerror(errno));
    else if (!good)
        complain("cannot write to standard output");
    return good;
}

int end_tool(int status) {
    return standard_output_is_good() ? status : int{status_trouble};
}

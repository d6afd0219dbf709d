// Runs a program once, with its output thrown away, and prints what that cost:
//
//     nanoseconds of wall time, microseconds of processor time, peak memory in KiB, page faults
//
// usage: stopwatch PROGRAM [ARGUMENT...]     ends with status 1 when the program does not end with 0
//
// A program of its own, and a small one: the system counts the peak of whoever starts a program as the program's, too.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

namespace {

long long nanoseconds() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

long long microseconds(const timeval& time) {
    return time.tv_sec * 1000000LL + time.tv_usec;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2)
        return 2;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t child = 0;
    int status = -1;
    rusage usage;
    const long long began = nanoseconds();
    if (posix_spawnp(&child, argv[1], &actions, nullptr, argv + 1, environ) != 0 ||
        wait4(child, &status, 0, &usage) < 0 || status != 0)
        return 1;
    const long long wall = nanoseconds() - began;
    std::printf("%lld %lld %ld %ld\n", wall, microseconds(usage.ru_utime) + microseconds(usage.ru_stime),
                usage.ru_maxrss, usage.ru_minflt);
    return 0;
}

// Runs a piece of the library in a process of its own, for what ends the run or speaks: both streams and the status.
#ifndef MODFORGE_TESTS_SUPPORT_CHILD_RUN_H
#define MODFORGE_TESTS_SUPPORT_CHILD_RUN_H

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

struct child_result {
    int status = -1;  ///< exit status; -1 if a signal ended the child
    std::string out;
    std::string err;
};

inline std::string whole_text(std::FILE* file) {
    std::string text;
    std::rewind(file);
    for (int c; (c = std::fgetc(file)) != EOF;)
        text.push_back(static_cast<char>(c));
    return text;
}

/// Calls `body` in a forked child, which afterwards ends by exit(0): static objects are destroyed, leaks are found. A
/// child that hangs is ended after a minute.
template <typename BODY> child_result run_in_child(BODY body) {
    std::FILE* const out = std::tmpfile();
    std::FILE* const err = std::tmpfile();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(out), STDOUT_FILENO);
        dup2(fileno(err), STDERR_FILENO);
        alarm(60);
        body();
        std::exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    child_result result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = whole_text(out);
    result.err = whole_text(err);
    std::fclose(out);
    std::fclose(err);
    return result;
}

#endif

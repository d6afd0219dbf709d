// Each system call stops the program twice: at its entry, where it can be made another or none, and at its exit, where
// its result can be. Only for x86-64, whose registers these are; CMake leaves the folder out elsewhere.
#include "faults/traced_run.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>

#include "support/child_run.h"

namespace faults {
namespace {

/// Which argument is what; -1: none is.
struct facts {
    call_kind kind;
    int file, name, flags;
};

const std::map<long, facts> known = {
    {SYS_open, {call_kind::open, -1, 0, 1}},      {SYS_openat, {call_kind::open, -1, 1, 2}},
    {SYS_read, {call_kind::read, 0, -1, -1}},     {SYS_pread64, {call_kind::read, 0, -1, -1}},
    {SYS_readv, {call_kind::read, 0, -1, -1}},    {SYS_lseek, {call_kind::seek, 0, -1, -1}},
    {SYS_write, {call_kind::write, 0, -1, -1}},   {SYS_writev, {call_kind::write, 0, -1, -1}},
    {SYS_fstat, {call_kind::stat, 0, -1, -1}},    {SYS_stat, {call_kind::stat, -1, 0, -1}},
    {SYS_lstat, {call_kind::stat, -1, 0, -1}},    {SYS_newfstatat, {call_kind::stat, 0, 1, -1}},
    {SYS_statx, {call_kind::stat, 0, 1, -1}},     {SYS_close, {call_kind::close, 0, -1, -1}},
    {SYS_unlink, {call_kind::remove, -1, 0, -1}}, {SYS_unlinkat, {call_kind::remove, -1, 1, -1}},
};

class tracer {
public:
    tracer(pid_t child, const fault* planned, std::vector<call>& calls)
        : child_(child), planned_(planned), calls_(calls) {}

    /// Gives the wait status of the program at its end.
    int follow() {
        int status = 0;
        waitpid(child_, &status, 0);  // at the first instruction
        ptrace(PTRACE_SETOPTIONS, child_, 0, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
        for (long signal = 0;;) {
            ptrace(PTRACE_SYSCALL, child_, 0, signal);
            waitpid(child_, &status, 0);
            if (!WIFSTOPPED(status))
                return status;
            const bool is_call = WSTOPSIG(status) == (SIGTRAP | 0x80);
            signal = is_call || WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
            if (is_call)
                pass_stop();
        }
    }

private:
    void pass_stop() {
        user_regs_struct registers{};
        ptrace(PTRACE_GETREGS, child_, 0, &registers);
        if (inside_)
            leave(registers);
        else
            enter(registers);
        inside_ = !inside_;
    }

    void enter(user_regs_struct& registers) {
        result_.reset();
        opening_ = false;
        const auto found = known.find(static_cast<long>(registers.orig_rax));
        if (found == known.end() || !is_ours(found->second, registers))
            return;
        const std::size_t number = calls_.size() - 1;
        const call& made = calls_.back();
        opening_ = made.kind == call_kind::open;
        if (made.kind == call_kind::close)
            files_.erase(made.file);
        if (planned_ && (number == planned_->nth || (planned_->for_ever && is_like_planned(made))))
            spoil(made, registers);
    }

    [[nodiscard]] bool is_like_planned(const call& made) const {
        if (planned_->nth >= calls_.size())
            return false;
        const call& first = calls_[planned_->nth];
        return made.kind == first.kind && made.file == first.file &&
               (made.kind == call_kind::open || made.name == first.name);
    }

    /// Notes the call if it is on one of the files that the program works with.
    bool is_ours(const facts& f, const user_regs_struct& registers) {
        const unsigned long long arguments[] = {registers.rdi, registers.rsi, registers.rdx};
        const int file = f.file < 0 ? -1 : static_cast<int>(arguments[f.file]);
        const std::string name = f.name < 0 ? "" : text_at(arguments[f.name]);
        const int flags = f.flags < 0 ? 0 : static_cast<int>(arguments[f.flags]);
        const bool nameless = (flags & O_TMPFILE) == O_TMPFILE;
        const auto opened = files_.find(name.empty() ? file : -1);
        if (name.empty() ? opened == files_.end() : name[0] == '/' && !nameless)
            return false;
        if (name.empty())
            calls_.push_back({f.kind, file, opened->second, false});
        else
            calls_.push_back({f.kind, -1, nameless ? "" : name, (flags & O_ACCMODE) != O_RDONLY});
        return true;
    }

    [[nodiscard]] std::string text_at(unsigned long long address) const {
        std::string text;
        for (;; address += sizeof(long)) {
            const long word = ptrace(PTRACE_PEEKDATA, child_, address, 0);
            for (std::size_t k = 0; k < sizeof word; ++k) {
                const char c = static_cast<char>(word >> (8 * k));
                if (c == '\0')
                    return text;
                text.push_back(c);
            }
        }
    }

    void spoil(const call& made, user_regs_struct& registers) {
        if (planned_->error == 0) {
            registers.rdx = std::max<unsigned long long>(registers.rdx / 2, 1);
        } else {
            result_ = planned_->error < 0 ? 0 : -planned_->error;
            if (made.kind != call_kind::close)  // which is done with the file in any case
                registers.orig_rax = ~0ULL;
        }
        ptrace(PTRACE_SETREGS, child_, 0, &registers);
    }

    void leave(user_regs_struct& registers) {
        if (result_) {
            registers.rax = static_cast<unsigned long long>(*result_);
            ptrace(PTRACE_SETREGS, child_, 0, &registers);
        }
        if (opening_ && static_cast<long long>(registers.rax) >= 0)
            files_[static_cast<int>(registers.rax)] = calls_.back().name;
    }

    pid_t child_;
    const fault* planned_;
    std::vector<call>& calls_;
    std::map<int, std::string> files_ = {{STDIN_FILENO, ""}, {STDOUT_FILENO, ""}, {STDERR_FILENO, ""}};
    std::optional<long long> result_;  ///< of the call that is under way, if not its own
    bool inside_ = false;
    bool opening_ = false;
};

[[noreturn]] void become(const std::vector<std::string>& argv, const std::string& directory, const std::string& input) {
    std::vector<char*> arguments(argv.size() + 1);
    std::transform(argv.begin(), argv.end(), arguments.begin(),
                   [](const std::string& argument) { return const_cast<char*>(argument.c_str()); });
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // it traces, too, and only one can
    alarm(20);
    if (chdir(directory.c_str()) == 0 && dup2(open(input.c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO) >= 0 &&
        ptrace(PTRACE_TRACEME, 0, 0, 0) == 0)
        execv(arguments[0], arguments.data());
    _exit(127);
}

}  // namespace

traced_result run_traced(const std::vector<std::string>& argv, const std::string& directory, const std::string& input,
                         const fault* planned) {
    std::FILE* const out = std::tmpfile();
    std::FILE* const err = std::tmpfile();
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(out), STDOUT_FILENO);
        dup2(fileno(err), STDERR_FILENO);
        become(argv, directory, input);
    }
    traced_result result;
    const int status = tracer(child, planned, result.calls).follow();
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = whole_text(out);
    result.err = whole_text(err);
    std::fclose(out);
    std::fclose(err);
    return result;
}

}  // namespace faults

#include "framework/src/child_start.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#ifdef __SANITIZE_THREAD__
// The thread sanitizer takes a clone for a fork, and refuses new threads from then on. This is the same function.
extern "C" int __clone(int (*)(void*), void*, int, void*, ...) noexcept;  // NOLINT: the C library's name
#define clone __clone
#endif

namespace obzx_pdk_4_4 {

namespace {

constexpr size_t STACK_SIZE = size_t{32} * 1024;
constexpr int LAST_SIGNAL = 64;
constexpr int NOT_STARTED = 127;

struct SChild
{
    const SChildStart& start;
    pid_t host;
    int error = 0;  // why there is no program; the host reads it once the child has gone
};

// No handler of the host may run in the child, which has the host's memory and other business.
class CSignalsBlocked
{
  public:
    CSignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~CSignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    CSignalsBlocked(const CSignalsBlocked&) = delete;
    CSignalsBlocked& operator=(const CSignalsBlocked&) = delete;

  private:
    sigset_t m_before;
};

void reap(pid_t pid)
{
    siginfo_t info;
    while (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED) != 0 && errno == EINTR) {
    }
}

// From here to the end of runProgram(): the child's own part. It allocates nothing, takes no lock, and makes system
// calls past the sanitizers, whose books belong to the host.

void defaultSignals()
{
    const unsigned long none[4] = {};  // the kernel's record of a signal's action, and its set of signals
    for (int signal = 1; signal <= LAST_SIGNAL; ++signal) {
        ::syscall(SYS_rt_sigaction, signal, none, nullptr, sizeof none[0]);
    }
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, none, nullptr, sizeof none[0]);
}

bool prepare(const SChild& child)
{
    const SChildStart& start = child.start;
    if (::setpgid(0, 0) != 0 || ::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0) return false;
    if (::getppid() != child.host) ::_exit(0);  // the host was killed before it could be watched
    if (::syscall(SYS_dup3, start.input, STDIN_FILENO, 0) < 0 ||
        ::syscall(SYS_dup3, start.output, STDOUT_FILENO, 0) < 0 ||
        ::syscall(SYS_dup3, start.output, STDERR_FILENO, 0) < 0) {
        return false;
    }
    ::closefrom(STDERR_FILENO + 1);
    if (start.directory != nullptr && ::chdir(start.directory) != 0) return false;
    defaultSignals();
    return true;
}

// Whether the search for a program goes on after this error.
bool isElsewhere(int error)
{
    return error == EACCES || error == ENOENT || error == ENOTDIR;
}

// Does not return when all goes well, so a sanitizer must not keep marks on its stack.
__attribute__((no_sanitize("address", "thread"))) int runProgram(void* argument)
{
    SChild& child = *static_cast<SChild*>(argument);
    bool denied = false;
    if (prepare(child)) {
        for (const std::string& program : child.start.programs) {
            // The kernel copies the texts; that they are not const there is older than const.
            ::execve(program.c_str(), const_cast<char* const*>(child.start.arguments),
                     const_cast<char* const*>(child.start.environment));
            denied = denied || errno == EACCES;
            if (!isElsewhere(errno)) break;
        }
    }
    // That a program may not be run says more than that there is none further on.
    child.error = denied && isElsewhere(errno) ? EACCES : errno;
    return NOT_STARTED;
}

}  // namespace

int startChild(const SChildStart& start, pid_t& pid)
{
    // The caller waits until the child runs its program, so the child's stack may be a part of its own.
    alignas(16) char stack[STACK_SIZE];
    SChild child{start, ::getpid()};
    const CSignalsBlocked blocked;
    pid = ::clone(runProgram, stack + STACK_SIZE, CLONE_VM | CLONE_VFORK | SIGCHLD, &child);
    if (pid < 0) return errno;
    if (child.error != 0) {
        reap(pid);
        pid = -1;
    }
    return child.error;
}

}  // namespace obzx_pdk_4_4

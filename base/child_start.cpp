#include "base/child_start.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <string_view>

#include "base/child_process.h"
#include "base/poll_until.h"

#ifdef __SANITIZE_THREAD__
// The thread sanitizer takes a clone for a fork, and refuses new threads from then on. This is the same function.
extern "C" int __clone(int (*)(void*), void*, int, void*, ...) noexcept;  // NOLINT: the C library's name
#define clone __clone
#endif

namespace base {

namespace {

constexpr size_t STACK_SIZE = size_t{32} * 1024;
constexpr int LAST_SIGNAL = 64;
constexpr int NOT_STARTED = 127;

// How long is waited before the first, and between two looks at whether the start is given up.
constexpr std::chrono::milliseconds SLICE{50};
constexpr int NOT_RUNNING = 1;

// What parent and child share, until the program runs or the child has ended.
struct SChild
{
    // Everything that can fail for want of memory comes before there is a child.
    explicit SChild(const SChildStart& what)
        : start(what), arguments(pointersTo(what.words)), environment(environmentWith(what.environment))
    {
        if (start.endsWithThread) parentEnd = CFileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, parent, 0)));
    }

    const SChildStart& start;
    const std::vector<char*> arguments;
    const std::vector<char*> environment;
    const pid_t parent = ::getpid();
    CFileDescriptor parentEnd;    // readable once the parent has ended; none unless it is needed
    int error = 0;                // why there is no program; the parent reads it once the child has gone
    int32_t phase = NOT_RUNNING;  // the kernel makes it 0 once this memory is not the child's any more, and tells
    alignas(16) char stack[STACK_SIZE];
};

// No handler of the parent may run in the child, which has the parent's memory and other business.
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

// From here to the end of runProgram(): the child's own part. It allocates nothing, takes no lock, and makes system
// calls past the sanitizers, whose books belong to the parent.

void defaultSignals()
{
    const unsigned long none[4] = {};  // the kernel's record of a signal's action, and its set of signals
    for (int signal = 1; signal <= LAST_SIGNAL; ++signal) {
        ::syscall(SYS_rt_sigaction, signal, none, nullptr, sizeof none[0]);
    }
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, none, nullptr, sizeof none[0]);
}

bool putAt(int place, int descriptor)
{
    if (descriptor == place) return ::syscall(SYS_fcntl, descriptor, F_SETFD, 0) == 0;  // stays open in the program
    return ::syscall(SYS_dup3, descriptor, place, 0) >= 0;
}

// Whether the parent ended before the child could be told of it.
bool isOrphan(const SChild& child)
{
    const pid_t parent = ::getppid();
    if (parent != 0) return parent != child.parent;
    // The parent is outside of the child's process namespace, which has no number for it, whether it lives or not.
    pollfd end = {child.parentEnd.get(), POLLIN, 0};
    const timespec now = {};
    return !child.parentEnd || ::syscall(SYS_ppoll, &end, 1, &now, nullptr, 0) != 0;
}

bool prepare(const SChild& child)
{
    const SChildStart& start = child.start;
    if (::setpgid(0, 0) != 0) return false;
    if (start.endsWithThread) {
        if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0) return false;
        if (isOrphan(child)) {
            errno = ESRCH;
            return false;
        }
    }
    if (!putAt(STDIN_FILENO, start.input) || !putAt(STDOUT_FILENO, start.output) ||
        !putAt(STDERR_FILENO, start.errors)) {
        return false;
    }
    ::closefrom(STDERR_FILENO + 1);
    if (!start.directory.empty() && ::chdir(start.directory.c_str()) != 0) return false;
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
            ::execve(program.c_str(), child.arguments.data(), child.environment.data());
            denied = denied || errno == EACCES;
            if (!isElsewhere(errno)) break;
        }
    }
    // That a program may not be run says more than that there is none further on.
    child.error = denied && isElsewhere(errno) ? EACCES : errno;
    return NOT_STARTED;
}

// From here on the parent's part.

void reap(pid_t pid)
{
    siginfo_t info;
    while (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED) != 0 && errno == EINTR) {
    }
}

// Whether the program runs, or the child has ended. Waits a slice for that.
bool isThrough(SChild& child)
{
    if (__atomic_load_n(&child.phase, __ATOMIC_ACQUIRE) == NOT_RUNNING) {
        const timespec slice = {0, std::chrono::nanoseconds(SLICE).count()};
        ::syscall(SYS_futex, &child.phase, FUTEX_WAIT, NOT_RUNNING, &slice, nullptr, 0);
    }
    return __atomic_load_n(&child.phase, __ATOMIC_ACQUIRE) != NOT_RUNNING;
}

// Ends a child that may be anywhere between its first step and those of its program.
void giveUp(std::unique_ptr<SChild> child, pid_t pid)
{
    ::kill(pid, SIGKILL);
    CChildProcess process(pid);
    process.kill();
    while (!process.hasEnded()) {
        pollfd end[] = {{process.descriptor(), POLLIN, 0}};
        pollUntil(end, process.lookAt());
    }
    // The kernel holds it, with the file that does not answer, and writes to this memory when it lets it go.
    if (process.exitStatus().held) static_cast<void>(child.release());
}

// The child begins without signals that could run a handler of the parent, which may run its own again at once.
pid_t cloneChild(SChild& child)
{
    const CSignalsBlocked blocked;
    const pid_t pid = ::clone(runProgram, child.stack + STACK_SIZE, CLONE_VM | CLONE_CHILD_CLEARTID | SIGCHLD, &child,
                              nullptr, nullptr, &child.phase);
    // Both have one errno. Nothing changes it here while the child does its few steps, unless they last.
    if (pid > 0) isThrough(child);
    return pid;
}

bool isReplaced(std::string_view variable, const std::vector<std::string>& added)
{
    return std::any_of(added.begin(), added.end(), [variable](const std::string& line) {
        return variable.starts_with(std::string_view(line).substr(0, line.find('=') + 1));
    });
}

}  // namespace

std::vector<char*> pointersTo(const std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts) {
        // A program gets a copy; that the texts are not const there is older than const.
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<char*> environmentWith(const std::vector<std::string>& added)
{
    std::vector<char*> variables;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        if (!isReplaced(*variable, added)) variables.push_back(*variable);
    }
    const std::vector<char*> lines = pointersTo(added);
    variables.insert(variables.end(), lines.begin(), lines.end());
    return variables;
}

CFileDescriptor openInput(const std::string& path)
{
    // Opened without waiting, so that a FIFO without a writer holds up nobody but the child that reads it.
    CFileDescriptor input = aboveStandard(CFileDescriptor(
        ::open(path.empty() ? "/dev/null" : path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)));
    if (!input) return {};
    // Of the flags that can be changed only the one for not waiting is set.
    if (::fcntl(input.get(), F_SETFL, 0) != 0) return {};
    return input;
}

int startChild(const SChildStart& start, pid_t& pid)
{
    auto child = std::make_unique<SChild>(start);
    const pid_t started = cloneChild(*child);
    if (started < 0) return errno;
    while (!isThrough(*child)) {
        if (!start.isGivenUp || !start.isGivenUp()) continue;
        giveUp(std::move(child), started);
        return ECANCELED;
    }
    if (child->error != 0) {
        reap(started);
    } else {
        pid = started;
    }
    return child->error;
}

}  // namespace base

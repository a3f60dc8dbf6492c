#include "host/src/hook.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

extern "C" {
#include <sys/pidfd.h>  // the C library's header of this age does not say so itself
}

#include "host/src/signals.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace fictl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds GRACE{5};
constexpr int SLICE_MS = 100;

int spawnShell(const std::string& command, pid_t& pid)
{
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t files;
    int error = posix_spawnattr_init(&attributes);
    if (error != 0) return error;
    error = posix_spawn_file_actions_init(&files);
    if (error != 0) {
        posix_spawnattr_destroy(&attributes);
        return error;
    }
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setsigmask(&attributes, &none);
    error = posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (error == 0) error = posix_spawn_file_actions_adddup2(&files, STDERR_FILENO, STDOUT_FILENO);
    if (error == 0) {
        std::string shell = "sh";
        std::string option = "-c";
        std::string text = command;
        char* const arguments[] = {shell.data(), option.data(), text.data(), nullptr};
        error = posix_spawn(&pid, "/bin/sh", &files, &attributes, arguments, environ);
    }
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    return error;
}

// True when the child ended before the deadline; stops waiting early when a stop is asked for.
bool waitFor(pid_t pid, int pidFd, Clock::time_point deadline, bool stopOnSignal, int& status)
{
    while (true) {
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid || (done < 0 && errno != EINTR)) return true;
        if (Clock::now() >= deadline || (stopOnSignal && stopRequested())) return false;
        // A signal that comes between the question above and the poll is seen a slice later.
        pollfd child{pidFd, POLLIN, 0};
        poll(&child, 1, SLICE_MS);
    }
}

SHookResult resultOf(int status)
{
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return {true, {}};
    if (WIFEXITED(status)) return {false, "exit status " + std::to_string(WEXITSTATUS(status))};
    return {false, "killed by signal " + std::to_string(WTERMSIG(status))};
}

void stopGroup(pid_t pid, int pidFd, int& status)
{
    kill(-pid, SIGTERM);
    const bool ended = waitFor(pid, pidFd, Clock::now() + GRACE, false, status);
    // Also after the shell itself ended: what it started may still be there.
    kill(-pid, SIGKILL);
    while (!ended && waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace

SHookResult runHook(const std::string& command, std::chrono::seconds timeout, bool stopOnSignal)
{
    pid_t pid = 0;
    const int error = spawnShell(command, pid);
    if (error != 0) return {false, "cannot start: " + std::error_code(error, std::generic_category()).message()};
    const int pidFd = pidfd_open(pid, 0);
    int status = 0;
    const bool ended = waitFor(pid, pidFd, Clock::now() + timeout, stopOnSignal, status);
    if (!ended) stopGroup(pid, pidFd, status);
    if (pidFd >= 0) close(pidFd);
    if (ended) return resultOf(status);
    if (stopOnSignal && stopRequested()) return {false, "stopped by a signal"};
    return {false, "no end within " + std::to_string(timeout.count()) + " s"};
}

}  // namespace fictl

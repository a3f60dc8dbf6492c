#include "host/src/process/other_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "base/child_start.h"
#include "base/file_read.h"
#include "host/src/output/error.h"
#include "host/src/process/signals.h"

namespace fictl {

namespace {

// Counts the processes that a command went through, so that it does not go on for ever.
constexpr const char* TRIES = "FICTL_PROCESSES";
// Ids are handed out in turn, so a free one comes after at most as many as are taken in a row.
constexpr int MOST_CHILDREN = 4096;

int triesSoFar()
{
    const char* const text = secure_getenv(TRIES);
    return text == nullptr ? 0 : std::atoi(text);
}

std::vector<std::string> commandLine()
{
    constexpr size_t LONGEST = size_t{16} * 1024 * 1024;  // more than the system takes
    const std::string text = base::readFile("/proc/self/cmdline", LONGEST).text;
    std::vector<std::string> words;
    for (size_t begin = 0; begin < text.size();) {
        words.emplace_back(text.c_str() + begin);
        begin += words.back().size() + 1;
    }
    return words;
}

/// Forks a child that becomes fictl again unless its id is taken; 0 when it was.
pid_t startUnlessTaken(const std::vector<int64_t>& taken, char* const* arguments, char* const* environment)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return -1;
    const pid_t child = fork();
    if (child == 0) {
        // Nothing here may allocate or lock: other threads of the parent may hold what that needs.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (!std::binary_search(taken.begin(), taken.end(), int64_t{getpid()})) {
            execve("/proc/self/exe", arguments, environment);
        }
        const ssize_t told = write(ends[1], "t", 1);
        _exit(told == 1 ? 0 : 1);
    }
    close(ends[1]);
    char mark = 0;
    const bool isTaken = child > 0 && read(ends[0], &mark, 1) == 1;
    close(ends[0]);
    if (isTaken) waitpid(child, nullptr, 0);
    return isTaken ? 0 : child;
}

int waitFor(pid_t child)
{
    constexpr int SLICE_MS = 50;
    bool told = false;
    int status = 0;
    for (pid_t done = 0; (done = waitpid(child, &status, WNOHANG)) != child;) {
        if (done < 0 && errno != EINTR) break;
        if (stopRequested() && !told) {
            kill(child, SIGTERM);
            told = true;
        }
        poll(nullptr, 0, SLICE_MS);
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    throw EFictl(EExit::INTERNAL,
                 "process " + std::to_string(child) + ", in which the command went on, was killed by signal " +
                     std::to_string(WTERMSIG(status)),
                 "fictl snapshot list");
}

}  // namespace

int runInAnotherProcess(const std::vector<int64_t>& taken)
{
    const int tries = triesSoFar() + 1;
    if (tries >= MOST_PROCESSES) {
        throw EFictl(
            EExit::EXISTS,
            "the checkpoint's name was in use for each of " + std::to_string(tries) + " process ids; nothing was made",
            "run the command again: another process id gives another checkpoint");
    }
    const std::vector<std::string> words = commandLine();
    const std::vector<std::string> counted = {TRIES + ("=" + std::to_string(tries))};
    const std::vector<char*> arguments = base::pointersTo(words);
    const std::vector<char*> environment = base::environmentWith(counted);
    for (int i = 0; i < MOST_CHILDREN; ++i) {
        const pid_t child = startUnlessTaken(taken, arguments.data(), environment.data());
        if (child > 0) return waitFor(child);
        if (child < 0) break;
    }
    throw EFictl(EExit::EXISTS, "no process whose id gives a free checkpoint name could be started; nothing was made",
                 "run the command again: another process id gives another checkpoint");
}

}  // namespace fictl

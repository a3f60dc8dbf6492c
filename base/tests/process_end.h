#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "base/process_stat.h"

namespace base_test {

/// Whether a process, also one that is no child, is gone, or dead and only not yet collected by whoever adopted it.
inline bool isGone(pid_t pid)
{
    const auto stat = base::readProcessStat(pid);
    return stat && stat->isGone();
}

/// Waits until it is, as a killed process takes a moment to go; the test's own time limit ends the wait for one that
/// stays.
inline bool goesAway(pid_t pid)
{
    while (!isGone(pid)) {
        ::usleep(1000);
    }
    return true;
}

/// Whether a child's status was taken.
inline bool isCollected(pid_t child)
{
    return ::waitpid(child, nullptr, WNOHANG) == -1 && errno == ECHILD;
}

}  // namespace base_test

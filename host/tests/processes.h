#pragma once

#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "base/process_stat.h"
#include "base/tests/text_file.h"

/// Looks at processes that are no children of the test, so that their end can only be looked for.
namespace processes {

/// The test's own time limit ends a wait for something that never comes.
inline void waitUntil(const std::function<bool()>& condition)
{
    while (!condition()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

/// Whether the process is neither gone nor waiting to be reaped.
inline bool isThere(pid_t pid)
{
    const std::optional<base::SProcessStat> stat = base::readProcessStat(pid);
    return stat && !stat->isGone();
}

/// What ps calls it.
inline std::string nameOf(pid_t pid)
{
    const std::string line = base_test::contentOf("/proc/" + std::to_string(pid) + "/comm");
    return line.substr(0, line.find('\n'));
}

}  // namespace processes

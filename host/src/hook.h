#pragma once

#include <chrono>
#include <string>

namespace fictl {

/// How a hook command ended.
struct SHookResult
{
    bool ok = false;
    std::string reason;  ///< "exit status 3", "killed by signal 9", "no end within 60 s"; empty when ok
};

/**
 * Runs a command given by the user with /bin/sh -c, in a process group of its own (a Ctrl-C at the terminal does not
 * reach it), standard input empty, standard output on fictl's standard error, default signal handling. When it does not
 * end in time, or when stopOnSignal is set and fictl is asked to stop, its process group gets SIGTERM and 5 s later
 * SIGKILL.
 */
SHookResult runHook(const std::string& command, std::chrono::seconds timeout, bool stopOnSignal);

}  // namespace fictl

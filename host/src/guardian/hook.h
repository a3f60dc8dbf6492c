#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/child_process.h"

namespace fictl {

/// Commands that quiesce the application around the snapshot, and how long they and the freezing may last.
struct SHooks
{
    std::string freeze;  ///< empty: none
    std::string thaw;
    std::chrono::seconds timeout{60};    ///< for each of the two
    std::chrono::seconds maxFreeze{60};  ///< from the start of freeze until thaw is started
};

/// How a hook command ended.
struct SHookResult
{
    bool ok = false;
    std::string reason;  ///< "exit status 3", "killed by signal 9", "no end within 60 s"; empty when ok
};

/**
 * One run of a command given by the user: /bin/sh -c, in a process group of its own (a Ctrl-C at the terminal does not
 * reach it), standard input empty, standard output on standard error, default signal handling. Nothing here waits but
 * the start, and that within the time limit, so that who runs it can watch other things: it calls look() whenever
 * descriptor() is readable or lookAt() has come. A run that is destroyed before it has ended is killed. For one thread.
 */
class CHookRun
{
  public:
    using Clock = base::CChildProcess::Clock;

    /// Starts the command with this process's environment, in which the lines of added ("NAME=value") stand instead of
    /// what those names held before. When it cannot be started, the run has ended with that as its result.
    CHookRun(const std::string& command, std::chrono::seconds timeout, const std::vector<std::string>& added);

    bool wasStarted() const { return m_process.has_value(); }
    /// Its process group; -1 for a command that was not started.
    pid_t group() const { return m_process ? m_process->pid() : -1; }
    /// Readable once the command has ended; -1 when the system has none.
    int descriptor() { return m_process ? m_process->descriptor() : -1; }
    /// When look() has something to do at the latest.
    Clock::time_point lookAt() const;

    /// Sends the group SIGTERM, and SIGKILL once the grace is over; a shorter grace than that of a stop under way
    /// replaces it.
    void stop(std::chrono::milliseconds grace);
    /// True once it has ended. A command that was told to stop ends with all it has started.
    bool look();
    const SHookResult& result() const { return m_result; }

  private:
    SHookResult resultNow() const;
    std::string timeoutText() const;

    std::chrono::seconds m_timeout;
    Clock::time_point m_limit;                     // for a command that is not being stopped
    std::optional<base::CChildProcess> m_process;  // nothing when it could not be started
    bool m_timedOut = false;
    bool m_ended = false;
    SHookResult m_result;
};

/// Waits for its end.
const SHookResult& runToEnd(CHookRun& run);

}  // namespace fictl

#pragma once

#include <sys/types.h>

#include <chrono>

#include "base/file_descriptor.h"

namespace obzx_pdk_4_4 {

class CRunCancel;

constexpr int SIGNAL_STATUS = 128;

/// How a process ended.
struct SExitStatus
{
    bool lost = false;    ///< somebody else took it: the host ignores SIGCHLD or waits for any child
    bool killed = false;  ///< by a signal
    int status = 0;       ///< exit status; SIGNAL_STATUS + signal for a process that was killed
};

/// A process that was started by this one and leads its own group. One that still runs is killed with the object, which
/// waits at most 5 s for it: a process that the kernel holds longer is left to whoever waits for it next.
class CChildProcess
{
  public:
    using Clock = std::chrono::steady_clock;

    explicit CChildProcess(pid_t pid) : m_pid(pid) {}
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    /// Tells without waiting whether the process has ended, and takes its status the first time.
    bool ended();
    const SExitStatus& exitStatus() const { return m_status; }

    /// Waits until the process has ended, the output has something to read (or its end), the run was cancelled or the
    /// time has come; now and then returns before any of these.
    /// @param output -1: is not watched
    /// @param cancel null: is not watched
    /// @return true: the output is ready
    bool waitFor(int output, Clock::time_point until, CRunCancel* cancel = nullptr);

    /// Ends the process group: SIGTERM, after a grace of 5 s SIGKILL; takes the status. What is still written to the
    /// output in that time is read and dropped.
    void stop(int output);

  private:
    void kill(int output);
    bool groupIsGone() const;
    bool waitForEnd(int output, Clock::time_point until, bool wholeGroup);

    const pid_t m_pid;
    base::CFileDescriptor m_end;  // readable once the process has ended; none at first, and when the host has none left
    bool m_lasts = false;         // longer than it takes to open that
    bool m_ended = false;
    bool m_killed = false;
    SExitStatus m_status;
};

}  // namespace obzx_pdk_4_4

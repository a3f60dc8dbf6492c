#pragma once

#include "base/child_process.h"

namespace obzx_pdk_4_4 {

class CRunCancel;

/// A program that was started as the leader of its own process group, and whoever waits for it. One that still runs is
/// killed with the object, which waits at most 5 s for it: one that the kernel holds longer is left to whoever waits
/// for it next.
class CRunningProgram
{
  public:
    using Clock = base::CChildProcess::Clock;

    explicit CRunningProgram(pid_t pid) : m_process(pid) {}
    ~CRunningProgram();
    CRunningProgram(const CRunningProgram&) = delete;
    CRunningProgram& operator=(const CRunningProgram&) = delete;

    /// Tells without waiting whether the program has ended, and takes its status the first time.
    bool hasEnded() { return m_process.hasEnded(); }
    const base::SExitStatus& exitStatus() const { return m_process.exitStatus(); }

    /// Waits until the program has ended, the output has something to read (or its end), the run was cancelled or the
    /// time has come; now and then returns before any of these.
    /// @param output -1: is not watched
    /// @param cancel null: is not watched
    /// @return true: the output is ready
    bool waitFor(int output, Clock::time_point until, CRunCancel* cancel = nullptr);

    /// Ends the process group: SIGTERM, after a grace of 5 s SIGKILL; takes the status. What is still written to the
    /// output in that time is read and dropped.
    void stop(int output);

  private:
    void waitForEnd(int output);

    base::CChildProcess m_process;
    bool m_lasts = false;  // longer than it takes to open a descriptor for its end
};

}  // namespace obzx_pdk_4_4

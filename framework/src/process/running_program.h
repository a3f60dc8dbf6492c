#pragma once

#include <poll.h>

#include <span>

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

    // Who waits for it, and maybe for others beside it, watches descriptors up to a point in time and tells what came
    // of that. They become ready when the program has ended, the output has something to read (or its end) or the run
    // was cancelled, and now and then without any of these.

    static constexpr size_t WATCHED = 3;

    /// @param output -1: is not watched
    /// @param until when to look at the latest; becomes earlier where no descriptor tells
    /// @param cancel null: is not watched
    void watch(int output, std::span<pollfd, WATCHED> watched, Clock::time_point& until, CRunCancel* cancel);
    /// @param isQuiet nothing that was waited for was ready
    /// @return true: the output is ready
    bool isOutputReady(std::span<const pollfd, WATCHED> watched, bool isQuiet, CRunCancel* cancel);

    /// Waits for its end alone; may return before it.
    void wait(Clock::time_point until);

    /// Begins to end the process group: SIGTERM, after a grace of 5 s SIGKILL.
    void stop();

  private:
    base::CChildProcess m_process;
    bool m_lasts = false;  // longer than it takes to open a descriptor for its end
};

}  // namespace obzx_pdk_4_4

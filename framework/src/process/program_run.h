#pragma once

#include <poll.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "framework/include/cfiexecpipe.h"
#include "framework/src/process/process_output.h"
#include "framework/src/process/process_spawn.h"
#include "framework/src/process/run_cancel.h"
#include "framework/src/process/run_record.h"
#include "framework/src/process/running_program.h"

namespace obzx_pdk_4_4 {

/**
 * One run of a program, from its start to its answer. Begins with start(), goes on with wait() until isOver(), and is
 * told to the run observer at its start and, once all is closed, with the end of the object. Several may be under way
 * on one thread, the one that started them, which waits for all of them at once. A program that still runs is killed
 * with the object, and one for whose output there is no memory at once.
 */
class CProgramRun
{
  public:
    using Clock = CRunningProgram::Clock;

    /// @param seconds most that it may take
    CProgramRun(std::string commandLine, unsigned long seconds, const SFiOutputBounds& bounds);
    CProgramRun(const CProgramRun&) = delete;
    CProgramRun& operator=(const CProgramRun&) = delete;

    /// Starts the program. A request that no program could be started with, or fails, leaves a run that is over.
    /// @return whether the program was started
    bool start(const std::string& inputFile, const std::string& directory, const std::string& user,
               const std::string& environment);
    bool isOver() const { return m_isOver; }

    /// Waits for the next that happens in any of the runs that are not over; at least one must not be.
    static void waitForAny(std::span<CProgramRun* const> runs);
    void wait();

    /// Its output is not read while this is off, and the program may have to wait, which does not count against its
    /// time.
    void setReading(bool reading);
    const CFiOutputText& output() const { return m_output.text(); }

    /// Nobody needs its answer: begins to stop a program that runs.
    void drop() noexcept;
    bool isDropped() const { return m_stop == OBZX_RUN_UNUSED; }
    /// Nobody is told of it: for one that is not started and never was.
    void forget() noexcept { m_record.forget(); }

    // Once it is over:

    bool wasStopped() const { return m_stop != OBZX_RUN_NOT_STOPPED; }
    bool hasSucceeded() const { return m_result == EXEC_OK; }
    /// @throw std::bad_alloc, also when there was none for the output
    SFiExecError error() const;
    CFiOutputText takeText();

  private:
    void watch(std::span<pollfd, CRunningProgram::WATCHED> watched, Clock::time_point& until);
    void attend(std::span<const pollfd, CRunningProgram::WATCHED> watched, bool isQuiet) noexcept;
    void readOrStop(bool isReady);
    void stop(obzx_run_stop why) noexcept;
    obzx_run_stop whyGivenUp() const noexcept;
    void end();
    void endWith(const base::SExitStatus& exit);
    int descriptor() const { return m_pausedAt ? -1 : m_output.descriptor(); }

    const std::string m_commandLine;
    const unsigned long m_seconds;
    const SFiOutputBounds m_bounds;
    std::vector<std::string> m_words;
    const bool m_isCommand;  // the line could be split
    CRunRecord m_record;
    CRunCancel m_cancel;
    base::CFileDescriptor m_outputEnd;
    std::optional<CRunningProgram> m_program;
    CProcessOutput m_output{-1, m_bounds};
    Clock::time_point m_deadline;
    std::optional<Clock::time_point> m_pausedAt;  // since when its output is not read
    bool m_isOver = false;
    bool m_lacksMemory = false;
    obzx_run_stop m_stop = OBZX_RUN_NOT_STOPPED;
    int m_startError = 0;
    int m_result = EXEC_FAILED;
};

}  // namespace obzx_pdk_4_4

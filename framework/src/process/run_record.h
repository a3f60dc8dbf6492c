#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "base/child_process.h"
#include "framework/include/cfioutputtext.h"
#include "framework/include/obzx_runtime.h"
#include "framework/src/process/input_text.h"

namespace obzx_pdk_4_4 {

/**
 * Tells the run observer about one run; does nothing when there is none. Made before all that the run needs, as the end
 * is told with the end of the object: also of a run that an exception ends. Nothing here throws.
 */
class CRunRecord
{
  public:
    /// @param words of the command line; none when it is not one. Both must outlive the object.
    CRunRecord(const std::string& commandLine, const std::vector<std::string>& words, unsigned long limit) noexcept;
    ~CRunRecord();
    CRunRecord(const CRunRecord&) = delete;
    CRunRecord& operator=(const CRunRecord&) = delete;

    /// Where the input is to be left; null when nobody is to be told.
    SInputText* inputText() noexcept { return isObserved() ? &m_input : nullptr; }

    /// The program runs: tells the observer. @return whether that asked for the run to be cancelled
    bool started(pid_t process) noexcept;
    /// @param error errno value
    void notStarted(int error) noexcept;
    /// Tells nothing of it, which is for a run that was not started.
    void forget() noexcept { m_observer = 0; }
    /// How it ended concerns nobody any more.
    void unused() noexcept;
    /// @param result an EExecResult
    void ended(int result, obzx_run_stop stop, const base::SExitStatus& exit, const CFiOutputText& output) noexcept;

  private:
    static constexpr size_t MOST_KEPT = size_t{1024} * 1024;  // of the output

    bool isObserved() const noexcept { return m_observer != 0; }
    void fillInput() noexcept;
    void stopClock() noexcept;

    uint64_t m_observer;
    obzx_run m_run = {};
    std::vector<const char*> m_arguments;
    const char* m_program[2] = {"", nullptr};  // the arguments when there is no memory for more, or only a line
    SInputText m_input;
    std::string m_output;
    std::chrono::steady_clock::time_point m_start;
    bool m_isEndKnown = false;
};

}  // namespace obzx_pdk_4_4

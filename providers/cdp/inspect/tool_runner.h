#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "providers/cdp/inspect/inspection.h"
#include "providers/cdp/lmr/lmr_appliance_tool.h"
#include "providers/cdp/lmr/lmr_commands.h"

namespace cdpfi::inspect {

/// The reason for an answer that ends in the middle of a line.
inline constexpr const char* CUT_LISTING = "its last line does not end";

/// What became of a command.
struct SAnswer
{
    CReason problem;                 ///< empty: exit status 0
    bool notStarted = false;         ///< there is no such file, or it is no program
    bool timedOut = false;           ///< it was stopped by the time limit
    std::vector<std::string> lines;  ///< also of a command that failed
    bool isCut = false;              ///< the last line does not end: more was to come
    size_t bytes = 0;                ///< of the whole answer
    SToolUse use;
    SToolRun run;
};

/**
 * While it lives, the runs of this process are watched and limited. One a process.
 */
class CRunWatch
{
  public:
    /// @param seconds most that a run may take; the configuration's MAX_TIMEOUT may allow less
    explicit CRunWatch(uint64_t seconds);
    ~CRunWatch();
    CRunWatch(const CRunWatch&) = delete;
    CRunWatch& operator=(const CRunWatch&) = delete;
};

/// Knows where the tools are and runs them as the plug-in does, but without trace lines. Any thread may use it.
class CToolRunner
{
  public:
    CToolRunner();

    const std::string& shellPath() const { return m_shellPath; }
    const std::string& utilityPath() const { return m_utilityPath; }
    /// What an answer may come to, and all of them together.
    const SLMRAnswerBounds& bounds() const { return m_shell.bounds(); }
    /// How many runs of the tools there may be at once: MAX_PARALLEL of the configuration.
    size_t atOnce() const { return m_atOnce; }

    /// Sends a command to an appliance. @throw std::bad_alloc
    SAnswer send(const std::string& appliance, const SLMRCommand& command);
    /// Lists this host's disks. @throw std::bad_alloc
    SAnswer listDisks();

  private:
    CLMRApplianceTool m_shell;
    std::string m_shellPath;
    std::string m_utilityPath;
    size_t m_atOnce;
    std::atomic<size_t> m_answered{0};  // bytes of the appliances' answers
};

/// A command as people read it: single blanks between words, names in quotes as they are.
std::string readableCommand(const std::string& text);
/// A text in one line that is not too long to be shown.
std::string shortLine(std::string_view text);

}  // namespace cdpfi::inspect

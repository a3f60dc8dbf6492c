#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "framework/include/cfiexecahead.h"
#include "framework/include/cfiexecpipe.h"
#include "providers/cdp/lmr/lmr_answer_bounds.h"
#include "providers/cdp/lmr/lmr_commands.h"
#include "providers/cdp/lmr/lmr_script.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/**
 * Asks for an inventory ahead of the walk that reads it. A walk asks for one listing after the other and decides by
 * each what it goes on with; which listings it will ask for is known all the same: the disks, the hosts and each of
 * them, the groups and each of them. So up to MAX_PARALLEL of these commands are under way at once, all of them on the
 * walk's own thread, and the walk finds its answers there. What an answer means, what is traced of it and where the
 * reading stops stays the walk's business, which asks for each command as though it was run then; what it never asks
 * for is stopped and counts for nothing.
 *
 * One a thread at a time, for as long as somebody holds it. Once a command cannot be begun ahead, for want of
 * descriptors, processes or memory, nothing more is, and the walk runs its commands one after the other.
 */
class CLMRReadAhead : public std::enable_shared_from_this<CLMRReadAhead>
{
  public:
    /// The one of this thread, made when there is none; nothing when commands run one after the other (MAX_PARALLEL 1).
    static std::shared_ptr<CLMRReadAhead> ofThread(const obzx_pdk_4_4::CFiTraceLogPtr& traceLog);
    ~CLMRReadAhead();
    CLMRReadAhead(const CLMRReadAhead&) = delete;
    CLMRReadAhead& operator=(const CLMRReadAhead&) = delete;

    // What the walk will ask for, in this order; begins as much of it as may be under way. What is expected already is
    // not expected twice. @throw std::bad_alloc

    void expectDisks(const CString& server);
    void expectHosts(const CString& server);
    void expectGroups(const CString& server);

    /**
     * The answer to a command, if this thread's walk has it asked for ahead: waits for it.
     * @param pipe runs it, and keeps its error
     * @return the pipe's result; nothing when the caller has to run the command, and then no other runs
     * @throw std::bad_alloc
     */
    static std::optional<int> answer(const CString& server, const CString& command,
                                     obzx_pdk_4_4::CFiExecPipePosix& pipe, obzx_pdk_4_4::CFiOutputText& output);
    /// The same for a command line of the disk utility.
    static std::optional<int> answer(const std::string& commandLine, obzx_pdk_4_4::CFiExecPipePosix& pipe,
                                     obzx_pdk_4_4::CFiOutputText& output);

  private:
    struct SCommand
    {
        std::string m_text;  ///< for the shell, or a command line of the disk utility
        std::optional<size_t> m_run{};
        std::unique_ptr<CLMRScript> m_script{};
    };
    using CDetails = std::vector<SLMRCommand> (*)(const std::vector<std::string>& listing,
                                                  const SLMRAnswerBounds& bounds);
    /// Commands that a walk asks for one after the other: a listing, and one for each name in it.
    struct SWalk
    {
        std::string m_appliance;
        bool m_isOfShell;
        CDetails m_details;  ///< what the listing leads to; null: nothing, or it is known
        std::deque<SCommand> m_commands{};
        size_t m_begun = 0;  ///< commands that were begun, or cannot be
        size_t m_asked = 0;  ///< commands that the walk has asked for, or will not

        bool isWaitingFor(const std::string& text) const
        {
            return m_asked < m_commands.size() && m_commands[m_asked].m_text == text;
        }
    };

    CLMRReadAhead(const obzx_pdk_4_4::CFiTraceLogPtr& traceLog, size_t atOnce);

    void expect(SWalk walk, std::string listing);
    std::optional<int> answer(SWalk& walk, obzx_pdk_4_4::CFiExecPipePosix& pipe, obzx_pdk_4_4::CFiOutputText& output);
    bool isReady(const SWalk& walk, const SCommand& command);
    void giveUpBefore(const SWalk& walk);
    void beginMore();
    bool mayBegin(const SWalk& walk) const;
    void begin(SWalk& walk);
    void wait(std::optional<size_t> wanted);
    void readListing(SWalk& walk) const;

    const size_t m_atOnce;
    const SLMRAnswerBounds m_bounds;
    std::string m_shell;    // as a command line
    std::string m_utility;  // its command line that lists the disks
    std::deque<SWalk> m_walks;
    std::unique_ptr<obzx_pdk_4_4::CFiExecAhead> m_runs;
    bool m_isPossible = true;  // nothing has failed to begin
};

}  // namespace cdpfi

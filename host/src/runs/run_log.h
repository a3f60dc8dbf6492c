#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "framework/include/obzx_runtime.h"

namespace fictl {

/// Why a program was stopped before its end.
enum class EStop
{
    NOT_STOPPED,
    LIMIT,   ///< it gave no answer within the time limit
    CANCEL,  ///< the host cancelled it
    OUTPUT,  ///< it wrote more than the runtime takes
    UNUSED,  ///< it was begun ahead, and nobody needed its answer
};

/// "limit", "cancel", "output" or "unused"; empty for a program that was not stopped.
std::string stopText(EStop stop);

/// One run of a program by the provider: a copy of the runtime's record (obzx_run), whose texts live for one call only.
struct SRunRecord
{
    uint64_t number = 0;                 ///< of the run in this process, from 1
    std::string entryPoint;              ///< entry point during which it ran; empty outside of one
    std::vector<std::string> arguments;  ///< the program's path first
    std::string input;                   ///< text on standard input, its beginning only when it is long
    uint64_t inputSize = 0;              ///< bytes of the whole input
    int64_t process = 0;                 ///< process id and id of its process group; 0: it could not be started
    int64_t startSeconds = 0;            ///< UTC
    int32_t startNanoseconds = 0;
    uint64_t limitSeconds = 0;
    int32_t result = 0;      ///< 0 when the program ended with exit status 0
    int32_t exitStatus = 0;  ///< of a program that ended by itself
    int32_t signal = 0;      ///< that ended it, or 0
    int32_t error = 0;       ///< errno value of one that could not be started or whose status is lost, or 0
    EStop stopped = EStop::NOT_STOPPED;
    std::chrono::nanoseconds duration{0};
    std::string output;       ///< as it came, its beginning only when it is long; not kept of a run that succeeded
    uint64_t outputSize = 0;  ///< bytes of the whole output

    /// The program's name without its folder.
    std::string program() const;
    double seconds() const { return std::chrono::duration<double>(duration).count(); }
    /// True for a program that ended with a status of its own, which stands in exitStatus.
    bool endedByItself() const { return process != 0 && signal == 0 && error == 0 && stopped == EStop::NOT_STOPPED; }
    bool isInputWhole() const { return input.size() == inputSize; }
    bool isOutputWhole() const { return output.size() == outputSize; }
};

/// What the runtime tells of a run; without the texts, whose sizes still stand there, when there is no memory for them.
SRunRecord runRecordOf(const obzx_run& run) noexcept;

/// The runs that have ended since the last take, without those that nobody needed, and what the provider has said
/// meanwhile.
struct SRuns
{
    std::vector<SRunRecord> runs;            ///< in the order in which they ended
    size_t lost = 0;                         ///< further runs, for which there was no room
    std::vector<std::string> messages = {};  ///< the first ones
};

/// Told of every run, on the thread that waits for it, when its program was started and after its end. A program that
/// could not be started has an end only. Must be quick, must not throw, run a program or call the provider.
struct SRunWatch
{
    std::function<void(const SRunRecord&)> onStarted;
    std::function<void(const SRunRecord&)> onEnded;
};

/// Told of every run that has ended, also of one that nobody needed, on the thread that waits for it: the record, and
/// the runtime's own with the whole answer, which is there during the call only. Bound as a watch's functions are.
using RunListener = std::function<void(const SRunRecord& run, const obzx_run& whole)>;

/**
 * Keeps what the runtime tells of the programs that run for this process, and what the provider says. One at a time, as
 * the runtime has one observer; it observes from construction to destruction. Every operation may be called from any
 * thread.
 *
 * What is kept between two takes is bounded by number and bytes. The first runs are kept, as they tell what went wrong
 * first, and those that failed have room of their own, so that a long row of successes never hides a failure.
 */
class CRunLog
{
    /// What is taken of the room for runs of one kind.
    struct SRoom
    {
        size_t runs = 0;
        size_t bytes = 0;
    };
    struct SKept
    {
        SRuns taken;
        SRoom failed;
        SRoom succeeded;
    };

  public:
    /**
     * While it lives, what runs and is said on the thread that made it is kept apart, and a take on that thread hands
     * out that alone: of several pieces of work side by side each is judged by its own runs. What a thread without one
     * has run belongs to the piece of work there is, as long as there is one only. One at a time on a thread.
     */
    class CApart
    {
      public:
        explicit CApart(CRunLog& log);
        ~CApart();
        CApart(const CApart&) = delete;
        CApart& operator=(const CApart&) = delete;

      private:
        friend class CRunLog;
        CRunLog& m_log;
        SKept m_kept;
    };

    /// While it lives, somebody hears of the runs of every log of this process. Made and ended while no log is there.
    class CListening
    {
      public:
        explicit CListening(RunListener listener);
        ~CListening();
        CListening(const CListening&) = delete;
        CListening& operator=(const CListening&) = delete;

      private:
        friend class CRunLog;
        RunListener m_listener;
    };

    CRunLog();
    ~CRunLog();
    CRunLog(const CRunLog&) = delete;
    CRunLog& operator=(const CRunLog&) = delete;

    /// Hands out what was kept and starts anew.
    SRuns take();
    void forget();
    /// Keeps what the provider says.
    void say(std::string message);
    /// Runs that have ended since this log was made, taken or not.
    uint64_t count() const;

    /**
     * While it lives, the provider only looks, and no look is worth waiting for once it is of no use. A command to a
     * server that has let an earlier one run into its time limit is cancelled as soon as it has started, and neither it
     * nor one that ran beside that one is kept: a silent appliance costs one limit, and the command that it let wait is
     * the one to name. Once nobody waits for the look any more, each command is cancelled as soon as it has started.
     * One at a time.
     */
    class CLooking
    {
      public:
        /// @param isGivenUp asked on any thread
        CLooking(CRunLog& log, std::function<bool()> isGivenUp);
        ~CLooking();
        CLooking(const CLooking&) = delete;
        CLooking& operator=(const CLooking&) = delete;

      private:
        CRunLog& m_log;
    };

    /// Who is told of the runs, for every log of this process; empty functions for nobody. To be set while no log is
    /// there.
    static void setWatch(SRunWatch watch);

  private:
    static void onRun(void* context, const obzx_run* run);
    void add(SRunRecord record);
    bool isUseless(const SRunRecord& run) const;
    void setLooking(std::function<bool()> isGivenUp);
    SKept& kept();  // for this thread; the caller holds the lock

    mutable std::mutex m_lock;  // guards all below, and what is kept apart
    SKept m_kept;
    std::vector<CApart*> m_aparts;
    uint64_t m_count = 0;
    std::function<bool()> m_isGivenUp;  // while the provider only looks
    std::set<std::string> m_silent;     // first lines of scripts, which name the server
};

}  // namespace fictl

#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "framework/include/cfiexecpipe.h"
#include "framework/include/cfioutputtext.h"
#include "framework/include/cfitrace.h"

namespace obzx_pdk_4_4 {

class CProgramRun;

/**
 * Programs that are begun ahead of the one whose answer is waited for, so that several are under way at once, all on
 * the one thread that uses the object: it starts no thread. Meant for programs that only read; each is asked for with
 * CFiExecPipePosix::Exec, as though it was run then. What was begun and is not asked for is stopped with the object
 * (SIGTERM to its group, SIGKILL 5 s later) and told to the run observer as unused. Traces nothing; the trace log's
 * component is that whose MAX_TIMEOUT holds. The cost of the answers is bounded: of a program that is not asked for
 * yet the first 16 MiB are read, and it waits with the rest, which does not count against its time.
 */
class OBZX_API CFiExecAhead : public CFiTraceable
{
  public:
    CFiExecAhead();
    ~CFiExecAhead() override;

    /**
     * Begins a run, as CFiExecPipePosix::Exec with these arguments does.
     * @return its number, also of a run that was over before its program was (time limit, cancellation); nothing when
     * it could not be started, for want of descriptors, processes or memory, or as there is no such program: then
     * nobody is told of it, and who needs it runs it by itself
     */
    std::optional<size_t> begin(const std::string& commandLine, const std::string& inputFile, unsigned long timeout);
    /// For the runs from now on.
    void setBounds(const SFiOutputBounds& bounds) { m_bounds = bounds; }

    // Each concerns runs that were not asked for yet.

    /// Programs that have not ended; also of those that are being stopped.
    size_t countRunning() const;
    /// Bytes of the answers that are kept.
    size_t countBytes() const;
    /// Whether nothing is left of a run but its answer.
    bool hasEnded(size_t run) const;
    /// Whether it has ended with result EXEC_OK.
    bool hasSucceeded(size_t run) const;
    /// Its answer so far.
    const CFiOutputText& output(size_t run) const;
    /// Begins to stop a run that is not asked for any more; its number means nothing from then on, and its answer is
    /// not kept.
    void drop(size_t run);
    /// Waits until a program that runs has ended; returns at once when there is none.
    /// @param wanted the one that is read on however much it writes; nothing: all are
    /// @throw std::bad_alloc
    void waitForOne(std::optional<size_t> wanted);

  private:
    friend class CFiExecPipePosix;

    /// Waits for the end of a run and hands it over. @throw std::bad_alloc
    std::unique_ptr<CProgramRun> take(size_t run);

    struct SState;
    std::unique_ptr<SState> m_state;
    SFiOutputBounds m_bounds;
};

}  // namespace obzx_pdk_4_4

#pragma once

#include <sys/types.h>

#include <cstdint>

#include "host/src/guardian/freeze_order.h"
#include "host/src/guardian/guardian_link.h"

namespace fictl {

/**
 * The guardian: a small process that outlives fictl by the moment that it takes to leave nothing behind, however fictl
 * ends. It ends the process groups that are entered, with everything that a tool has started, and it runs the freeze
 * and thaw commands, so that what was frozen is thawed.
 *
 * It is to be started before anything that it must not inherit: threads, the catalog, a provider. It is in a session of
 * its own, so nothing that is done to fictl at a terminal reaches it, ignores every signal that can be ignored, holds
 * nothing of fictl's open but standard error, and is called fictl-guardian. A SIGKILL sent to itself still ends it, and
 * so does the end of a container whose first process is fictl.
 */
class CGuardian
{
  public:
    /// Starts it; throws EFictl (FAILED) when the system does not allow it. One at a time in a process.
    CGuardian();
    /// Ends it and waits for its end.
    ~CGuardian();
    CGuardian(const CGuardian&) = delete;
    CGuardian& operator=(const CGuardian&) = delete;

    /// The one of this process; null when there is none.
    static CGuardian* current();

    /// Orders the freeze command to be started; false when the guardian is gone.
    bool order(const SFreezeOrder& order) const;
    const CGuardianLink& link() const { return m_link; }
    /// Ends it at once, with SIGKILL: it does not answer.
    void giveUp() const;

  private:
    CGuardianLink m_link;
    pid_t m_pid = -1;
};

/// Enters a process group that must not outlive this process, and takes it out. Any thread, quick; they do nothing
/// without a guardian.
void guardianStarted(int64_t group);
void guardianEnded(int64_t group);

}  // namespace fictl

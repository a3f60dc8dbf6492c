#pragma once

#include <memory>
#include <optional>

#include "host/src/guardian/freeze_order.h"

namespace fictl {

/**
 * The guardian's side of one freezing: runs the freeze command, and the thaw command once, for whichever cause comes
 * first: fictl asks for it, fictl is gone, or the application was frozen as long as it may be. A thaw that nobody asked
 * for is tried up to three times, because nobody else is there to see to it.
 * Nothing here waits: look() is to be called whenever descriptor() is readable or lookAt() has come.
 */
class CGuardedFreeze
{
  public:
    using Clock = CHookRun::Clock;

    explicit CGuardedFreeze(const CGuardianLink& link) : m_link(link) {}

    /// Starts freezing; one at a time.
    void freeze(SFreezeOrder order);
    /// Thaws what is frozen, now; a freeze command that still runs is ended first. Does nothing when it is being thawed
    /// already.
    void thaw(EThaw cause);
    /// Nobody is left to see to a thaw that fails.
    void leaveAlone();

    void look();
    int descriptor() const { return m_run ? m_run->descriptor() : -1; }
    std::optional<Clock::time_point> lookAt() const;
    /// Whether the application is or may be frozen.
    bool isBusy() const { return m_phase != EPhase::IDLE; }

  private:
    enum class EPhase
    {
        IDLE,
        FREEZING,
        FROZEN,
        THAWING,
        RETRYING,  // between two tries to thaw
    };

    void freezeEnded();
    void startThaw();
    void thawEnded();
    void settle(const SHookResult& result);
    void tell(const SHookResult& result, double seconds) const;
    bool isAlone() const { return m_isLeftAlone || *m_cause == EThaw::TIMED_OUT; }

    const CGuardianLink& m_link;
    EPhase m_phase = EPhase::IDLE;
    SFreezeOrder m_order;
    std::unique_ptr<CHookRun> m_run;  // of the freeze or the thaw command
    std::optional<EThaw> m_cause;     // why it is thawed, once it is
    bool m_isLeftAlone = false;
    int m_tries = 0;
    Clock::time_point m_start;
    Clock::time_point m_tryAt;
};

}  // namespace fictl

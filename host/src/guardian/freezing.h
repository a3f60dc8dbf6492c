#pragma once

#include <atomic>
#include <chrono>
#include <optional>
#include <thread>

#include "host/src/guardian/freeze_order.h"

namespace fictl {

/// How a freezing ended.
struct SThawed
{
    EThaw cause = EThaw::FAILED;
    SHookResult result;  ///< of the thaw command
    double seconds = 0;  ///< from the start of the freeze command to the end of the thaw command

    /// Whether the application was thawed before who had it frozen was done.
    bool isEarly() const { return cause != EThaw::MADE && cause != EThaw::FAILED; }
};

/**
 * fictl's side of freezing an application through its guardian. From freeze() on it watches: when a signal asks fictl
 * to stop, the application is thawed at once, and when it was thawed for whichever reason, the appliance's commands
 * that run for this process are cancelled until thaw() is called. Without its guardian fictl thaws by itself. However
 * the scope is left, the application is thawed.
 */
class CFreezing
{
  public:
    /// Without a freeze command nothing here does anything.
    explicit CFreezing(SFreezeOrder order);
    ~CFreezing();
    CFreezing(const CFreezing&) = delete;
    CFreezing& operator=(const CFreezing&) = delete;

    /// Runs the freeze command. When that fails, what it may have frozen is thawed again before this returns. Throws
    /// EFictl (HOOK) when there is no guardian: nothing was frozen.
    SHookResult freeze();
    /// True when the application was thawed, or is being thawed, although nobody has called thaw().
    bool isCutShort() const { return m_isCutShort; }
    /// Thaws, unless that has happened already, and tells how it was. Nothing when nothing was frozen.
    std::optional<SThawed> thaw(EThaw cause);

  private:
    using Clock = CHookRun::Clock;

    void ask(EThaw cause);
    void watch();
    void attendUntilThawed();
    void attend();
    void note(const SGuardMessage& message);
    void thawAlone();

    SFreezeOrder m_order;
    std::thread m_watch;  // from the end of freeze() on; all below but the atomics belong to it until it has ended
    std::atomic<bool> m_isAsked{false};
    std::atomic<EThaw> m_cause{EThaw::FAILED};  // what was asked for
    std::atomic<bool> m_isCutShort{false};
    std::atomic<bool> m_isOver{false};  // thaw() was called
    bool m_isActive = false;
    Clock::time_point m_start;
    Clock::time_point m_patience;   // until then the guardian must have answered
    bool m_isThawExpected = false;  // as its next answer
    int64_t m_hookGroup = 0;        // process group of the command that runs
    std::optional<SHookResult> m_frozen;
    std::optional<SThawed> m_thawed;
};

}  // namespace fictl

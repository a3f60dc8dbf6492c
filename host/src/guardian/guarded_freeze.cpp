#include "host/src/guardian/guarded_freeze.h"

#include <algorithm>

#include "host/src/output/progress.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

using std::chrono::milliseconds;

// What a freeze command gets to end by itself when the application has to be thawed now.
constexpr milliseconds SHORT_GRACE{300};
constexpr int MOST_TRIES = 3;
constexpr milliseconds PAUSE{500};

}  // namespace

void CGuardedFreeze::freeze(SFreezeOrder order)
{
    m_order = std::move(order);
    m_cause.reset();
    m_tries = 0;
    m_start = Clock::now();
    m_run = m_order.startFreeze();
    m_phase = EPhase::FREEZING;
    m_link.send({.type = EGuard::HOOK_STARTED, .number = m_run->group()});
}

void CGuardedFreeze::thaw(EThaw cause)
{
    if (m_phase == EPhase::IDLE || m_cause) return;
    m_cause = cause;
    if (m_phase == EPhase::FREEZING) {
        m_run->stop(SHORT_GRACE);
    } else {
        startThaw();
    }
}

void CGuardedFreeze::leaveAlone()
{
    m_isLeftAlone = true;
    thaw(EThaw::KILLED);
}

std::optional<CGuardedFreeze::Clock::time_point> CGuardedFreeze::lookAt() const
{
    if (m_phase == EPhase::IDLE) return std::nullopt;
    if (m_phase == EPhase::RETRYING) return m_tryAt;
    const Clock::time_point deadline = m_start + m_order.hooks.maxFreeze;
    if (!m_run) return deadline;
    return m_cause ? m_run->lookAt() : std::min(m_run->lookAt(), deadline);
}

void CGuardedFreeze::look()
{
    if (m_run && m_run->look()) {
        if (m_phase == EPhase::FREEZING) {
            freezeEnded();
        } else {
            thawEnded();
        }
    }
    const Clock::time_point now = Clock::now();
    const bool mayBeFrozen = (m_phase == EPhase::FREEZING || m_phase == EPhase::FROZEN) && !m_cause;
    if (mayBeFrozen && now >= m_start + m_order.hooks.maxFreeze) {
        m_link.send({.type = EGuard::THAWING, .cause = EThaw::TIMED_OUT});
        thaw(EThaw::TIMED_OUT);
    }
    if (m_phase == EPhase::RETRYING && now >= m_tryAt) startThaw();
}

void CGuardedFreeze::freezeEnded()
{
    const SHookResult result = m_run->result();
    const bool wasStarted = m_run->wasStarted();
    const int64_t group = m_run->group();
    m_run.reset();
    m_phase = EPhase::FROZEN;
    if (m_cause) {
        startThaw();
    } else {
        m_link.send({.type = EGuard::FROZEN, .ok = result.ok, .number = wasStarted ? group : 0, .text = result.reason});
        // What was not even started has frozen nothing.
        if (!wasStarted) m_phase = EPhase::IDLE;
    }
}

void CGuardedFreeze::startThaw()
{
    ++m_tries;
    m_phase = EPhase::THAWING;
    m_run = m_order.startThaw(*m_cause);
    m_link.send({.type = EGuard::HOOK_STARTED, .number = m_run->group()});
}

void CGuardedFreeze::thawEnded()
{
    const SHookResult result = m_run->result();
    m_run.reset();
    if (result.ok || !isAlone() || m_tries == MOST_TRIES) return settle(result);
    m_phase = EPhase::RETRYING;
    m_tryAt = Clock::now() + PAUSE;
}

void CGuardedFreeze::settle(const SHookResult& result)
{
    const std::chrono::duration<double> frozen = Clock::now() - m_start;
    m_phase = EPhase::IDLE;
    m_link.send(
        {.type = EGuard::THAWED, .cause = *m_cause, .ok = result.ok, .seconds = frozen.count(), .text = result.reason});
    if (isAlone()) tell(result, frozen.count());
}

void CGuardedFreeze::tell(const SHookResult& result, double seconds) const
{
    const std::string snapshot = "snapshot \"" + m_order.snapshot + "\": ";
    const std::string why = *m_cause == EThaw::TIMED_OUT ? "the application was frozen as long as --max-freeze allows"
                                                         : "fictl ended while the application was frozen";
    if (result.ok) {
        CProgress::warn(snapshot + why + "; it was thawed after " + secondsText(seconds));
    } else {
        CProgress::warn(snapshot + why + ", and it may still be: the thaw command \"" + printable(m_order.hooks.thaw) +
                        "\" failed " + std::to_string(m_tries) + " times: " + result.reason + "; run it by hand");
    }
}

}  // namespace fictl

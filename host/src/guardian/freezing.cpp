#include "host/src/guardian/freezing.h"

#include <csignal>
#include <system_error>

#include "framework/include/obzx_runtime.h"
#include "host/src/guardian/guardian.h"
#include "host/src/output/error.h"
#include "host/src/output/progress.h"
#include "host/src/process/signals.h"

namespace fictl {

namespace {

// How soon a signal is seen. Waking up is cheap enough for the seconds that an application may be frozen.
constexpr std::chrono::milliseconds SLICE{50};
// How much later than it should a guardian may answer before it is taken for hung.
constexpr std::chrono::seconds LATENESS{2};
// A thaw by the guardian: three tries, each with the time to end a command that takes too long.
constexpr int TRIES = 3;
constexpr std::chrono::seconds TO_END_A_COMMAND{10};

SHookResult failureOf(EThaw cause)
{
    if (cause == EThaw::STOPPED) return {false, "stopped by a signal"};
    if (cause == EThaw::TIMED_OUT) return {false, "not done when --max-freeze had passed"};
    return {false, "the guardian process was killed"};
}

}  // namespace

CFreezing::CFreezing(SFreezeOrder order) : m_order(std::move(order)) {}

CFreezing::~CFreezing()
{
    thaw(EThaw::FAILED);
}

SHookResult CFreezing::freeze()
{
    if (m_order.hooks.freeze.empty()) return {true, {}};
    m_start = Clock::now();
    m_patience = m_start + m_order.hooks.maxFreeze + LATENESS;
    const CGuardian* const guardian = CGuardian::current();
    if (guardian == nullptr || !guardian->order(m_order)) {
        throw EFictl(EExit::HOOK, "the guardian process is gone, so nothing was frozen, and nothing was made",
                     "run the command again, and leave the process fictl-guardian alone");
    }
    m_isActive = true;
    while (!m_frozen && !m_thawed) {
        attend();
    }
    if (m_thawed) return failureOf(m_thawed->cause);
    if (!m_frozen->ok) {
        thaw(EThaw::FAILED);
        return *m_frozen;
    }
    try {
        m_watch = std::thread([this] { watch(); });
    } catch (const std::system_error& error) {
        thaw(EThaw::FAILED);
        return {false, std::string("fictl cannot watch over it: ") + error.what()};
    }
    return *m_frozen;
}

std::optional<SThawed> CFreezing::thaw(EThaw cause)
{
    if (!m_isActive) return m_thawed;
    m_isOver = true;
    ask(cause);
    if (m_watch.joinable()) {
        m_watch.join();
    } else {
        attendUntilThawed();
    }
    m_isActive = false;
    return m_thawed;
}

void CFreezing::ask(EThaw cause)
{
    if (m_isAsked) return;
    m_cause = cause;
    m_isAsked = true;
    // Whether the guardian is there to get it shows when its answer is read.
    CGuardian::current()->link().send({.type = EGuard::THAW, .cause = cause});
}

void CFreezing::watch()
{
    attendUntilThawed();
    // A provider may go on to a next command although one was cancelled.
    while (m_isCutShort && !m_isOver) {
        obzx_cancel_runs();
        std::this_thread::sleep_for(SLICE);
    }
}

void CFreezing::attendUntilThawed()
{
    while (!m_thawed) {
        attend();
    }
}

void CFreezing::attend()
{
    if (stopRequested() && !m_isAsked) {
        m_isCutShort = true;
        ask(EThaw::STOPPED);
    }
    if (m_isCutShort) obzx_cancel_runs();
    if ((m_isAsked || m_isCutShort) && !m_isThawExpected) {
        m_isThawExpected = true;
        m_patience = Clock::now() + TRIES * (m_order.hooks.timeout + TO_END_A_COMMAND) + LATENESS;
    }
    SGuardMessage message;
    switch (CGuardian::current()->link().receive(message, SLICE)) {
        case CGuardianLink::EReceived::MESSAGE:
            return note(message);
        case CGuardianLink::EReceived::GONE:
            return thawAlone();
        case CGuardianLink::EReceived::NOTHING:
            break;
    }
    if (Clock::now() > m_patience) CGuardian::current()->giveUp();
}

void CFreezing::note(const SGuardMessage& message)
{
    switch (message.type) {
        case EGuard::HOOK_STARTED:
            m_hookGroup = message.number;
            break;
        case EGuard::FROZEN:
            m_hookGroup = 0;
            m_frozen = {message.ok, message.text};
            if (message.number == 0) m_isActive = false;  // nothing was frozen
            break;
        case EGuard::THAWING:
            m_isCutShort = true;
            break;
        case EGuard::THAWED:
            m_thawed = {message.cause, {message.ok, message.text}, message.seconds};
            break;
        default:
            break;
    }
}

// Somebody has killed the guardian. Its command would go on beside the one that is run here.
void CFreezing::thawAlone()
{
    if (m_hookGroup > 0) kill(-static_cast<pid_t>(m_hookGroup), SIGKILL);
    const EThaw cause = m_isAsked ? m_cause.load() : EThaw::KILLED;
    if (!m_isAsked) {
        m_isCutShort = true;
        obzx_cancel_runs();
    }
    CProgress::warn("the guardian process is gone; the application is thawed by fictl itself");
    const std::unique_ptr<CHookRun> run = m_order.startThaw(cause);
    const SHookResult result = runToEnd(*run);
    const std::chrono::duration<double> frozen = Clock::now() - m_start;
    m_thawed = {cause, result, frozen.count()};
}

}  // namespace fictl

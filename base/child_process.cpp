#include "base/child_process.h"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace base {

namespace {

// Between SIGKILL and giving up a process that the kernel itself holds; whoever waits for it would be held, too.
constexpr std::chrono::seconds PATIENCE{5};
// How often is looked for what no descriptor reports: the end of a group, or of a process without one.
constexpr std::chrono::milliseconds LOOK_INTERVAL{10};

// As waitid, which does not wait here; no id in the record: the process has not ended.
bool lookAtChild(pid_t pid, siginfo_t& info, int options)
{
    int result;
    do {
        info = {};
        result = ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | options);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

}  // namespace

CChildProcess::~CChildProcess()
{
    if (m_isOver) return;
    ::kill(-m_pid, SIGKILL);
    siginfo_t info;
    if (!m_isTaken) lookAtChild(m_pid, info, 0);
}

int CChildProcess::descriptor() noexcept
{
    // Its id may be another's once its status is taken.
    if (!m_descriptor && !m_isTaken) {
        m_descriptor = CFileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0)));
    }
    return m_descriptor.get();
}

CChildProcess::Clock::time_point CChildProcess::lookAt() const noexcept
{
    const Clock::time_point at = std::min(m_killAt, m_giveUpAt);
    return m_descriptor ? at : std::min(at, Clock::now() + LOOK_INTERVAL);
}

void CChildProcess::stop(std::chrono::milliseconds grace, ERest rest) noexcept
{
    if (m_isOver || m_giveUpAt != NEVER) return;
    if (!m_isStopping) ::kill(-m_pid, SIGTERM);
    m_isStopping = true;
    m_rest = rest;
    m_killAt = std::min(m_killAt, Clock::now() + grace);
}

void CChildProcess::kill() noexcept
{
    if (m_isOver) return;
    ::kill(-m_pid, SIGKILL);
    m_isStopping = true;
    m_killAt = NEVER;
    m_giveUpAt = std::min(m_giveUpAt, Clock::now() + PATIENCE);
}

bool CChildProcess::hasEnded() noexcept
{
    if (m_isOver) return true;
    if (takeStatus()) {
        const bool hasGrace = m_rest == ERest::HAS_GRACE && m_killAt != NEVER;
        m_isOver = !hasGrace || groupIsGone();
    }
    const Clock::time_point next = std::min(m_killAt, m_giveUpAt);
    if (m_isOver || next == NEVER || Clock::now() < next) return m_isOver;
    if (m_giveUpAt != NEVER) {
        m_isOver = m_status.held = true;
    } else {
        kill();
        m_isOver = m_isTaken;
    }
    return m_isOver;
}

bool CChildProcess::takeStatus() noexcept
{
    if (m_isTaken) return true;
    // Left as it is at first where the rest is to be killed: as long, the group's id is its own.
    const bool killsRest = m_isStopping && m_rest == ERest::IS_KILLED;
    siginfo_t info = {};
    const bool isKnown = lookAtChild(m_pid, info, killsRest ? WNOWAIT : 0);
    if (isKnown && info.si_pid == 0) return false;
    if (killsRest) {
        ::kill(-m_pid, SIGKILL);
        siginfo_t same;
        if (isKnown) lookAtChild(m_pid, same, 0);
    }
    m_status.lost = !isKnown;
    if (isKnown) (info.si_code == CLD_EXITED ? m_status.exit : m_status.signal) = info.si_status;
    m_descriptor.reset();
    m_isTaken = true;
    return true;
}

bool CChildProcess::groupIsGone() const noexcept
{
    return ::kill(-m_pid, 0) != 0 && errno == ESRCH;
}

}  // namespace base

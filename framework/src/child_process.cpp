#include "framework/src/child_process.h"

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>

#include "framework/src/process_output.h"
#include "framework/src/run_cancel.h"

namespace obzx_pdk_4_4 {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds GRACE{5};
// How often is looked for what no descriptor reports: the end of a group, or of a process without one; a cancellation.
constexpr milliseconds LOOK_INTERVAL{10};

}  // namespace

CChildProcess::~CChildProcess()
{
    if (!ended() && !m_killed) kill(-1);
}

bool CChildProcess::ended()
{
    if (m_ended) return true;
    siginfo_t info = {};
    int result;
    do {
        result = ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG);
    } while (result != 0 && errno == EINTR);
    if (result == 0 && info.si_pid == 0) return false;
    m_status.lost = result != 0;
    m_status.killed = result == 0 && info.si_code != CLD_EXITED;
    m_status.status = m_status.killed ? SIGNAL_STATUS + info.si_status : info.si_status;
    m_ended = true;
    return true;
}

bool CChildProcess::waitFor(int output, Clock::time_point until, CRunCancel* cancel)
{
    // Most programs end within a few milliseconds, and their output with them: to watch that is enough for them.
    if (!m_end && (m_lasts || output < 0)) {
        m_end = base::CFileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0)));
    }
    const int cancelled = cancel != nullptr && m_end ? cancel->descriptor() : -1;
    const bool isAllWatched = m_end && (cancel == nullptr || cancelled >= 0);
    const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
    const milliseconds most = isAllWatched ? milliseconds(INT_MAX) : LOOK_INTERVAL;
    pollfd watched[] = {{output, POLLIN, 0}, {m_end.get(), POLLIN, 0}, {cancelled, POLLIN, 0}};  // poll skips negatives
    const int ready = ::poll(watched, 3, static_cast<int>(std::clamp(left, milliseconds(0), most).count()));
    m_lasts = m_lasts || ready == 0;
    if (ready > 0 && watched[2].revents != 0 && !cancel->isRequested()) cancel->dropDescriptor();
    return ready > 0 && watched[0].revents != 0;
}

bool CChildProcess::groupIsGone() const
{
    return ::kill(-m_pid, 0) != 0 && errno == ESRCH;
}

bool CChildProcess::waitForEnd(int output, Clock::time_point until, bool wholeGroup)
{
    while (!ended() || (wholeGroup && !groupIsGone())) {
        if (Clock::now() >= until) return false;
        // The descriptor of a process that has ended stays readable; the rest of its group is looked for by time.
        if (m_ended) {
            ::poll(nullptr, 0, static_cast<int>(LOOK_INTERVAL.count()));
        } else {
            waitFor(output, until);
        }
        if (output >= 0 && !CProcessOutput::discard(output)) output = -1;
    }
    return true;
}

void CChildProcess::stop(int output)
{
    ::kill(-m_pid, SIGTERM);
    if (!waitForEnd(output, Clock::now() + GRACE, true)) kill(output);
}

void CChildProcess::kill(int output)
{
    m_killed = true;
    ::kill(-m_pid, SIGKILL);
    // A process that the kernel itself holds does not even end by this; the caller is not held up with it.
    waitForEnd(output, Clock::now() + GRACE, false);
}

}  // namespace obzx_pdk_4_4

#include "host/src/guardian/hook.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

extern "C" {
#include <sys/pidfd.h>  // the C library's header of this age does not say so itself
}

#include "host/src/process/child_start.h"

namespace fictl {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Between SIGTERM and SIGKILL for a command that took too long, and between SIGKILL and giving up a process that the
// kernel itself holds.
constexpr seconds GRACE{5};
// How often is looked for the end of a process without a descriptor of its own.
constexpr milliseconds LOOK_INTERVAL{50};

SHookResult resultOf(const siginfo_t& info)
{
    const std::string status = std::to_string(info.si_status);
    if (info.si_code != CLD_EXITED) return {false, "killed by signal " + status};
    if (info.si_status != 0) return {false, "exit status " + status};
    return {true, {}};
}

}  // namespace

CHookRun::CHookRun(const std::string& command, seconds timeout, const std::vector<std::string>& added)
    : m_timeout(timeout), m_limit(Clock::now() + timeout)
{
    // What a hook writes is no result of fictl's.
    const int error = startChild({"/bin/sh", {"sh", "-c", command}, added, STDERR_FILENO, STDERR_FILENO}, m_pid);
    if (error == 0) {
        m_process = base::CFileDescriptor(pidfd_open(m_pid, 0));
        return;
    }
    m_ended = true;
    m_result.reason = "cannot start: " + std::error_code(error, std::generic_category()).message();
}

CHookRun::~CHookRun()
{
    if (m_ended) return;
    kill(-m_pid, SIGKILL);
    // Not waited for: a process that the kernel itself holds would hold its runner, too.
    reap(WNOHANG);
}

CHookRun::Clock::time_point CHookRun::lookAt() const
{
    Clock::time_point at = m_limit;
    if (m_killAt) at = *m_killAt;
    if (m_giveUpAt) at = *m_giveUpAt;
    return m_process ? at : std::min(at, Clock::now() + LOOK_INTERVAL);
}

void CHookRun::stop(milliseconds grace)
{
    if (m_ended) return;
    if (!m_killAt) kill(-m_pid, SIGTERM);
    const Clock::time_point killAt = Clock::now() + grace;
    m_killAt = std::min(m_killAt.value_or(killAt), killAt);
}

bool CHookRun::look()
{
    if (!m_ended && !hasEnded()) onTime(Clock::now());
    return m_ended;
}

bool CHookRun::hasEnded()
{
    // Left unreaped at first, so that the group's id is still its own while the rest of the group is killed.
    siginfo_t info = {};
    const bool isKnown = waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0;
    if (isKnown ? info.si_pid == 0 : errno == EINTR) return false;
    if (m_killAt) kill(-m_pid, SIGKILL);
    reap(0);
    m_ended = true;
    m_result = isKnown ? resultOf(info) : SHookResult{false, "its exit status is lost"};
    if (m_timedOut) m_result = {false, "no end within " + std::to_string(m_timeout.count()) + " s"};
    return true;
}

void CHookRun::reap(int options) const
{
    siginfo_t info = {};
    while (waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | options) != 0 && errno == EINTR) {
    }
}

void CHookRun::onTime(Clock::time_point now)
{
    if (!m_killAt && now >= m_limit) {
        m_timedOut = true;
        stop(GRACE);
    }
    if (m_killAt && !m_giveUpAt && now >= *m_killAt) {
        kill(-m_pid, SIGKILL);
        m_giveUpAt = now + GRACE;
    }
    if (m_giveUpAt && now >= *m_giveUpAt) {
        m_ended = true;
        m_result = {false, "it does not even end when it is killed"};
    }
}

const SHookResult& runToEnd(CHookRun& run)
{
    while (!run.look()) {
        const auto left = std::chrono::ceil<milliseconds>(run.lookAt() - CHookRun::Clock::now());
        pollfd process{run.descriptor(), POLLIN, 0};  // poll skips a negative one
        poll(&process, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
    }
    return run.result();
}

}  // namespace fictl

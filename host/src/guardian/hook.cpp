#include "host/src/guardian/hook.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "base/child_start.h"
#include "base/poll_until.h"

namespace fictl {

namespace {

// Between SIGTERM and SIGKILL for a command that took too long.
constexpr std::chrono::seconds GRACE{5};

// 0, or the errno value of what failed; ECANCELED: it did not start in time.
int startShell(const std::string& command, const std::vector<std::string>& added, CHookRun::Clock::time_point limit,
               pid_t& pid)
{
    const base::CFileDescriptor input = base::openInput();
    if (!input) return errno;
    base::SChildStart start;
    start.programs = {"/bin/sh"};
    start.words = {"sh", "-c", command};
    start.environment = added;
    start.input = input.get();
    start.output = start.errors = STDERR_FILENO;  // what a hook writes is no result of fictl's
    start.isGivenUp = [limit] { return CHookRun::Clock::now() >= limit; };
    return base::startChild(start, pid);
}

}  // namespace

CHookRun::CHookRun(const std::string& command, std::chrono::seconds timeout, const std::vector<std::string>& added)
    : m_timeout(timeout), m_limit(Clock::now() + timeout)
{
    pid_t pid = -1;
    const int error = startShell(command, added, m_limit, pid);
    if (error == 0) {
        m_process.emplace(pid);
        return;
    }
    m_ended = true;
    m_result.reason = error == ECANCELED ? timeoutText()
                                         : "cannot start: " + std::error_code(error, std::generic_category()).message();
}

std::string CHookRun::timeoutText() const
{
    return "no end within " + std::to_string(m_timeout.count()) + " s";
}

CHookRun::Clock::time_point CHookRun::lookAt() const
{
    if (m_ended) return Clock::now();
    return m_process->isStopping() ? m_process->lookAt() : std::min(m_limit, m_process->lookAt());
}

void CHookRun::stop(std::chrono::milliseconds grace)
{
    if (!m_ended) m_process->stop(grace, base::CChildProcess::ERest::IS_KILLED);
}

bool CHookRun::look()
{
    if (m_ended) return true;
    if (m_process->hasEnded()) {
        m_ended = true;
        m_result = resultNow();
    } else if (!m_process->isStopping() && Clock::now() >= m_limit) {
        m_timedOut = true;
        stop(GRACE);
    }
    return m_ended;
}

SHookResult CHookRun::resultNow() const
{
    const base::SExitStatus& status = m_process->exitStatus();
    if (status.held) return {.ok = false, .reason = "it does not even end when it is killed"};
    if (m_timedOut) return {.ok = false, .reason = timeoutText()};
    if (status.lost) return {.ok = false, .reason = "its exit status is lost"};
    if (status.signal != 0) return {.ok = false, .reason = "killed by signal " + std::to_string(status.signal)};
    if (status.exit != 0) return {.ok = false, .reason = "exit status " + std::to_string(status.exit)};
    return {.ok = true, .reason = {}};
}

const SHookResult& runToEnd(CHookRun& run)
{
    while (!run.look()) {
        pollfd process[] = {{run.descriptor(), POLLIN, 0}};
        base::pollUntil(process, run.lookAt());
    }
    return run.result();
}

}  // namespace fictl

#include "host/src/guardian/guardian.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>

extern "C" {
#include <sys/pidfd.h>  // the C library's header of this age does not say so itself
}

#include "host/src/guardian/guardian_process.h"
#include "host/src/output/error.h"
#include "host/src/output/heartbeat.h"
#include "host/src/runs/run_log.h"

namespace fictl {

namespace {

std::atomic<CGuardian*> g_current{nullptr};

// How long it may take to end once fictl has nothing more for it.
constexpr std::chrono::milliseconds MOST_WAIT{1000};

[[noreturn]] void refuse(const char* what)
{
    const std::string reason = std::error_code(errno, std::generic_category()).message();
    throw EFictl(
        EExit::FAILED,
        std::string("the guardian process, without which nothing is begun, cannot be started: ") + what + ": " + reason,
        "give fictl more processes or open files (ulimit -u, ulimit -n)");
}

// True once the process has ended and is reaped; waits for that.
bool hasEnded(pid_t pid, std::chrono::milliseconds timeout)
{
    const base::CFileDescriptor process(pidfd_open(pid, 0));
    pollfd end{process.get(), POLLIN, 0};
    poll(&end, 1, static_cast<int>(timeout.count()));
    siginfo_t info = {};
    const int result = waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG);
    return result == 0 ? info.si_pid != 0 : errno != EINTR;
}

void enter(EGuard type, int64_t group)
{
    const CGuardian* const guardian = g_current;
    if (guardian != nullptr) guardian->link().send({.type = type, .number = group});
}

}  // namespace

CGuardian::CGuardian()
{
    std::optional<std::pair<CGuardianLink, CGuardianLink>> links = CGuardianLink::pair();
    if (!links) refuse("no socket");
    // The end of the socket tells the same, unless a process that the runtime did not start has inherited it.
    base::CFileDescriptor fictl = base::aboveStandard(base::CFileDescriptor(pidfd_open(getpid(), 0)));
    m_pid = fork();
    if (m_pid < 0) refuse("no process");
    if (m_pid == 0) {
        links->first.close();
        runGuardian(std::move(links->second), std::move(fictl));
    }
    m_link = std::move(links->first);
    g_current = this;
    CRunLog::setWatch({[](const SRunRecord& run) {
                           guardianStarted(run.process);
                           noteRunStarted(run);
                       },
                       [](const SRunRecord& run) {
                           guardianEnded(run.process);
                           noteRunEnded(run);
                       }});
}

CGuardian::~CGuardian()
{
    CRunLog::setWatch({});
    g_current = nullptr;
    m_link.close();
    while (!hasEnded(m_pid, MOST_WAIT)) {
        giveUp();
    }
}

CGuardian* CGuardian::current()
{
    return g_current;
}

bool CGuardian::order(const SFreezeOrder& order) const
{
    const std::string text = order.encoded();
    size_t at = 0;
    for (; text.size() - at > CGuardianLink::MOST_TEXT; at += CGuardianLink::MOST_TEXT) {
        if (!m_link.send({.type = EGuard::MORE_TEXT, .text = text.substr(at, CGuardianLink::MOST_TEXT)})) return false;
    }
    return m_link.send({.type = EGuard::FREEZE, .text = text.substr(at)});
}

void CGuardian::giveUp() const
{
    kill(m_pid, SIGKILL);
}

void guardianStarted(int64_t group)
{
    enter(EGuard::ADD_GROUP, group);
}

void guardianEnded(int64_t group)
{
    enter(EGuard::REMOVE_GROUP, group);
}

}  // namespace fictl

#include "host/src/guardian/guardian_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <set>

#include "host/src/guardian/guarded_freeze.h"
#include "host/src/output/progress.h"

namespace fictl {

namespace {

using std::chrono::milliseconds;

class CGuardianProcess
{
  public:
    CGuardianProcess(CGuardianLink link, base::CFileDescriptor fictl)
        : m_link(std::move(link)), m_fictl(std::move(fictl)), m_freeze(m_link)
    {
    }

    void run()
    {
        while (m_isServing || m_freeze.isBusy()) {
            wait();
            m_freeze.look();
        }
        // Only now: a standard error that nobody reads must hold up nothing.
        if (m_hasKilled) CProgress::warn("fictl ended while an appliance command ran; the command was ended with it");
    }

  private:
    void wait();
    milliseconds timeLeft() const;
    void serve();
    void handle(const SGuardMessage& message);
    void startFreeze(const std::string& order);
    void fictlIsGone();

    CGuardianLink m_link;
    base::CFileDescriptor m_fictl;
    CGuardedFreeze m_freeze;
    std::set<int64_t> m_groups;
    std::string m_text;  // of an order that is not there whole
    bool m_isServing = true;
    bool m_hasKilled = false;
};

milliseconds CGuardianProcess::timeLeft() const
{
    const std::optional<CGuardedFreeze::Clock::time_point> at = m_freeze.lookAt();
    if (!at) return milliseconds(-1);
    const auto left = std::chrono::ceil<milliseconds>(*at - CGuardedFreeze::Clock::now());
    return std::clamp(left, milliseconds(0), milliseconds(INT_MAX));
}

void CGuardianProcess::wait()
{
    // poll skips negative ones.
    pollfd watched[] = {{m_freeze.descriptor(), POLLIN, 0},
                        {m_isServing ? m_link.descriptor() : -1, POLLIN, 0},
                        {m_isServing ? m_fictl.get() : -1, POLLIN, 0}};
    if (poll(watched, std::size(watched), static_cast<int>(timeLeft().count())) <= 0) return;
    if (watched[1].revents != 0) {
        serve();
    } else if (watched[2].revents != 0) {
        // Seen only when no message is left to read.
        fictlIsGone();
    }
}

void CGuardianProcess::serve()
{
    SGuardMessage message;
    const CGuardianLink::EReceived received = m_link.receive(message, milliseconds(0));
    if (received == CGuardianLink::EReceived::MESSAGE) handle(message);
    if (received == CGuardianLink::EReceived::GONE) fictlIsGone();
}

void CGuardianProcess::handle(const SGuardMessage& message)
{
    switch (message.type) {
        case EGuard::ADD_GROUP:
            // 0 and 1 would mean this process's own group and everything.
            if (message.number > 1) m_groups.insert(message.number);
            break;
        case EGuard::REMOVE_GROUP:
            m_groups.erase(message.number);
            break;
        case EGuard::MORE_TEXT:
            m_text += message.text;
            break;
        case EGuard::FREEZE:
            startFreeze(m_text + message.text);
            m_text.clear();
            break;
        case EGuard::THAW:
            m_freeze.thaw(message.cause);
            break;
        default:
            break;
    }
}

void CGuardianProcess::startFreeze(const std::string& order)
{
    std::optional<SFreezeOrder> decoded = SFreezeOrder::decoded(order);
    if (decoded && !m_freeze.isBusy()) {
        m_freeze.freeze(std::move(*decoded));
    } else {
        m_link.send({.type = EGuard::FROZEN, .text = "the order to freeze was not understood"});
    }
}

// SIGKILL, because fictl is no longer there to hear what a command that ends in order would say, and because the tools
// themselves get no other: the runtime has them killed with the process that runs them.
void CGuardianProcess::fictlIsGone()
{
    m_isServing = false;
    for (const int64_t group : m_groups) {
        if (kill(-static_cast<pid_t>(group), SIGKILL) == 0) m_hasKilled = true;
    }
    m_freeze.leaveAlone();
}

void ignoreSignals()
{
    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        // While SIGCHLD is ignored the system keeps no exit status of a command.
        action.sa_handler = signal == SIGCHLD ? SIG_DFL : SIG_IGN;
        sigaction(signal, &action, nullptr);
    }
}

// Standard input and output become /dev/null: a reader of fictl's output sees its end when fictl ends.
void replaceStandardStreams()
{
    const bool hasError = fcntl(STDERR_FILENO, F_GETFD) >= 0;
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    // Each takes the lowest number that is free.
    for (int missing = hasError ? 2 : 3; missing > 0; --missing) {
        open("/dev/null", O_RDWR);
    }
}

void closeAllBut(int one, int other)
{
    const int last = std::max({one, other, STDERR_FILENO});
    for (int descriptor = STDERR_FILENO + 1; descriptor < last; ++descriptor) {
        if (descriptor != one && descriptor != other) close(descriptor);
    }
    closefrom(last + 1);
}

}  // namespace

void runGuardian(CGuardianLink link, base::CFileDescriptor fictl)
{
    constexpr int FAILED = 1;
    try {
        ignoreSignals();
        setsid();
        prctl(PR_SET_NAME, "fictl-guardian");
        replaceStandardStreams();
        closeAllBut(link.descriptor(), fictl.get());
        CGuardianProcess(std::move(link), std::move(fictl)).run();
    } catch (...) {
        // Out of memory: fictl sees it gone and thaws by itself.
        _exit(FAILED);
    }
    // Nothing that belongs to fictl may be flushed or torn down here.
    _exit(0);
}

}  // namespace fictl

#include "host/src/process/signals.h"

#include <atomic>
#include <csignal>

#include "framework/include/obzx_runtime.h"
#include "host/src/output/error.h"

namespace fictl {

namespace {

// Read by the thread that watches over a frozen application, too.
std::atomic<bool> g_stop{false};
std::atomic<bool> g_cancelsRuns{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not wait for a lock");

extern "C" void onStop(int)
{
    g_stop = true;
    if (g_cancelsRuns) obzx_cancel_runs();
}

}  // namespace

void installSignalHandling()
{
    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    // Restarting keeps the calls of a provider and of the runtime undisturbed; fictl asks for the flag at its safe
    // points.
    action.sa_flags = SA_RESTART;
    action.sa_handler = onStop;
    sigset_t stopping;
    sigemptyset(&stopping);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
        sigaddset(&stopping, signal);
    }
    // A parent may have blocked them.
    sigprocmask(SIG_UNBLOCK, &stopping, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
    sigaction(SIGXFSZ, &action, nullptr);
    action.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &action, nullptr);
}

bool stopRequested()
{
    return g_stop;
}

CStopCancelsRuns::CStopCancelsRuns()
{
    g_cancelsRuns = true;
}

CStopCancelsRuns::~CStopCancelsRuns()
{
    g_cancelsRuns = false;
}

void stopPoint()
{
    if (stopRequested()) throw EFictl(EExit::STOPPED, "stopped by a signal");
}

}  // namespace fictl

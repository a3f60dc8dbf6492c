#pragma once

#include <chrono>

namespace fictl {

/**
 * SIGINT, SIGTERM and SIGHUP ask fictl to stop at the next safe point; they never end it in the middle of a step, so
 * that the catalog is settled. While an application is frozen that point is now (CFreezing). SIGPIPE is ignored for the
 * same reason, and SIGXFSZ, so that a file that may not grow is a failure like a full disk. All other signals keep
 * their effect: SIGQUIT ends fictl at once, and its guardian then ends the tools and thaws the application. SIGCHLD
 * gets its default handling back: a parent that ignored it would take away the exit statuses of the tools.
 */
void installSignalHandling();
/// Limit of each appliance command once fictl was asked to stop and only settles what it has begun.
constexpr std::chrono::seconds SETTLING_SECONDS{5};

/// True once one of the signals came.
bool stopRequested();
/// While it lives, such a signal also cancels what the provider runs: for runs that only look. What begins after the
/// signal is not concerned. One at a time.
class CStopCancelsRuns
{
  public:
    CStopCancelsRuns();
    ~CStopCancelsRuns();
    CStopCancelsRuns(const CStopCancelsRuns&) = delete;
    CStopCancelsRuns& operator=(const CStopCancelsRuns&) = delete;
};
/// Throws EFictl with the exit code STOPPED once one of the signals came.
void stopPoint();

}  // namespace fictl

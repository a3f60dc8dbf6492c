#pragma once

#include <chrono>

namespace fictl {

/**
 * SIGINT, SIGTERM and SIGHUP ask fictl to stop at the next safe point; they never end it in the middle of a step, so
 * that the catalog is settled. While an application is frozen that point is now (CFreezing). SIGPIPE is ignored for the
 * same reason. All other signals keep their effect: one that ends fictl leaves to the guardian what cannot wait, and a
 * user who is in a hurry has SIGQUIT.
 * SIGCHLD gets its default handling back, because a parent that ignored it would take away the exit statuses of the
 * tools.
 */
void installSignalHandling();
/// What a command may take that settles what a stopped fictl has begun: who stops it wants it gone.
constexpr std::chrono::seconds SETTLING_SECONDS{5};

/// True once one of the signals came.
bool stopRequested();
/// Throws EFictl with the exit code STOPPED once one of the signals came.
void stopPoint();

}  // namespace fictl

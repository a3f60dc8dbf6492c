#pragma once

namespace fictl {

/**
 * SIGINT, SIGTERM and SIGHUP ask fictl to stop at the next safe point; they never end it in the middle of a step, so
 * that an application that was frozen is thawed and the catalog settled. SIGPIPE is ignored for the same reason.
 * SIGCHLD gets its default handling back, because a parent that ignored it would take away the exit statuses of the
 * tools.
 */
void installSignalHandling();
/// True once one of the signals came.
bool stopRequested();
/// Throws EFictl with the exit code STOPPED once one of the signals came.
void stopPoint();

}  // namespace fictl

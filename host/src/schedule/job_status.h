#pragma once

#include <optional>
#include <vector>

#include "host/src/schedule/job_file.h"
#include "host/src/schedule/job_runs.h"

namespace fictl {

enum class EJobState
{
    OK,
    FAILED,     ///< the last run that has ended failed, or was killed
    MISSED,     ///< a run is overdue
    NEVER_RAN,  ///< and none was due yet
};
inline constexpr const char* JOB_STATE_NAMES[] = {"ok", "failed", "missed", "never ran"};

/// A time in which there should have been a run and was none.
struct SMissingRun
{
    UtcTime from{};          ///< when the run was due
    UtcTime until{};         ///< when the next one began, or now
    bool isOverdue = false;  ///< it has not begun by now
};

/// How the creations of a job do, or its rotations.
struct SJobStatus
{
    EJobState state = EJobState::NEVER_RAN;
    std::optional<SJobRun> last{};       ///< the run that began last
    std::optional<SJobRun> lastEnded{};  ///< the last one that is not at work
    std::optional<SJobRun> lastGood{};   ///< the last one that did what it was to do
    UtcTime due{};                       ///< when the next run is due, or was
    std::vector<SMissingRun> missing{};
};

/**
 * Judges a job by its creations, or by its rotations. A run is due so long after the one before it began, however that
 * ended; the first one so long after the file was changed last. It is missed when it has not begun within the grace
 * after that. Whatever begins a run counts, and one at work is not judged before it ends. Before the first run that the
 * history knows nothing is missing, since nobody knows what was there, nor before the file was changed last, since
 * nobody knows what it said: what was due by then is due at that moment. Runs of the future, as this host's clock has
 * it now, do not count. All of it are durations, so that no calendar and no daylight saving plays a part. What it gives
 * depends on nothing but its arguments.
 * @param since when the job's file was changed last
 * @param runs in order of their starts
 */
SJobStatus judgeRuns(const SPace& pace, UtcTime since, const std::vector<SJobRun>& runs, UtcTime now);

}  // namespace fictl

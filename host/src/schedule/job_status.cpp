#include "host/src/schedule/job_status.h"

#include <algorithm>

namespace fictl {

namespace {

EJobState stateOf(const SJobStatus& status, const std::optional<SJobRun>& lastEnded)
{
    if (!status.missing.empty() && status.missing.back().isOverdue) return EJobState::MISSED;
    if (!status.last) return EJobState::NEVER_RAN;
    const bool isGood = !lastEnded || lastEnded->end == ERunEnd::GOOD;
    return isGood ? EJobState::OK : EJobState::FAILED;
}

}  // namespace

SJobStatus judgeJob(const SJob& job, const std::vector<SJobRun>& runs, UtcTime now)
{
    SJobStatus status{.due = job.since + job.every};
    std::optional<SJobRun> lastEnded;
    for (const SJobRun& run : runs) {
        if (run.started > now) break;
        if (status.last && run.started > status.due + job.grace) {
            status.missing.push_back({.from = status.due, .until = run.started});
        }
        status.due = run.started + job.every;
        status.last = run;
        if (run.end != ERunEnd::RUNNING) lastEnded = run;
        if (run.end == ERunEnd::GOOD) status.lastGood = run;
    }
    if (now > status.due + job.grace) status.missing.push_back({.from = status.due, .until = now, .isOverdue = true});
    status.state = stateOf(status, lastEnded);
    return status;
}

}  // namespace fictl

#include "host/src/schedule/job_status.h"

#include <algorithm>

namespace fictl {

namespace {

EJobState stateOf(const SJobStatus& status)
{
    if (!status.missing.empty() && status.missing.back().isOverdue) return EJobState::MISSED;
    if (!status.last) return EJobState::NEVER_RAN;
    const bool isGood = !status.lastEnded || status.lastEnded->end == ERunEnd::GOOD;
    return isGood ? EJobState::OK : EJobState::FAILED;
}

}  // namespace

SJobStatus judgeRuns(const SPace& pace, UtcTime since, const std::vector<SJobRun>& runs, UtcTime now)
{
    SJobStatus status{.due = since + pace.every};
    for (const SJobRun& run : runs) {
        if (run.started > now) break;
        if (status.last && run.started > status.due + pace.grace) {
            status.missing.push_back({.from = status.due, .until = run.started});
        }
        status.due = std::max(run.started + pace.every, since);
        status.last = run;
        if (run.end != ERunEnd::RUNNING) status.lastEnded = run;
        if (run.end == ERunEnd::GOOD) status.lastGood = run;
    }
    if (now > status.due + pace.grace) status.missing.push_back({.from = status.due, .until = now, .isOverdue = true});
    status.state = stateOf(status);
    return status;
}

}  // namespace fictl

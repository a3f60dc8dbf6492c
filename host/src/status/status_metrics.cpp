#include <set>

#include "host/src/output/metrics.h"
#include "host/src/status/status_text.h"

namespace fictl {

namespace {

int64_t secondsOf(UtcTime time)
{
    return std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
}

void addSnapshots(const SStatus& status, CMetrics& metrics)
{
    metrics.gauge("fictl_snapshots", "Snapshots in the catalog, by state.");
    for (const std::string& state : shownStates()) {
        const auto found = status.states.find(state);
        metrics.sample({{"state", state}}, found == status.states.end() ? 0 : static_cast<int64_t>(found->second));
    }
    metrics.gauge("fictl_snapshots_unreadable", "Records of the catalog that cannot be read.");
    metrics.sample({}, static_cast<int64_t>(status.unreadable));
    metrics.gauge("fictl_snapshots_in_need", "Snapshots that somebody should look at; fictl status tells why.");
    std::set<std::string> names;
    for (const SConcern& concern : status.concerns) {
        if (!concern.snapshot.empty()) names.insert(concern.snapshot);
    }
    metrics.sample({}, static_cast<int64_t>(names.size()));
    metrics.gauge("fictl_snapshots_imported", "Snapshots whose copies show on this host.");
    metrics.sample({}, static_cast<int64_t>(status.imported.size()));
    metrics.gauge("fictl_snapshot_oldest_timestamp_seconds", "When the oldest whole snapshot was made.");
    if (status.oldest) metrics.sample({}, secondsOf(status.oldest->created));
    metrics.gauge("fictl_snapshot_newest_timestamp_seconds", "When the newest whole snapshot was made.");
    if (status.newest) metrics.sample({}, secondsOf(status.newest->created));
}

/// A number of each job; those that have none are left away.
template <class Value>
void addOfJobs(const SStatus& status, CMetrics& metrics, Value value)
{
    for (const SJobReport& report : status.jobs) {
        if (!report.status) continue;
        const std::optional<int64_t> number = value(report, *report.status);
        if (number) metrics.sample({{"job", report.file.name}}, *number);
    }
}

using Number = std::optional<int64_t>;

Number exitOf(const SJobStatus& job)
{
    const bool hasEnded = job.last && (job.last->end == ERunEnd::GOOD || job.last->end == ERunEnd::FAILED);
    return hasEnded ? Number(job.last->exit) : Number();
}

void addJobs(const SStatus& status, CMetrics& metrics)
{
    metrics.gauge("fictl_job_state", "1 for the state that the job is in.");
    for (const SJobReport& report : status.jobs) {
        for (const std::string& state : jobStates()) {
            metrics.sample({{"job", report.file.name}, {"state", state}}, state == report.state() ? 1 : 0);
        }
    }
    metrics.gauge("fictl_job_snapshots", "Whole snapshots of the job.");
    addOfJobs(status, metrics, [](const SJobReport& report, const SJobStatus& /*job*/) {
        return Number(static_cast<int64_t>(report.whole));
    });
    metrics.gauge("fictl_job_last_run_timestamp_seconds", "When the last run of the job began.");
    addOfJobs(status, metrics, [](const SJobReport& /*report*/, const SJobStatus& job) {
        return job.last ? Number(secondsOf(job.last->started)) : Number();
    });
    metrics.gauge("fictl_job_last_run_exit_code", "How the last run of the job ended, where it did by itself.");
    addOfJobs(status, metrics, [](const SJobReport& /*report*/, const SJobStatus& job) { return exitOf(job); });
    metrics.gauge("fictl_job_last_good_run_timestamp_seconds", "When the last good run of the job began.");
    addOfJobs(status, metrics, [](const SJobReport& /*report*/, const SJobStatus& job) {
        return job.lastGood ? Number(secondsOf(job.lastGood->started)) : Number();
    });
    metrics.gauge("fictl_job_next_due_timestamp_seconds", "When the next run of the job is due, or was.");
    addOfJobs(status, metrics,
              [](const SJobReport& /*report*/, const SJobStatus& job) { return Number(secondsOf(job.due)); });
    metrics.gauge("fictl_job_last_rotation_timestamp_seconds", "When the last rotation of the job began.");
    addOfJobs(status, metrics, [](const SJobReport& report, const SJobStatus& /*job*/) {
        const bool hasRun = report.rotation && report.rotation->last;
        return hasRun ? Number(secondsOf(report.rotation->last->started)) : Number();
    });
    metrics.gauge("fictl_job_last_rotation_exit_code",
                  "How the last rotation of the job ended, where it did by itself.");
    addOfJobs(status, metrics, [](const SJobReport& report, const SJobStatus& /*job*/) {
        return report.rotation ? exitOf(*report.rotation) : Number();
    });
    metrics.gauge("fictl_job_next_rotation_due_timestamp_seconds", "When the next rotation of the job is due, or was.");
    addOfJobs(status, metrics, [](const SJobReport& report, const SJobStatus& /*job*/) {
        return report.rotation ? Number(secondsOf(report.rotation->due)) : Number();
    });
}

}  // namespace

std::string statusMetrics(const SStatus& status)
{
    CMetrics metrics;
    addSnapshots(status, metrics);
    addJobs(status, metrics);
    return metrics.text();
}

}  // namespace fictl

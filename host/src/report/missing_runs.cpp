#include "host/src/report/missing_runs.h"

#include <string>

#include "host/src/output/error.h"
#include "host/src/output/progress.h"
#include "host/src/schedule/job_status.h"
#include "host/src/schedule/jobs.h"

namespace fictl {

std::vector<SReportGap> missingRuns(const SCatalogView& catalog, UtcTime now)
{
    SJobHistory history;
    for (const SHistoryEntry& entry : catalog.history) {
        addToJobHistory(entry, history);
    }
    std::vector<SReportGap> gaps;
    try {
        for (const SJobFile& file : readJobs()) {
            if (!file.job) continue;
            const std::vector<SJobRun> runs = creationsOf(file.name, history, catalog.records.snapshots, now);
            for (const SMissingRun& missing : judgeRuns(file.job->creation, file.job->since, runs, now).missing) {
                gaps.push_back({.job = file.name, .from = missing.from, .until = missing.until});
            }
        }
    } catch (const EFictl& error) {
        CProgress::warn(std::string("missing runs are not shown: ") + error.what());
    }
    return gaps;
}

}  // namespace fictl

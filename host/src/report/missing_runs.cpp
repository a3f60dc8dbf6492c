#include "host/src/report/missing_runs.h"

#include <string>

#include "host/src/output/error.h"
#include "host/src/output/progress.h"
#include "host/src/schedule/job_status.h"
#include "host/src/schedule/jobs.h"

namespace fictl {

std::vector<SReportGap> missingRuns(const std::vector<SHistoryEntry>& history, UtcTime now)
{
    SJobHistory runs;
    for (const SHistoryEntry& entry : history) {
        addToJobHistory(entry, runs);
    }
    std::vector<SReportGap> gaps;
    try {
        for (const SJobFile& file : readJobs()) {
            if (!file.job) continue;
            for (const SMissingRun& missing : judgeJob(*file.job, runs.creations[file.name], now).missing) {
                gaps.push_back({.job = file.name, .from = missing.from, .until = missing.until});
            }
        }
    } catch (const EFictl& error) {
        CProgress::warn(std::string("missing runs are not shown: ") + error.what());
    }
    return gaps;
}

}  // namespace fictl

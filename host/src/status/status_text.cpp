#include "host/src/status/status_text.h"

#include <map>

#include "host/src/text/age_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// "12 (10 complete, 2 imported)"
std::string countsText(size_t all, const std::map<std::string, size_t>& counts)
{
    std::string text;
    for (const auto& [what, number] : counts) {
        text += (text.empty() ? " (" : ", ") + std::to_string(number) + " " + what;
    }
    return std::to_string(all) + (text.empty() ? "" : text + ")");
}

std::string momentText(const std::optional<SMoment>& moment, UtcTime now)
{
    if (!moment) return "";
    const auto age = std::chrono::floor<std::chrono::seconds>(now - moment->created);
    return moment->name + ", " + utcSecondsText(moment->created) + ", " + ageText(age) + " ago";
}

std::string headText(const SStatus& status, UtcTime now)
{
    std::map<std::string, size_t> states = status.states;
    if (status.unreadable > 0) states["unreadable"] = status.unreadable;
    std::map<std::string, size_t> jobs;
    for (const SJobReport& report : status.jobs) {
        ++jobs[report.state()];
    }
    return formatValues({{"SNAPSHOTS", countsText(status.snapshots(), states)},
                         {"OLDEST", momentText(status.oldest, now)},
                         {"NEWEST", momentText(status.newest, now)},
                         {"JOBS", countsText(status.jobs.size(), jobs)}});
}

std::string importedText(const SStatus& status)
{
    if (status.imported.empty()) return "";
    Rows rows = {{"IMPORTED", "AS"}};
    for (const auto& [name, paths] : status.imported) {
        std::string all;
        for (const std::string& path : paths) {
            all += (all.empty() ? "" : ",") + path;
        }
        rows.push_back({name, all});
    }
    return "\n" + formatTable(std::move(rows));
}

std::string concernsText(const SStatus& status)
{
    if (status.concerns.empty()) return "";
    Rows rows = {{"NEEDS A LOOK", "WHY", "NEXT"}};
    for (const SConcern& concern : status.concerns) {
        const bool isOfSnapshot = !concern.snapshot.empty();
        rows.push_back(
            {isOfSnapshot ? "snapshot " + concern.snapshot : "job " + concern.job, concern.reason, concern.next});
    }
    return "\n" + formatTable(std::move(rows));
}

std::string exitText(const SJobRun& run)
{
    switch (run.end) {
        case ERunEnd::RUNNING:
            return "running";
        case ERunEnd::DID_NOT_END:
            return "did not end";
        default:
            return std::to_string(run.exit);
    }
}

std::string jobsText(const SStatus& status)
{
    if (status.jobs.empty()) return "";
    Rows rows = {{"JOB", "STATE", "LAST RUN", "EXIT", "LAST GOOD RUN", "NEXT DUE", "SNAPSHOTS", "LAST ROTATION"}};
    for (const SJobReport& report : status.jobs) {
        rows.push_back({report.file.name, report.state(), "", "", "", "", std::to_string(report.whole), ""});
        if (!report.status) continue;
        const SJobStatus& job = *report.status;
        if (job.last) {
            rows.back()[2] = utcSecondsText(job.last->started);
            rows.back()[3] = exitText(*job.last);
        }
        if (job.lastGood) rows.back()[4] = utcSecondsText(job.lastGood->started);
        rows.back()[5] = utcSecondsText(job.due);
        if (report.rotation && report.rotation->last) rows.back()[7] = utcSecondsText(report.rotation->last->started);
    }
    return "\n" + formatTable(std::move(rows));
}

}  // namespace

std::string statusText(const SStatus& status, UtcTime now)
{
    return headText(status, now) + importedText(status) + concernsText(status) + jobsText(status);
}

}  // namespace fictl

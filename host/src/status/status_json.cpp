#include <nlohmann/json.hpp>

#include "host/src/status/status_text.h"

namespace fictl {

namespace {

json momentJson(const std::optional<SMoment>& moment)
{
    if (!moment) return nullptr;
    return {{"name", moment->name}, {"created", utcSecondsText(moment->created)}};
}

json runJson(const std::optional<SJobRun>& run)
{
    static constexpr const char* ENDS[] = {"good", "failed", "did not end", "running"};
    if (!run) return nullptr;
    const bool hasExit = run->end == ERunEnd::GOOD || run->end == ERunEnd::FAILED;
    return {{"started", utcSecondsText(run->started)},
            {"end", ENDS[static_cast<size_t>(run->end)]},
            {"exit", hasExit ? json(run->exit) : json()},
            {"snapshot", textOrNull(run->snapshot)},
            {"message", textOrNull(run->message)}};
}

json missingJson(const SJobStatus& status)
{
    json list = json::array();
    for (const SMissingRun& missing : status.missing) {
        list.push_back({{"from", utcSecondsText(missing.from)},
                        {"until", utcSecondsText(missing.until)},
                        {"overdue", missing.isOverdue}});
    }
    return list;
}

json rotationJson(const SJobReport& report)
{
    if (!report.rotation) return nullptr;
    return {{"state", JOB_STATE_NAMES[static_cast<size_t>(report.rotation->state)]},
            {"every_seconds", report.file.job->rotation->every.count()},
            {"grace_seconds", report.file.job->rotation->grace.count()},
            {"last_run", runJson(report.rotation->last)},
            {"last_good_run", runJson(report.rotation->lastGood)},
            {"next_due", utcSecondsText(report.rotation->due)},
            {"missing", missingJson(*report.rotation)}};
}

json jobJson(const SJobReport& report)
{
    json job = {{"name", report.file.name},  {"file", report.file.path},
                {"state", report.state()},   {"problem", textOrNull(report.file.problem)},
                {"snapshots", report.whole}, {"every_seconds", nullptr},
                {"grace_seconds", nullptr},  {"last_run", nullptr},
                {"last_good_run", nullptr},  {"next_due", nullptr},
                {"missing", json::array()},  {"rotation", rotationJson(report)}};
    if (!report.status) return job;
    job["every_seconds"] = report.file.job->creation.every.count();
    job["grace_seconds"] = report.file.job->creation.grace.count();
    job["last_run"] = runJson(report.status->last);
    job["last_good_run"] = runJson(report.status->lastGood);
    job["next_due"] = utcSecondsText(report.status->due);
    job["missing"] = missingJson(*report.status);
    return job;
}

json importedJson(const SStatus& status)
{
    json list = json::array();
    for (const auto& [name, paths] : status.imported) {
        list.push_back({{"name", name}, {"devices", paths}});
    }
    return list;
}

json concernsJson(const SStatus& status)
{
    json list = json::array();
    for (const SConcern& concern : status.concerns) {
        list.push_back({{"snapshot", textOrNull(concern.snapshot)},
                        {"job", textOrNull(concern.job)},
                        {"reason", concern.reason},
                        {"next", concern.next}});
    }
    return list;
}

}  // namespace

json statusJson(const SStatus& status)
{
    json jobs = json::array();
    for (const SJobReport& report : status.jobs) {
        jobs.push_back(jobJson(report));
    }
    return {{"status",
             {{"snapshots",
               {{"count", status.snapshots()},
                {"states", status.states},
                {"unreadable", status.unreadable},
                {"oldest", momentJson(status.oldest)},
                {"newest", momentJson(status.newest)}}},
              {"imported", importedJson(status)},
              {"needs_a_look", concernsJson(status)},
              {"jobs", std::move(jobs)},
              {"ok", status.areJobsWell()}}}};
}

}  // namespace fictl

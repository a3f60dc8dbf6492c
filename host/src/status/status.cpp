#include "host/src/status/status.h"

#include <algorithm>

#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* UNUSABLE = "unusable";

// What ends a state in which nothing is at work on a snapshot that is not as it should be; nothing for the others.
const char* wayOut(const SSnapshot& snapshot)
{
    const bool isInterrupted = snapshot.isInterrupted();
    switch (snapshot.state) {
        case EState::PARTIAL:
        case EState::FAILED:
        case EState::DELETE_FAILED:
            return "delete";
        case EState::CREATING:
        case EState::DELETING:
            return isInterrupted ? "delete" : nullptr;
        case EState::IMPORT_FAILED:
            return "import";
        case EState::IMPORTING:
            return isInterrupted ? "import" : nullptr;
        case EState::RELEASE_FAILED:
            return "release";
        case EState::RELEASING:
            return isInterrupted ? "release" : nullptr;
        case EState::COMPLETE:
        case EState::IMPORTED:
            break;
    }
    return nullptr;
}

void addConcerns(const SSnapshot& snapshot, std::vector<SConcern>& concerns)
{
    if (!snapshot.thaw.empty() && !snapshot.isHeld()) {
        // The command itself may hold a password, and this text goes to many places.
        concerns.push_back({.snapshot = snapshot.name,
                            .reason = "its application may still be frozen",
                            .next = "run the thaw command of fictl snapshot show " + snapshot.name + " if it is"});
    }
    const char* const verb = wayOut(snapshot);
    if (verb == nullptr) return;
    concerns.push_back(
        {.snapshot = snapshot.name,
         .reason = "it is " + snapshot.shownState() + (snapshot.message.empty() ? "" : ": " + snapshot.message),
         .next = std::string("fictl snapshot ") + verb + " " + snapshot.name});
}

// A deletion that failed counts until the snapshot is gone; one that is in doubt has a state that says so already.
void addFailedDeletions(const SListing& listing, const SJobHistory& history, const std::string& job,
                        std::vector<SConcern>& concerns)
{
    const auto found = history.lastDeletions.find(job);
    if (found == history.lastDeletions.end()) return;
    for (const SSnapshot& snapshot : listing.snapshots) {
        const auto deletion = found->second.find(snapshot.name);
        if (deletion == found->second.end() || wayOut(snapshot) != nullptr) continue;
        if (deletion->second.end != ERunEnd::FAILED) continue;
        const std::optional<UtcTime> created = utcSecondsOf(snapshot.created);
        if (created && deletion->second.started < *created) continue;  // of an earlier one of that name
        concerns.push_back({.snapshot = snapshot.name,
                            .job = job,
                            .reason = "its rotation could not delete it: " + deletion->second.message,
                            .next = "fictl snapshot delete " + snapshot.name});
    }
}

bool isWell(const SJobStatus& status)
{
    return status.state == EJobState::OK || status.state == EJobState::NEVER_RAN;
}

// What is wrong with the creations of a job, or with its rotations; nothing where all is well.
void addConcern(const std::string& job, const std::string& what, const std::optional<SJobStatus>& status,
                std::vector<SConcern>& concerns)
{
    if (!status || isWell(*status)) return;
    if (status->state == EJobState::MISSED) {
        concerns.push_back({.job = job,
                            .reason = "no " + what + " has begun since one was due at " + utcSecondsText(status->due),
                            .next = "see whether its timer is on, or its line of cron is there"});
        return;
    }
    const SJobRun& run = *status->lastEnded;
    const std::string last = "its last " + what;
    std::string reason = last + " did not end";
    // A rotation tells of each snapshot by itself.
    if (run.end != ERunEnd::DID_NOT_END && run.message.empty()) {
        reason = last + " ended with exit code " + std::to_string(run.exit);
    } else if (run.end != ERunEnd::DID_NOT_END) {
        reason = last + " failed: " + run.message;
    }
    concerns.push_back({.job = job,
                        .reason = std::move(reason),
                        .next = "fictl history" + (run.snapshot.empty() ? "" : " " + run.snapshot)});
}

void addConcerns(const SJobReport& report, std::vector<SConcern>& concerns)
{
    if (!report.status) {
        concerns.push_back(
            {.job = report.file.name, .reason = report.file.problem, .next = "mend " + report.file.path});
    }
    addConcern(report.file.name, "run", report.status, concerns);
    addConcern(report.file.name, "rotation", report.rotation, concerns);
}

void addSnapshot(const SSnapshot& snapshot, UtcTime now, SStatus& status)
{
    ++status.states[snapshot.shownState()];
    addConcerns(snapshot, status.concerns);
    for (const SDevice& device : snapshot.devices) {
        if (!device.importPath.empty()) status.imported[snapshot.name].push_back(device.importPath);
    }
    const std::optional<UtcTime> created = utcSecondsOf(snapshot.created);
    if (!created || *created > now || !snapshot.isWhole()) return;
    const SMoment moment = {.name = snapshot.name, .created = *created};
    if (!status.oldest || moment.created < status.oldest->created) status.oldest = moment;
    if (!status.newest || moment.created >= status.newest->created) status.newest = moment;
}

SJobReport reportOf(const SJobFile& file, const SListing& listing, const SJobHistory& history, UtcTime now)
{
    SJobReport report{.file = file};
    if (!file.job) return report;
    const SJob& job = *file.job;
    report.status = judgeRuns(job.creation, job.since, creationsOf(file.name, history, listing.snapshots, now), now);
    if (job.rotation) report.rotation = judgeRuns(*job.rotation, job.since, rotationsOf(file.name, history), now);
    const SLabelFilter label = {.key = JOB_LABEL, .value = file.name};
    report.whole = static_cast<size_t>(std::ranges::count_if(listing.snapshots, [&](const SSnapshot& snapshot) {
        return snapshot.isWhole() && label.matches(snapshot.labels);
    }));
    return report;
}

}  // namespace

const char* SJobReport::state() const
{
    if (!status) return UNUSABLE;
    const bool isOfRotation = fictl::isWell(*status) && rotation && !fictl::isWell(*rotation);
    return JOB_STATE_NAMES[static_cast<size_t>((isOfRotation ? rotation : status)->state)];
}

bool SJobReport::isWell() const
{
    return status && fictl::isWell(*status) && (!rotation || fictl::isWell(*rotation));
}

size_t SStatus::snapshots() const
{
    size_t count = unreadable;
    for (const auto& [state, number] : states) {
        count += number;
    }
    return count;
}

bool SStatus::areJobsWell() const
{
    return std::ranges::all_of(jobs, &SJobReport::isWell);
}

std::vector<std::string> jobStates()
{
    std::vector<std::string> texts(std::begin(JOB_STATE_NAMES), std::end(JOB_STATE_NAMES));
    texts.emplace_back(UNUSABLE);
    return texts;
}

SStatus statusOf(const SListing& listing, const std::vector<SJobFile>& jobs, const SJobHistory& history, UtcTime now)
{
    SStatus status{.unreadable = listing.unreadable.size()};
    for (const SJobFile& file : jobs) {
        status.jobs.push_back(reportOf(file, listing, history, now));
        addConcerns(status.jobs.back(), status.concerns);
    }
    for (const SUnreadable& record : listing.unreadable) {
        status.concerns.push_back({.snapshot = record.name,
                                   .reason = "its record cannot be read: " + record.reason,
                                   .next = "fictl catalog check"});
    }
    for (const SSnapshot& snapshot : listing.snapshots) {
        addSnapshot(snapshot, now, status);
    }
    for (const SJobFile& file : jobs) {
        addFailedDeletions(listing, history, file.name, status.concerns);
    }
    return status;
}

}  // namespace fictl

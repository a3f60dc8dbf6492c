#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/src/catalog/record_rows.h"
#include "host/src/schedule/job_status.h"
#include "host/src/schedule/jobs.h"

namespace fictl {

/// A snapshot and when it was made.
struct SMoment
{
    std::string name{};
    UtcTime created{};
};

/// Something that a person should look at.
struct SConcern
{
    std::string snapshot{};  ///< that it is about; empty for one about a job
    std::string job{};
    std::string reason{};
    std::string next{};  ///< what to do
};

/// A job's file with how the job does; nothing of that where the file cannot be used.
struct SJobReport
{
    SJobFile file{};
    std::optional<SJobStatus> status{};    ///< of its creations
    std::optional<SJobStatus> rotation{};  ///< nothing also where the job has none
    size_t whole = 0;                      ///< snapshots with its label that have all of their checkpoints

    /// "ok", "failed", "missed", "never ran" or "unusable": that of its creations, or that of its rotations where those
    /// alone are not well
    const char* state() const;
    bool isWell() const;
};

/// What there is on this host, and how its jobs do.
struct SStatus
{
    std::map<std::string, size_t> states{};  ///< how many snapshots are in each, as it is shown
    size_t unreadable = 0;                   ///< records that are there and cannot be read
    std::optional<SMoment> oldest{};         ///< of those that have all of their checkpoints
    std::optional<SMoment> newest{};
    std::map<std::string, std::vector<std::string>> imported{};  ///< by snapshot, device paths of its copies here
    std::vector<SConcern> concerns{};
    std::vector<SJobReport> jobs{};

    size_t snapshots() const;
    bool areJobsWell() const;
};

/// Every text that SJobReport::state may give.
std::vector<std::string> jobStates();

/// Judges what the catalog knows. Nothing is asked of anybody; what it gives depends on nothing but its arguments, and
/// on which processes live.
SStatus statusOf(const SListing& listing, const std::vector<SJobFile>& jobs, const SJobHistory& history, UtcTime now);

}  // namespace fictl

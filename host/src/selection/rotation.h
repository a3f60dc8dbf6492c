#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/selection/retention.h"

namespace fictl {

/// What is to be kept of a catalog's snapshots.
struct SRotation
{
    KeepRules rules{};
    std::vector<SLabelFilter> labels{};               ///< only snapshots with all of them are looked at
    std::optional<std::chrono::seconds> olderThan{};  ///< what is younger stays
    std::string olderThanText{};                      ///< as it was given
    UtcTime now{};
    ZoneOffset offset{};
};

/// What is to become of one snapshot.
struct SRotated
{
    std::string name{};
    std::string created{};
    std::string groups{};
    bool goes = false;
    std::string reason{};
};

/**
 * Judges each snapshot that has the labels; the others are left out. Those of the same LUNs make up a series. The rules
 * count what this host has made, is whole, and has a time that lies behind: whatever else there is neither goes nor
 * keeps another from being kept. Of those that are counted, one that no rule keeps goes, unless it is imported or
 * anything else but complete. In order of the groups, the latest first.
 */
std::vector<SRotated> judge(const std::vector<SSnapshot>& snapshots, const SRotation& rotation);

}  // namespace fictl

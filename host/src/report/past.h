#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/src/catalog/history_entry.h"
#include "host/src/catalog/record_rows.h"
#include "host/src/report/report.h"

namespace fictl {

/// A creation that the history tells of.
struct SPastCreation
{
    std::string snapshot;
    std::string checkpoint;
    std::string started;
    std::string creator;
    std::chrono::microseconds frozen{0};
    std::map<GroupKey, std::string> groups{};  ///< those that got their checkpoint, each with when it was deleted

    bool isDeleted() const;  ///< from all of its groups
};

/// What the history tells of checkpoints and copies.
struct SPast
{
    std::vector<SPastCreation> creations{};  ///< oldest first
    std::vector<SReportCopy> copies{};       ///< in the order in which they were made
};

/// @param records tell which copies still show
SPast readPast(const std::vector<SHistoryEntry>& history, const SListing& records, const std::string& host);

}  // namespace fictl

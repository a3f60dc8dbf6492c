#pragma once

#include <string>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/output/result.h"

namespace fictl {

/// A record in full, as "snapshot show" gives it.
json snapshotJson(const SSnapshot& snapshot);
/// A record's line in "snapshot list".
json summaryJson(const SSnapshot& snapshot);
/// What a command answers that was about one snapshot: its record, and a text for people.
SResult snapshotResult(const SSnapshot& snapshot, std::string text);

}  // namespace fictl

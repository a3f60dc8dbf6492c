#pragma once

#include "host/src/catalog/snapshot_record.h"
#include "host/src/output/error.h"
#include "host/src/output/result.h"
#include "host/src/runs/appliance_report.h"

namespace fictl {

/// A record in full, as "snapshot show" gives it.
json snapshotJson(const SSnapshot& snapshot);
/// A record's line in "snapshot list".
json summaryJson(const SSnapshot& snapshot);
/// What went wrong: code, name of the code, message, next step, failed appliance commands, the provider's messages; how
/// long the application was frozen, if it was.
json errorJson(const EFictl& error);
/// Failed appliance commands and the provider's messages, for a terminal; empty when there are none.
std::string reportText(const SApplianceReport& report);
/// An error for a terminal.
std::string errorText(const EFictl& error);

}  // namespace fictl

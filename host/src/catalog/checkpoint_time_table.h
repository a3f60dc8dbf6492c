#pragma once

#include "base/sqlite.h"
#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/// When each group's checkpoint was made: a table of its own, as the time belongs to a group and not to each of its
/// devices. Both throw base::ESqlite.
void readCheckpointTimes(const base::CSqliteDatabase& database, SSnapshot& snapshot);
/// Within the transaction that writes the record, and after its head.
void writeCheckpointTimes(base::CSqliteDatabase& database, const SSnapshot& snapshot);

}  // namespace fictl

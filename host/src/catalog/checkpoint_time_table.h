#pragma once

#include "base/sqlite.h"
#include "host/src/catalog/snapshot_record.h"

namespace fictl {

/**
 * When each group's checkpoint was made, in a table of the catalog that stands beside the records: the time belongs to
 * a group, and not to each of its devices. The first record with a time makes the table. An earlier fictl needs nothing
 * of it, and takes the rows of a record that it removes along, so the layout of the catalog stays what it is. All
 * throw base::ESqlite.
 */
/// Whether the catalog has the table.
bool hasCheckpointTimes(const base::CSqliteDatabase& database);
void readCheckpointTimes(const base::CSqliteDatabase& database, SSnapshot& snapshot);
/// Within the transaction that writes the record, and after its head.
void writeCheckpointTimes(base::CSqliteDatabase& database, const SSnapshot& snapshot);

}  // namespace fictl

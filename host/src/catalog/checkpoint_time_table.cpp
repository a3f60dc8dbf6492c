#include "host/src/catalog/checkpoint_time_table.h"

namespace fictl {

void readCheckpointTimes(const base::CSqliteDatabase& database, SSnapshot& snapshot)
{
    base::CSqliteQuery row(database, "SELECT appliance, cgroup, made_at FROM checkpoint_time WHERE snapshot = ?",
                           snapshot.name);
    while (row.next()) {
        for (SDevice* const device : snapshot.devicesOf({row.text(0), row.text(1)})) {
            device->madeAt = row.text(2);
        }
    }
}

void writeCheckpointTimes(base::CSqliteDatabase& database, const SSnapshot& snapshot)
{
    for (const GroupKey& group : snapshot.groups()) {
        const std::string& madeAt = snapshot.devicesOf(group).front()->madeAt;
        if (madeAt.empty()) continue;
        base::CSqliteQuery(database, "INSERT OR REPLACE INTO checkpoint_time VALUES (?,?,?,?)", snapshot.name,
                           group.first, group.second, madeAt)
            .run();
    }
}

}  // namespace fictl

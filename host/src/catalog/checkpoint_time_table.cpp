#include "host/src/catalog/checkpoint_time_table.h"

namespace fictl {

namespace {

constexpr const char* TABLE = R"(
CREATE TABLE IF NOT EXISTS checkpoint_time (
    snapshot TEXT NOT NULL REFERENCES snapshot(name) ON DELETE CASCADE, appliance TEXT NOT NULL, cgroup TEXT NOT NULL,
    made_at TEXT NOT NULL,
    PRIMARY KEY (snapshot, appliance, cgroup)) STRICT;
)";

}  // namespace

bool hasCheckpointTimes(const base::CSqliteDatabase& database)
{
    return base::CSqliteQuery(database, "SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = 'checkpoint_time'")
        .next();
}

void readCheckpointTimes(const base::CSqliteDatabase& database, SSnapshot& snapshot)
{
    if (!hasCheckpointTimes(database)) return;
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
        database.execute(TABLE);
        base::CSqliteQuery(database, "INSERT OR REPLACE INTO checkpoint_time VALUES (?,?,?,?)", snapshot.name,
                           group.first, group.second, madeAt)
            .run();
    }
}

}  // namespace fictl

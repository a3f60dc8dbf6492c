// Which entries of the history are runs of a job.
#include "host/src/schedule/job_runs.h"

#include <gtest/gtest.h>

namespace fictl {

namespace {

SHistoryEntry entryOf(const std::string& command, int exit = 0, const std::string& started = "2026-01-31T12:00:00Z")
{
    SHistoryEntry entry;
    entry.started = started;
    entry.command = command;
    entry.snapshot = "s";
    entry.end = {.exit = exit, .message = exit == 0 ? "" : "why"};
    return entry;
}

SJobHistory historyOf(const std::vector<SHistoryEntry>& entries)
{
    SJobHistory history;
    for (const SHistoryEntry& entry : entries) {
        addToJobHistory(entry, history);
    }
    return history;
}

TEST(JobRuns, AreCreationsWithTheLabelOfTheJob)
{
    for (const char* const command :
         {"fictl snapshot create --label=job=db -- s /dev/sdb", "fictl snapshot create s /dev/sdb --label job=db",
          "/usr/bin/fictl --verbose snapshot create '--label=job=db' s /dev/sdb",
          "fictl snapshot create --label tier=gold --label job=db s /dev/sdb ..."}) {
        const SJobHistory history = historyOf({entryOf(command, 8)});
        ASSERT_EQ(history.creations.count("db"), 1U) << command;
        const SJobRun& run = history.creations.at("db").front();
        EXPECT_EQ(run.end, ERunEnd::FAILED);
        EXPECT_EQ(run.exit, 8);
        EXPECT_EQ(run.snapshot, "s");
        EXPECT_EQ(run.message, "why");
        EXPECT_EQ(run.started, *utcSecondsOf("2026-01-31T12:00:00Z"));
    }
}

TEST(JobRuns, AreNoOtherCommandsAndNoOtherLabels)
{
    for (const char* const command :
         {"fictl snapshot create s /dev/sdb", "fictl snapshot create --label jobs=db s /dev/sdb",
          "fictl snapshot create --label job s /dev/sdb", "fictl snapshot create --note 'x --label job=db' s /dev/sdb",
          "fictl snapshot label s job=db", "fictl snapshot delete s"}) {
        const SJobHistory history = historyOf({entryOf(command)});
        EXPECT_TRUE(history.creations.empty()) << command;
        EXPECT_TRUE(history.lastDeletions.empty()) << command;
    }
    EXPECT_TRUE(
        historyOf({entryOf("fictl snapshot create --label=job=db s /dev/sdb", 0, "at noon")}).creations.empty());
}

TEST(JobRuns, OfARotationTheLastDeletionOfEachSnapshotCounts)
{
    const std::string prune = "fictl snapshot prune --label=job=db --keep-last 1";
    const SJobHistory history = historyOf({entryOf(prune, 5), entryOf(prune, 0)});
    EXPECT_TRUE(history.creations.empty());
    ASSERT_EQ(history.lastDeletions.count("db"), 1U);
    EXPECT_EQ(history.lastDeletions.at("db").at("s").end, ERunEnd::GOOD);
}

}  // namespace

}  // namespace fictl

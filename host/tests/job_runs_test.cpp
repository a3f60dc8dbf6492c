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

TEST(JobRuns, AreInOrderOfTheirStartsWhateverTheClockDidBetween)
{
    const std::string create = "fictl snapshot create --label=job=db s /dev/sdb";
    const SJobHistory history =
        historyOf({entryOf(create, 0, "2026-01-31T12:00:00Z"), entryOf(create, 1, "2026-01-30T12:00:00Z"),
                   entryOf(create, 2, "2026-01-31T11:00:00Z")});
    std::vector<int> exits;
    for (const SJobRun& run : history.creations.at("db")) {
        exits.push_back(run.exit);
    }
    EXPECT_EQ(exits, (std::vector<int>{1, 2, 0}));
}

SSnapshot snapshotOf(const std::string& name, const std::string& created)
{
    SSnapshot snapshot;
    snapshot.name = name;
    snapshot.state = EState::COMPLETE;
    snapshot.created = created;
    snapshot.origin = "created";
    snapshot.labels = {{"job", "db"}};
    return snapshot;
}

TEST(JobRuns, WhereTheHistoryKnowsNoneTheLatestWholeSnapshotStandsForOne)
{
    std::vector<SSnapshot> snapshots = {
        snapshotOf("s1", "2026-01-01T12:00:00Z"),    snapshotOf("s2", "2026-01-03T12:00:00Z"),
        snapshotOf("s3", "2026-01-02T12:00:00Z"),    snapshotOf("partial", "2026-01-05T12:00:00Z"),
        snapshotOf("other", "2026-01-06T12:00:00Z"), snapshotOf("foreign", "2026-01-07T12:00:00Z")};
    snapshots[3].state = EState::PARTIAL;
    snapshots[4].labels = {{"job", "other"}};
    snapshots[5].origin = "received";
    const UtcTime now = *utcSecondsOf("2026-01-08T12:00:00Z");
    const std::vector<SJobRun> runs = creationsOf("db", {}, snapshots, now);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].snapshot, "s2");
    EXPECT_EQ(runs[0].started, *utcSecondsOf("2026-01-03T12:00:00Z"));
    EXPECT_EQ(runs[0].end, ERunEnd::GOOD);
    EXPECT_TRUE(creationsOf("none", {}, snapshots, now).empty());
    const SJobHistory known = historyOf({entryOf("fictl snapshot create --label=job=db s /dev/sdb", 8)});
    ASSERT_EQ(creationsOf("db", known, snapshots, now).size(), 1U);
    EXPECT_EQ(creationsOf("db", known, snapshots, now)[0].exit, 8) << "what the history knows counts";
}

TEST(JobRuns, ASnapshotOfALaterTimeThanNowStandsForNone)
{
    const std::vector<SSnapshot> snapshots = {snapshotOf("before", "2026-01-01T12:00:00Z"),
                                              snapshotOf("now", "2026-01-02T12:00:00Z"),
                                              snapshotOf("after", "2026-01-02T12:00:01Z")};
    const std::vector<SJobRun> runs = creationsOf("db", {}, snapshots, *utcSecondsOf("2026-01-02T12:00:00Z"));
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].snapshot, "now");
}

TEST(JobRuns, OfARotationIsTheEntryWithoutASnapshot)
{
    const std::string prune = "fictl snapshot prune --label=job=db --keep-last 1";
    const SHistoryEntry deletion = entryOf(prune, 5, "2026-01-31T12:00:01Z");
    SHistoryEntry whole = entryOf(prune, 10);
    whole.snapshot = "";
    const std::vector<SJobRun> rotations = rotationsOf("db", historyOf({whole, deletion}));
    ASSERT_EQ(rotations.size(), 1U);
    EXPECT_EQ(rotations[0].exit, 10);
    EXPECT_TRUE(rotationsOf("other", historyOf({whole})).empty());
}

TEST(JobRuns, WhereNoRotationWasEnteredTheLastDeletionStandsForOne)
{
    const std::string prune = "fictl snapshot prune --label=job=db --keep-last 1";
    SHistoryEntry later = entryOf(prune, 0, "2026-02-01T12:00:00Z");
    later.snapshot = "a";
    const std::vector<SJobRun> rotations = rotationsOf("db", historyOf({entryOf(prune), later}));
    ASSERT_EQ(rotations.size(), 1U);
    EXPECT_EQ(rotations[0].started, *utcSecondsOf("2026-02-01T12:00:00Z"));
    EXPECT_TRUE(rotationsOf("db", {}).empty());
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

#include "host/src/snapshot/checkpoint_times.h"

#include <gtest/gtest.h>

#include "host/tests/run_records.h"

namespace fictl {
namespace {

using namespace std::chrono_literals;

const GroupKey G1{"alpha", "g1"};
const GroupKey G2{"alpha", "g2"};
constexpr int64_t START = 1706702400;  // 2024-01-31T12:00:00Z

SSnapshot snapshotOf(const std::vector<GroupKey>& groups)
{
    SSnapshot snapshot;
    snapshot.checkpoint = "C";
    for (const GroupKey& group : groups) {
        SDevice& device = snapshot.devices.emplace_back();
        device.state.applianceName = group.first;
        device.state.consistencyGroup = group.second;
    }
    return snapshot;
}

/// The run that made a group's checkpoint: when it began, after START, and how long it took.
SRunRecord creation(const GroupKey& group, std::chrono::milliseconds begin, std::chrono::milliseconds duration)
{
    SRunRecord run = runs::succeeded("create  annotation \"C\" \"" + group.second + "\"\nset  message x\ncommit");
    run.startSeconds = START;
    run.startNanoseconds = static_cast<int32_t>(std::chrono::nanoseconds(begin).count());
    run.duration = duration;
    return run;
}

SMakeResult made(const std::vector<std::pair<GroupKey, SRunRecord>>& runs)
{
    SMakeResult result;
    for (const auto& [group, run] : runs) {
        result.groups[group].report.succeeded = {runs::succeeded("list hosts"), run};
    }
    return result;
}

TEST(CheckpointTimes, AreThoseOfTheCommandThatMadeEach)
{
    const CheckpointTimes times =
        checkpointTimes(snapshotOf({G1, G2}), made({{G1, creation(G1, 100ms, 300ms)}, {G2, creation(G2, 0ms, 50ms)}}));
    ASSERT_EQ(times.size(), 2U);
    EXPECT_EQ(utcText(times.at(G1).from), "2024-01-31T12:00:00.100000Z");
    EXPECT_EQ(utcText(times.at(G1).until), "2024-01-31T12:00:00.400000Z");
    EXPECT_EQ(utcText(times.at(G2).until), "2024-01-31T12:00:00.050000Z");
    EXPECT_EQ(utcText(times.at(G2).until + 1200ms), "2024-01-31T12:00:01.250000Z");
}

TEST(CheckpointTimes, ThatAreFurthestApartAreTheFirstStartAndTheLastEnd)
{
    const SSnapshot snapshot = snapshotOf({G1, G2});
    const auto apart = [&](const SMakeResult& result) {
        return mostSecondsApart(snapshot, checkpointTimes(snapshot, result));
    };
    EXPECT_DOUBLE_EQ(*apart(made({{G1, creation(G1, 100ms, 300ms)}, {G2, creation(G2, 0ms, 50ms)}})), 0.4);
    EXPECT_DOUBLE_EQ(*apart(made({{G1, creation(G1, 100ms, 300ms)}, {G2, creation(G2, 200ms, 50ms)}})), 0.3);
    // Of the second group nobody knows when.
    EXPECT_EQ(apart(made({{G1, creation(G1, 100ms, 300ms)}, {G2, runs::succeeded("list hosts")}})), std::nullopt);
}

TEST(CheckpointTimes, OfAnotherObjectAreNoneOfTheCheckpoint)
{
    const SSnapshot snapshot = snapshotOf({G1});
    EXPECT_EQ(mostSecondsApart(snapshot, checkpointTimes(snapshot, made({{G1, creation(G1, 0ms, 1ms)}}))), std::nullopt)
        << "a single group is apart from nothing";
    EXPECT_TRUE(checkpointTimes(snapshot, made({{G1, creation(G2, 0ms, 1ms)}})).empty());
    SRunRecord cut = creation(G1, 0ms, 1ms);
    ++cut.inputSize;
    EXPECT_TRUE(checkpointTimes(snapshot, made({{G1, cut}})).empty());
    SMakeResult failed;
    failed.groups[G1].report.failed = {creation(G1, 0ms, 1ms)};
    EXPECT_TRUE(checkpointTimes(snapshot, failed).empty());
}

}  // namespace
}  // namespace fictl

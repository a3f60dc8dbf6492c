// Which snapshots may go at all, and which count.
#include "host/src/selection/rotation.h"

#include <gtest/gtest.h>

#include "host/src/process/process_identity.h"

namespace fictl {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

class CRotationTest : public testing::Test
{
  protected:
    static constexpr UtcTime NOW = sys_days(2026y / 2 / 1);

    SSnapshot& add(const std::string& name, std::chrono::hours age, EState state = EState::COMPLETE,
                   const std::string& serial = "S1")
    {
        SSnapshot snapshot;
        snapshot.name = name;
        snapshot.state = state;
        snapshot.provider = "cdpfi";
        snapshot.created = utcSecondsText(NOW - age);
        snapshot.origin = "created";
        SDevice device;
        device.state = {"Lumora", "ap1", "g1", "", "KSV_Check_Point_1", serial};
        device.made = EMade::YES;
        snapshot.devices.push_back(device);
        m_snapshots.push_back(std::move(snapshot));
        return m_snapshots.back();
    }

    /// "name stays|goes: reason" of each, in the order in which they are told.
    std::vector<std::string> judged() const
    {
        std::vector<std::string> lines;
        for (const SRotated& each : judge(m_snapshots, m_rotation)) {
            lines.push_back(each.name + (each.goes ? " goes: " : " stays: ") + each.reason);
        }
        return lines;
    }

    std::vector<SSnapshot> m_snapshots;
    SRotation m_rotation = {.rules = {1, 0, 0, 0, 0, 0}, .now = NOW, .offset = [](UtcTime) { return 0s; }};
};

using Lines = std::vector<std::string>;

TEST_F(CRotationTest, WhatNoRuleKeepsGoes)
{
    add("old", 48h);
    add("new", 1h);
    EXPECT_EQ(judged(), (Lines{"new stays: kept: last 1", "old goes: no rule keeps it"}));
}

TEST_F(CRotationTest, WhatIsNotWholeStaysAndKeepsNothingFromBeingKept)
{
    add("partial", 1h, EState::PARTIAL);
    add("failed", 2h, EState::FAILED);
    add("half-deleted", 3h, EState::DELETE_FAILED);
    add("killed", 4h, EState::CREATING);
    add("good", 5h);
    add("old", 48h);
    EXPECT_EQ(judged(), (Lines{"partial stays: it is partial", "failed stays: it is failed",
                               "half-deleted stays: it is delete-failed", "killed stays: it is interrupted",
                               "good stays: kept: last 1", "old goes: no rule keeps it"}));
}

TEST_F(CRotationTest, WhatHasACopyHereStaysAndCounts)
{
    add("imported", 1h, EState::IMPORTED);
    add("also", 2h, EState::IMPORTED);
    add("half", 3h, EState::IMPORT_FAILED);
    add("back", 4h, EState::RELEASE_FAILED);
    add("asked", 5h).devices[0].imageAsked = true;
    add("shown", 6h).devices[0].importPath = "/dev/sdx";
    add("old", 48h);
    EXPECT_EQ(judged(),
              (Lines{"imported stays: kept: last 1", "also stays: it is imported", "half stays: it is import-failed",
                     "back stays: it is release-failed", "asked stays: a copy of it may be on this host",
                     "shown stays: a copy of it may be on this host", "old goes: no rule keeps it"}));
}

TEST_F(CRotationTest, WhatIsNotOfThisHostStaysAndDoesNotCount)
{
    add("received", 1h).origin = "received";
    add("adopted", 2h).origin = ORIGIN_ADOPTED;
    add("own", 3h);
    EXPECT_EQ(judged(), (Lines{"received stays: it came from another host", "adopted stays: it was adopted",
                               "own stays: kept: last 1"}));
}

TEST_F(CRotationTest, ATimeThatCannotBeIsNoAge)
{
    add("future", -1h);
    add("odd", 1h).created = "yesterday";
    add("now", 0h);
    add("old", 2h);
    EXPECT_EQ(judged(), (Lines{"odd stays: when it was made is not known", "future stays: its time lies in the future",
                               "now stays: kept: last 1", "old goes: no rule keeps it"}));
}

TEST_F(CRotationTest, AnApplicationThatMayBeFrozenIsNotForgotten)
{
    add("frozen", 48h).thaw = "db-quiet off";
    add("new", 1h);
    EXPECT_EQ(judged()[1], "frozen stays: its application may still be frozen");
}

TEST_F(CRotationTest, WhatIsYoungStays)
{
    add("a", 23h);
    add("b", 24h);
    add("c", 25h);
    add("d", 1h);
    m_rotation.olderThan = 24h;
    m_rotation.olderThanText = "1d";
    EXPECT_EQ(judged(), (Lines{"d stays: kept: last 1", "a stays: it is younger than 1d", "b goes: no rule keeps it",
                               "c goes: no rule keeps it"}));
}

TEST_F(CRotationTest, WhatHasNotTheLabelIsLeftOut)
{
    add("other", 1h);
    add("new", 2h).labels = {{"job", "db"}};
    add("old", 3h).labels = {{"job", "db"}};
    m_rotation.labels = {{"job", "db"}};
    EXPECT_EQ(judged(), (Lines{"new stays: kept: last 1", "old goes: no rule keeps it"}));
}

TEST_F(CRotationTest, SnapshotsOfTheSameLunsAreOneSeries)
{
    add("one", 1h);
    add("other", 2h, EState::COMPLETE, "S2");
    add("both", 3h);
    m_snapshots.back().devices.push_back(m_snapshots[1].devices[0]);
    SSnapshot& turned = add("turned", 4h, EState::COMPLETE, "S2");
    turned.devices.push_back(m_snapshots[0].devices[0]);
    EXPECT_EQ(judged(), (Lines{"one stays: kept: last 1", "other stays: kept: last 1", "both stays: kept: last 1",
                               "turned goes: no rule keeps it"}));
}

}  // namespace

}  // namespace fictl

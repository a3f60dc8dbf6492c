// What a report has of records, history and a look, and where it places that, without any drawing.
#include "host/src/report/report.h"

#include <gmock/gmock.h>

#include "host/src/process/process_identity.h"
#include "host/src/report/wording.h"

namespace fictl {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;
using testing::ElementsAre;
using testing::IsEmpty;

class CReportTest : public testing::Test
{
  protected:
    static constexpr UtcTime NOW = sys_days(2026y / 2 / 1);

    /// A whole snapshot of one LUN in each of the groups.
    SSnapshot& add(const std::string& name, std::chrono::hours age, const std::string& checkpoint,
                   const std::vector<GroupKey>& groups = {{"ap1", "g1"}})
    {
        SSnapshot record;
        record.name = name;
        record.state = EState::COMPLETE;
        record.checkpoint = "KSV_Check_Point_" + checkpoint;
        record.created = utcSecondsText(NOW - age);
        record.creator = "root@here";
        for (const auto& [appliance, group] : groups) {
            SDevice device;
            device.state = {"Lumora", appliance, group, "", record.checkpoint, "S1"};
            device.made = EMade::YES;
            record.devices.push_back(device);
        }
        m_records.snapshots.push_back(std::move(record));
        return m_records.snapshots.back();
    }

    /// A command that lasted a minute and was sure of each "verb kind name" of group g1 of appliance ap1.
    SHistoryEntry& command(const std::string& snapshot, std::chrono::hours age, const std::vector<std::string>& objects)
    {
        SHistoryEntry entry;
        entry.id = static_cast<int64_t>(m_history.size()) + 1;
        entry.started = utcSecondsText(NOW - age);
        entry.invoker = {"root", "", "here"};
        entry.snapshot = snapshot;
        entry.end = SHistoryEnd{.duration = 1min};
        for (const std::string& object : objects) {
            const size_t first = object.find(' ');
            const size_t second = object.find(' ', first + 1);
            entry.objects.push_back({.verb = object.substr(0, first),
                                     .kind = object.substr(first + 1, second - first - 1),
                                     .appliance = "ap1",
                                     .group = "g1",
                                     .name = object.substr(second + 1),
                                     .outcome = EOutcome::SURE});
        }
        m_history.push_back(std::move(entry));
        return m_history.back();
    }

    SReport report()
    {
        SReportSource source{.records = m_records, .history = m_history, .now = NOW, .host = "here"};
        source.since = m_since;
        source.withDeleted = m_withDeleted;
        source.gaps = m_gaps;
        source.found = m_found;
        return makeReport(source);
    }

    /// "name: state" of each, in order.
    static std::vector<std::string> snapshots(const SReport& report)
    {
        std::vector<std::string> lines;
        for (const SReportSnapshot& each : report.snapshots) {
            lines.push_back(each.name + ": " + each.state);
        }
        return lines;
    }

    /// "appliance/group: names" of each lane, as they stand in it.
    static std::vector<std::string> lanes(const SReport& report)
    {
        std::vector<std::string> lines;
        for (const SReportLane& lane : report.lanes) {
            lines.push_back(shortGroup(lane.group) + ":");
            for (const size_t place : lane.snapshots) {
                lines.back() += " " + report.snapshots[place].name;
            }
        }
        return lines;
    }

    /// "snapshot on host: from - until, end".
    static std::vector<std::string> copies(const SReport& report)
    {
        std::vector<std::string> lines;
        for (const SReportCopy& copy : report.copies) {
            lines.push_back(copy.snapshot + " on " + copy.host + ": " + (copy.from ? utcSecondsText(*copy.from) : "?") +
                            " - " + (copy.until ? utcSecondsText(*copy.until) : "?") + ", " + endText(copy.end) +
                            (copy.isSure ? "" : ", not sure"));
        }
        return lines;
    }

    SListing m_records;
    std::vector<SHistoryEntry> m_history;
    std::optional<UtcTime> m_since;
    bool m_withDeleted = true;
    std::vector<SReportGap> m_gaps;
    const SReconciliation* m_found = nullptr;
};

TEST_F(CReportTest, NothingAtAllIsAReport)
{
    const SReport empty = report();
    EXPECT_EQ(empty.from, NOW);
    EXPECT_EQ(empty.until, NOW);
    EXPECT_THAT(empty.lanes, IsEmpty());
    EXPECT_EQ(empty.oldest, std::nullopt);
    EXPECT_EQ(empty.look, std::nullopt);
}

TEST_F(CReportTest, ASnapshotStandsInTheLaneOfEachOfItsGroups)
{
    add("old", 48h, "1", {{"ap1", "g10"}, {"ap1", "g9"}});
    add("new", 24h, "2", {{"ap1", "g9"}, {"ap0", "z"}});
    const SReport made = report();
    EXPECT_THAT(lanes(made), ElementsAre("ap0/z: new", "ap1/g9: old new", "ap1/g10: old"));
    EXPECT_THAT(snapshots(made), ElementsAre("new: complete", "old: complete"));
    EXPECT_EQ(made.from, NOW - 48h);
    EXPECT_EQ(made.placeOf(NOW - 24h), 0.5);
    EXPECT_EQ(laneFacts(made.lanes[1], NOW), "2 snapshots, oldest 2d");
    EXPECT_EQ(laneFacts(made.lanes[0], NOW), "1 snapshot, oldest 1d");
}

TEST_F(CReportTest, WhatWasMadeBeforeThePictureIsCounted)
{
    add("old", 480h, "1").state = EState::PARTIAL;
    add("new", 24h, "2");
    m_since = NOW - 48h;
    const SReport made = report();
    EXPECT_THAT(lanes(made), ElementsAre("ap1/g1: new"));
    EXPECT_EQ(made.earlier, 1U);
    EXPECT_EQ(made.present, 2U);
    EXPECT_EQ(made.oldest, NOW - 480h);
    EXPECT_EQ(made.count(EMark::ATTENTION), 1U);
    EXPECT_EQ(laneFacts(made.lanes[0], NOW), "2 snapshots, oldest 20d");
}

TEST_F(CReportTest, ARecordWithoutATimeIsTold)
{
    add("odd", 24h, "1").created = "some day";
    const SReport made = report();
    EXPECT_THAT(snapshots(made), ElementsAre("odd: complete"));
    EXPECT_THAT(lanes(made), ElementsAre("ap1/g1:"));
    EXPECT_EQ(laneFacts(made.lanes[0], NOW), "1 snapshot, oldest -");
}

TEST_F(CReportTest, WhatLiesInTheFutureStandsAtTheEnd)
{
    add("old", 24h, "1");
    add("odd", -24h, "2");
    const SReport made = report();
    EXPECT_EQ(made.until, NOW);
    EXPECT_EQ(made.placeOf(*made.snapshots[0].time), 1.0);
}

TEST_F(CReportTest, AMarkFollowsFromTheState)
{
    const auto mark = [this](EState state, bool isAlive = false) {
        SSnapshot& record = add("s", 1h, "1");
        record.state = state;
        const COwnerLock lock(std::string(testing::TempDir()) + "report-owners");
        if (isAlive) record.owner = thisProcess();
        return markOf(record);
    };
    EXPECT_EQ(mark(EState::COMPLETE), EMark::COMPLETE);
    EXPECT_EQ(mark(EState::IMPORTED), EMark::IMPORTED);
    for (const EState state : {EState::PARTIAL, EState::FAILED, EState::IMPORT_FAILED, EState::RELEASE_FAILED,
                               EState::DELETE_FAILED, EState::CREATING, EState::DELETING}) {
        EXPECT_EQ(mark(state), EMark::ATTENTION) << stateText(state);
    }
    EXPECT_EQ(mark(EState::CREATING, true), EMark::UNDER_WAY);
    EXPECT_EQ(mark(EState::IMPORTING, true), EMark::UNDER_WAY);
}

TEST_F(CReportTest, TheHistoryTellsHowLongAnApplicationWasFrozen)
{
    add("s", 24h, "1");
    add("of-others", 12h, "2");
    command("s", 24h, {"create checkpoint KSV_Check_Point_1"}).end->frozen = 800ms;
    const SReport made = report();
    EXPECT_EQ(made.snapshots[0].frozen, 0s);
    EXPECT_EQ(made.snapshots[1].frozen, 800ms);
    EXPECT_EQ(made.longestFreeze(), 800ms);
}

TEST_F(CReportTest, WhatWasDeletedWithinThePictureIsShown)
{
    add("there", 24h, "3");
    command("before", 40h, {"create checkpoint KSV_Check_Point_1"});
    command("gone", 20h, {"create checkpoint KSV_Check_Point_2"});
    command("before", 18h, {"delete checkpoint KSV_Check_Point_1"});
    command("gone", 10h, {"delete image KSV_Time_Image_2", "delete checkpoint KSV_Check_Point_2"});
    const SReport made = report();
    EXPECT_THAT(lanes(made), ElementsAre("ap1/g1: there gone"));
    EXPECT_THAT(snapshots(made), ElementsAre("gone: deleted", "there: complete"));
    EXPECT_EQ(made.snapshots[0].deleted, utcSecondsText(NOW - 10h));
    EXPECT_EQ(made.present, 1U);
    m_withDeleted = false;
    EXPECT_THAT(snapshots(report()), ElementsAre("there: complete"));
}

TEST_F(CReportTest, WithoutRecordsThePictureBeginsWithTheOldestThatWasDeleted)
{
    command("gone", 40h, {"create checkpoint KSV_Check_Point_1"});
    command("gone", 18h, {"delete checkpoint KSV_Check_Point_1"});
    EXPECT_EQ(report().from, NOW - 40h);
}

TEST_F(CReportTest, WhatHasNoRecordAndWasNotDeletedIsCalledThat)
{
    command("forgotten", 20h, {"create checkpoint KSV_Check_Point_1"});
    command("refused", 10h, {"create checkpoint KSV_Check_Point_2"}).objects[0].outcome = EOutcome::REFUSED;
    command("taken-back", 5h, {"create checkpoint KSV_Check_Point_3", "delete checkpoint KSV_Check_Point_3"});
    EXPECT_THAT(snapshots(report()), ElementsAre("forgotten: no record"));
}

TEST_F(CReportTest, ACheckpointThatWasAdoptedUnderAnotherNameStandsOnce)
{
    add("adopted", 20h, "1");
    command("former", 20h, {"create checkpoint KSV_Check_Point_1"});
    EXPECT_THAT(snapshots(report()), ElementsAre("adopted: complete"));
}

TEST_F(CReportTest, ACheckpointsNameThatComesAgainMeansTheLatest)
{
    add("new", 10h, "1");
    command("old", 40h, {"create checkpoint KSV_Check_Point_1"});
    command("old", 30h, {"delete checkpoint KSV_Check_Point_1"});
    command("new", 10h, {"create checkpoint KSV_Check_Point_1"}).end->frozen = 2s;
    m_since = NOW - 48h;
    const SReport made = report();
    EXPECT_THAT(snapshots(made), ElementsAre("new: complete", "old: deleted"));
    EXPECT_EQ(made.snapshots[0].frozen, 2s);
    EXPECT_EQ(made.snapshots[1].frozen, 0s);
}

TEST_F(CReportTest, ACopyLastsFromItsImportToItsRelease)
{
    add("s", 24h, "1");
    command("s", 20h, {"create image KSV_Time_Image_1"});
    command("s", 10h, {"delete image KSV_Time_Image_1"});
    command("s", 4h, {"create image KSV_Time_Image_1"}).invoker.host = "backup";
    command("s", 2h, {"delete image KSV_Time_Image_1"});
    EXPECT_THAT(copies(report()), ElementsAre("s on backup: 2026-01-31T20:00:00Z - 2026-01-31T22:01:00Z, given back",
                                              "s on here: 2026-01-31T04:00:00Z - 2026-01-31T14:01:00Z, given back"));
}

TEST_F(CReportTest, WhatTheRecordHasAsImportedShows)
{
    add("s", 24h, "1").devices[0].importPath = "/dev/sdx";
    EXPECT_THAT(copies(report()), ElementsAre("s on here: ? - ?, shows"));
    command("s", 20h, {"create image KSV_Time_Image_1"}).objects[0].outcome = EOutcome::LOST;
    EXPECT_THAT(copies(report()), ElementsAre("s on here: 2026-01-31T04:00:00Z - ?, shows"));
}

TEST_F(CReportTest, ACopyOfWhichNobodyKnowsWhatBecameOfItIsToldAsThat)
{
    add("s", 24h, "1");
    command("s", 20h, {"create image KSV_Time_Image_1"}).objects[0].outcome = EOutcome::LOST;
    command("s", 10h, {"delete image KSV_Time_Image_1"}).objects[0].outcome = EOutcome::LOST;
    EXPECT_THAT(copies(report()),
                ElementsAre("s on here: 2026-01-31T04:00:00Z - 2026-01-31T14:01:00Z, not known, not sure"));
}

TEST_F(CReportTest, AnImportThatWasRefusedIsNoCopy)
{
    add("s", 24h, "1");
    command("s", 20h, {"create image KSV_Time_Image_1"}).objects[0].outcome = EOutcome::REFUSED;
    EXPECT_THAT(copies(report()), IsEmpty());
}

TEST_F(CReportTest, CopiesThatWereGoneBeforeThePictureAreLeftOut)
{
    add("s", 480h, "1");
    command("s", 400h, {"create image KSV_Time_Image_1"});
    command("s", 300h, {"delete image KSV_Time_Image_1"});
    EXPECT_EQ(copies(report()).size(), 1U);
    m_since = NOW - 48h;
    EXPECT_THAT(copies(report()), IsEmpty());
}

TEST_F(CReportTest, AMissingRunStandsInTheLanesOfItsJobsLatestSnapshot)
{
    add("old", 48h, "1", {{"ap1", "g1"}}).labels = {{"job", "db"}};
    add("new", 24h, "2", {{"ap1", "g2"}, {"ap1", "g3"}}).labels = {{"job", "db"}};
    add("web", 12h, "3", {{"ap1", "g4"}}).labels = {{"job", "web"}};
    m_gaps = {{"db", NOW - 20h, NOW - 10h}, {"never-ran", NOW - 20h, NOW}, {"db", NOW - 100h, NOW - 99h}};
    const SReport made = report();
    ASSERT_EQ(made.gaps.size(), 2U) << "one lies before the picture";
    EXPECT_THAT(made.lanes[0].gaps, IsEmpty());
    EXPECT_THAT(made.lanes[1].gaps, ElementsAre(0U));
    EXPECT_THAT(made.lanes[2].gaps, ElementsAre(0U));
    EXPECT_THAT(made.lanes[3].gaps, IsEmpty());
}

TEST_F(CReportTest, ALookTellsWhatNoRecordHas)
{
    add("s", 24h, "1");
    SReconciliation found;
    const auto find = [&](EObjectKind kind, EObjectClass klass, const std::string& name) -> SFoundObject& {
        found.objects.push_back({.kind = kind, .klass = klass, .group = {"ap1", "g1"}, .name = name});
        return found.objects.back();
    };
    find(EObjectKind::CHECKPOINT, EObjectClass::ORPHAN, "KSV_Check_Point_7").group = {"ap2", "g9"};
    find(EObjectKind::IMAGE, EObjectClass::UNKNOWN, "KSV_Time_Image_8");
    find(EObjectKind::CHECKPOINT, EObjectClass::UNKNOWN, "KSV_Check_Point_1").record = "s";
    find(EObjectKind::CHECKPOINT, EObjectClass::FOREIGN, "KSV_Check_Point_9");
    find(EObjectKind::SCRIPT, EObjectClass::ORPHAN, "/tmp/script");
    found.notTold = {{"ap3", "", "no answer"}, {"ap3", "g1", "cut"}, {"", "", "no inspector"}};
    m_found = &found;
    const SReport made = report();
    ASSERT_TRUE(made.look);
    ASSERT_EQ(made.look->orphans.size(), 2U);
    EXPECT_EQ(made.look->orphans[0].name, "KSV_Check_Point_7");
    EXPECT_EQ(made.look->orphans[1].klass, "unknown");
    EXPECT_THAT(made.look->notTold, ElementsAre("ap3: no answer", "ap3/g1: cut", "no inspector"));
    EXPECT_EQ(made.count(EMark::ORPHAN), 2U);
    EXPECT_THAT(lanes(made), ElementsAre("ap1/g1: s", "ap2/g9:"));
    EXPECT_THAT(made.lanes[1].orphans, ElementsAre(0U));
}

TEST_F(CReportTest, WhatALookFindsWithoutARecordStandsOnce)
{
    add("s", 24h, "2");
    command("gone", 20h, {"create checkpoint KSV_Check_Point_1"});
    SReconciliation found;
    found.objects.push_back({.kind = EObjectKind::CHECKPOINT,
                             .klass = EObjectClass::ORPHAN,
                             .group = {"ap1", "g1"},
                             .name = "KSV_Check_Point_1"});
    EXPECT_THAT(snapshots(report()), ElementsAre("gone: no record", "s: complete"));
    m_found = &found;
    EXPECT_THAT(snapshots(report()), ElementsAre("s: complete"));
}

}  // namespace

}  // namespace fictl

// Whose each object is: by the catalog, the appliances and this host together, and never by the form of a name.
#include <fcntl.h>
#include <sys/file.h>

#include <csignal>

#include "base/file_descriptor.h"
#include "base/process_stat.h"
#include "base/temporary_file_name.h"
#include "host/tests/reconcile_fixture.h"

namespace fs = std::filesystem;

namespace {

using nlohmann::json;

TEST_F(CReconcileTest, NothingAtAllIsInOrder)
{
    EXPECT_EQ(reconcile(0)["objects"], json::array());
    EXPECT_FALSE(fs::exists(catalog())) << "it only looks";
    EXPECT_EQ(fictl({"reconcile"}).out, "nothing was found\n");
}

TEST_F(CReconcileTest, WhatARecordHasIsOwned)
{
    const std::string checkpoint = create("s", {"/dev/fake1", "/dev/fake3"});
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    const json found = reconcile(0);
    EXPECT_EQ(classesOf(found, "record"), std::set<std::string>{"owned s"});
    EXPECT_EQ(classesOf(found, "checkpoint"), std::set<std::string>{"owned " + checkpoint});
    EXPECT_EQ(classesOf(found, "time image"), std::set<std::string>{"owned " + imageOf(checkpoint)});
    EXPECT_EQ(classesOf(found, "copy"),
              (std::set<std::string>{"owned " + fake("copies/S1"), "owned " + fake("copies/S3")}));
    EXPECT_EQ(found["counts"]["owned"], found["objects"].size());
    EXPECT_EQ(found["not_told"], json::array());
    const json object = objectOf(found, checkpoint);
    EXPECT_EQ(object["record"], "s");
    EXPECT_EQ(object["time"], "2026-01-31T12:00:00Z");
    EXPECT_EQ(evidenceOf(found, checkpoint),
              "listing: group \"g1\" of appliance \"ap1\" lists it of 2026-01-31T12:00:00Z\n"
              "record: record \"s\" (imported) has it\n");
}

TEST_F(CReconcileTest, WhatTheHistoryHasMadeAndNoRecordHasIsAnOrphan)
{
    const std::string checkpoint = createOrphan("s");
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, checkpoint), "orphan");
    EXPECT_EQ(objectOf(found, checkpoint)["entry"], 1);
    const std::string evidence = evidenceOf(found, checkpoint);
    EXPECT_NE(evidence.find("record: no record has it\nhistory: entry 1 of the history ("), std::string::npos);
    EXPECT_TRUE(evidence.ends_with(" snapshot create s /dev/fake1) has made it at 2026-01-31T12:00:00Z\n")) << evidence;
}

TEST_F(CReconcileTest, TheFormOfANameIsNoProof)
{
    putCheckpoint("g1", "KSV_Check_Point_4711", "2026-01-31T12:00:00Z");
    putImage("ap1", "g1", "4711", "here");
    const json found = reconcile(0);
    EXPECT_EQ(classOf(found, "KSV_Check_Point_4711"), "foreign");
    EXPECT_EQ(classOf(found, "KSV_Time_Image_4711"), "foreign");
    EXPECT_NE(evidenceOf(found, "KSV_Check_Point_4711").find("history: no entry of the history names it\n"),
              std::string::npos);
}

TEST_F(CReconcileTest, AnotherTimeOfTheApplianceIsAnotherOne)
{
    const std::string checkpoint = createOrphan("s");
    putCheckpoint("g1", checkpoint, "2026-01-31T12:00:01Z");
    const json found = reconcile(0);
    EXPECT_EQ(classOf(found, checkpoint), "foreign");
    EXPECT_NE(evidenceOf(found, checkpoint)
                  .find(" has made one at 2026-01-31T12:00:00Z, and this is of 2026-01-31T12:00:01Z\n"),
              std::string::npos);
}

TEST_F(CReconcileTest, AClockOfThisHostThatIsWrongPlaysNoPart)
{
    const std::string checkpoint = createOrphan("s");
    changeHistory("UPDATE history SET started = '2031-01-31T12:00:00Z'");
    EXPECT_EQ(classOf(reconcile(8), checkpoint), "orphan");
}

TEST_F(CReconcileTest, WithoutATimeNothingIsProven)
{
    const std::string checkpoint = createOrphan("s");
    base_test::writeFile(fake("objects/ap1.g1." + checkpoint), "message no time\n");
    const json untold = reconcile(8);
    EXPECT_EQ(classOf(untold, checkpoint), "unknown");
    EXPECT_NE(evidenceOf(untold, checkpoint).find("and the appliance tells no time\n"), std::string::npos);
    putCheckpoint("g1", checkpoint, "2026-01-31T12:00:00Z");
    changeHistory("UPDATE history_object SET made_at = ''");
    const json unentered = reconcile(8);
    EXPECT_EQ(classOf(unentered, checkpoint), "unknown");
    EXPECT_NE(evidenceOf(unentered, checkpoint).find("does not tell at what time of the appliance\n"),
              std::string::npos);
}

TEST_F(CReconcileTest, WhatAnotherHostHasMadeIsForeign)
{
    const std::string checkpoint = createOrphan("s");
    changeHistory("UPDATE history SET host = 'elsewhere'");
    const json found = reconcile(0);
    EXPECT_EQ(classOf(found, checkpoint), "foreign");
    EXPECT_NE(evidenceOf(found, checkpoint).find("has made it on host \"elsewhere\", and this is host "),
              std::string::npos);
}

TEST_F(CReconcileTest, AnotherGroupOfThatNameIsNoProof)
{
    const std::string checkpoint = createOrphan("s");
    fs::rename(fake("objects/ap1.g1." + checkpoint), fake("objects/ap1.g2." + checkpoint));
    EXPECT_EQ(classOf(reconcile(0), checkpoint), "foreign");
}

TEST_F(CReconcileTest, OneThatAnotherHostMayHaveIsUnknown)
{
    const std::string checkpoint = create("s");
    ASSERT_EQ(fictl({"snapshot", "export", "s"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, checkpoint), "unknown");
    EXPECT_NE(evidenceOf(found, checkpoint).find("and another host may have its record: entry 2 of the history ("),
              std::string::npos);
}

TEST_F(CReconcileTest, OneThatWasDeletedAndIsThereAgainIsAnotherOne)
{
    const std::string checkpoint = create("s");
    ASSERT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    putCheckpoint("g1", checkpoint, "2026-01-31T12:00:00Z");
    const json found = reconcile(0);
    EXPECT_EQ(classOf(found, checkpoint), "foreign");
    EXPECT_NE(evidenceOf(found, checkpoint).find(" has deleted the one that it knew\n"), std::string::npos);
}

TEST_F(CReconcileTest, ALostAnswerIsNoProof)
{
    arm("make:g1 lost no carrier\n");
    EXPECT_NE(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    arm("");
    const std::string checkpoint = fictlJson({"snapshot", "show", "s"}).document()["snapshot"]["checkpoint"];
    const json recorded = reconcile(8);
    EXPECT_EQ(classOf(recorded, checkpoint), "unknown");
    EXPECT_EQ(classOf(recorded, "s"), "unknown");
    ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    const json forgotten = reconcile(8);
    EXPECT_EQ(classOf(forgotten, checkpoint), "unknown");
    EXPECT_NE(evidenceOf(forgotten, checkpoint).find("whether it was made by that is not known\n"), std::string::npos);
}

TEST_F(CReconcileTest, WhatAKilledCommandMayHaveMadeIsUnknownAndNotInFlight)
{
    arm("make:g1 killed-after\n");
    EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 1000 + SIGKILL);
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, "s"), "unknown");
    for (const json& object : found["objects"]) {
        EXPECT_EQ(object["class"], "unknown") << object;
    }
    EXPECT_EQ(found["objects"].size(), 2U);
}

TEST_F(CReconcileTest, WhatARunningCommandIsAtWorkOnIsInFlight)
{
    arm("make:g1 wait-after here\n");
    startHeld({"snapshot", "create", "s", "/dev/fake1"});
    release();
    waitForFile("here.reached");
    const json found = reconcile(0);
    touch("here");
    EXPECT_EQ(finish().exit, 0);
    EXPECT_EQ(classOf(found, "s"), "in flight");
    EXPECT_EQ(found["counts"]["in flight"], found["objects"].size());
    EXPECT_EQ(found["objects"].size(), 2U);
}

TEST_F(CReconcileTest, ARecordWithoutItsCheckpointIsStale)
{
    const std::string checkpoint = create("s");
    fs::remove(fake("objects/ap1.g1." + checkpoint));
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, "s"), "stale");
    EXPECT_EQ(evidenceOf(found, "s"),
              "record: it is complete\nlisting: group \"g1\" of appliance \"ap1\" does not list " + checkpoint + "\n");
}

TEST_F(CReconcileTest, ARecordWhoseCheckpointWasReplacedIsStaleAndTheOtherOneForeign)
{
    const std::string checkpoint = create("s");
    putCheckpoint("g1", checkpoint, "2026-02-01T00:00:00Z");
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, "s"), "stale");
    EXPECT_EQ(classOf(found, checkpoint), "foreign");
}

TEST_F(CReconcileTest, ARecordThatHasOneOfItsCheckpointsIsOwned)
{
    const std::string checkpoint = create("s", {"/dev/fake1", "/dev/fake3"});
    fs::remove(fake("objects/ap1.g1." + checkpoint));
    EXPECT_EQ(classOf(reconcile(0), "s"), "owned");
}

TEST_F(CReconcileTest, WhatAnApplianceDoesNotTellIsUnknown)
{
    const std::string checkpoint = create("s");
    createOrphan("t", {"/dev/fake4"});
    for (const char* fault : {"appliance:ap1 fail=7 no route\n", "inspect-group:g1 fail no answer\n",
                              "inspect:ap1 banner Welcome\n", "inspect fail=1 out of memory\n"}) {
        fs::remove(fake("objects/ap1.g1." + checkpoint));
        arm(fault);
        const json found = reconcile(8);
        EXPECT_EQ(classOf(found, "s"), "unknown") << fault;
        EXPECT_EQ(found["not_told"].size(), 1U) << found;
        EXPECT_EQ(found["counts"]["stale"], 0) << fault;
    }
    arm("");
    EXPECT_EQ(classOf(reconcile(8), "s"), "stale");
}

TEST_F(CReconcileTest, AGroupThatIsNotListedIsUnknown)
{
    create("s");
    base_test::writeFile(fake("groups"), "ap1 g2\nap2 g3\n");
    base_test::writeFile(fake("devices"), "/dev/fake3 S3 ap1 g2\n/dev/fake4 S4 ap2 g3\n");
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, "s"), "unknown");
    EXPECT_NE(evidenceOf(found, "s").find("the appliance lists no such group"), std::string::npos);
}

TEST_F(CReconcileTest, ImagesThatAreNotToldHideNothingElse)
{
    const std::string checkpoint = create("s");
    arm("inspect-images:g1 fail busy\n");
    const SRun run = fictlJson({"reconcile"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(classOf(run.document()["reconcile"], checkpoint), "owned");
    EXPECT_EQ(run.document()["reconcile"]["not_told"][0]["group"], "g1");
    EXPECT_TRUE(run.err.starts_with("fictl: warning: not everything was told: group \"g1\" of appliance \"ap1\": "))
        << run.err;
}

TEST_F(CReconcileTest, WithoutAnInspectorNothingOfTheAppliancesIsKnown)
{
    create("s");
    leaveInspectorAway();
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, "s"), "unknown");
    EXPECT_EQ(found["not_told"][0]["reason"], "provider \"fakefi\" ships no inspector");
}

TEST_F(CReconcileTest, AnImageThatAnotherHostHasIsForeign)
{
    const std::string checkpoint = create("s");
    const std::string suffix = checkpoint.substr(std::string("KSV_Check_Point_").size());
    putImage("ap1", "g1", suffix, "backup");
    const json found = reconcile(0);
    EXPECT_EQ(classOf(found, imageOf(checkpoint)), "foreign");
    EXPECT_NE(evidenceOf(found, imageOf(checkpoint)).find("lists it of 2026-01-31T12:00:00Z, for host \"backup\"\n"),
              std::string::npos);
}

TEST_F(CReconcileTest, AnImageThatThisHostHasMadeForItselfIsAnOrphan)
{
    const std::string checkpoint = create("s");
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    EXPECT_EQ(classOf(reconcile(8), imageOf(checkpoint)), "unknown") << "its time was never seen";
    changeHistory("UPDATE history_object SET made_at = '2026-01-31T12:00:00Z'");
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, imageOf(checkpoint)), "orphan");
    EXPECT_EQ(classOf(found, fake("copies/S1")), "orphan");
    putImage("ap1", "g1", checkpoint.substr(std::string("KSV_Check_Point_").size()), "backup");
    EXPECT_EQ(classOf(reconcile(8), imageOf(checkpoint)), "unknown") << "another host has it";
}

TEST_F(CReconcileTest, ACopyThatDoesNotShowIsStale)
{
    create("s");
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    fs::remove(fake("copies/S1"));
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, fake("copies/S1")), "stale");
    EXPECT_EQ(objectOf(found, fake("copies/S1"))["record"], "s");
    EXPECT_EQ(classOf(found, "s"), "owned");
}

TEST_F(CReconcileTest, ARecordThatCannotBeReadLeavesNothingProven)
{
    const std::string checkpoint = createOrphan("s");
    create("t", {"/dev/fake3"});
    change("UPDATE snapshot SET state = 'weird'");
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, "t"), "unknown");
    EXPECT_EQ(classOf(found, checkpoint), "unknown");
    EXPECT_NE(evidenceOf(found, checkpoint).find("record \"t\", which cannot be read, may have it\n"),
              std::string::npos);
}

TEST_F(CReconcileTest, ARecordOfAnotherProviderIsUnknown)
{
    create("s");
    change("UPDATE snapshot SET provider = 'other'");
    EXPECT_EQ(classOf(reconcile(8), "s"), "unknown");
}

TEST_F(CReconcileTest, ChangesNothingAndWorksWhereNothingCanBeWritten)
{
    createOrphan("s");
    const std::string before = fictl({"history"}).out;
    for (const char* file : {"-wal", "-shm"}) {
        fs::remove(catalog() + file);
    }
    fs::create_symlink("nowhere", catalog() + "-shm");
    EXPECT_EQ(reconcile(8)["counts"]["orphan"], 1);
    EXPECT_EQ(fictl({"history"}).out, before) << "a look leaves no entry";
}

TEST_F(CReconcileTest, TheTableBeginsWithWhatCallsForSomething)
{
    putCheckpoint("g1", "KSV_Check_Point_1", "2026-01-31T12:00:00Z");
    create("own", {"/dev/fake3"});
    createOrphan("s");
    const std::vector<std::string> lines = base_test::linesOf(fictl({"reconcile"}).out);
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_TRUE(lines[0].starts_with("CLASS    KIND        APPLIANCE  GROUP  NAME ")) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("orphan   checkpoint  ap1        g1     KSV_Check_Point_")) << lines[1];
    EXPECT_TRUE(lines[2].starts_with("foreign  checkpoint  ap1        g1     KSV_Check_Point_1 ")) << lines[2];
    EXPECT_TRUE(lines[3].starts_with("owned    checkpoint  ap1        g2 ")) << lines[3];
    EXPECT_TRUE(lines[4].starts_with("owned    record      -          -      own ")) << lines[4];
    EXPECT_EQ(lines[5], "1 orphan, 1 foreign, 2 owned");
}

/// Files that commands have left on this host.
class CLeftFilesTest : public CReconcileTest
{
  protected:
    std::string exportFile() const { return m_root + "/tmp/run.document.json"; }
    std::string part() const { return exportFile() + ".part"; }
    static void makePrivate(const std::string& file)
    {
        base_test::writeFile(file, "half");
        fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    }
    /// An export that was killed while it wrote.
    void leavePart() const
    {
        create("s");
        ASSERT_EQ(fictl({"snapshot", "export", "s", "--file", exportFile()}).exit, 0);
        changeHistory("UPDATE history SET ended = 0, pid = 1, start_time = 1, owner_lock = 0 WHERE id = 2");
        makePrivate(part());
    }
};

TEST_F(CLeftFilesTest, WhatAKilledCommandWasWritingIsAnOrphan)
{
    leavePart();
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, part()), "orphan");
    EXPECT_EQ(objectOf(found, part())["kind"], "part file");
    EXPECT_EQ(objectOf(found, part())["entry"], 2);
    EXPECT_TRUE(evidenceOf(found, part()).ends_with(" began it, and its process is gone\n"));
}

TEST_F(CLeftFilesTest, AFileIsFoundAlsoWhenTheCommandNamedItFromWhereItRan)
{
    create("s");
    ASSERT_EQ(fictl({"snapshot", "export", "s", "--file=" + fs::relative(exportFile()).string()}).exit, 0);
    changeHistory("UPDATE history SET ended = 0, pid = 1, start_time = 1, owner_lock = 0 WHERE id = 2");
    makePrivate(part());
    EXPECT_EQ(classOf(reconcile(8), part()), "orphan");
}

TEST_F(CLeftFilesTest, OneThatIsHeldIsInFlight)
{
    leavePart();
    const base::CFileDescriptor writer(open(part().c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(flock(writer.get(), LOCK_EX), 0);
    EXPECT_EQ(classOf(reconcile(0), part()), "in flight");
}

TEST_F(CLeftFilesTest, OneOfAnotherTimeOrOfAnybodyIsForeign)
{
    leavePart();
    changeHistory("UPDATE history SET started = '2026-01-31T12:00:00Z'");
    EXPECT_EQ(classOf(reconcile(0), part()), "foreign");
    changeHistory("UPDATE history SET started = strftime('%Y-%m-%dT%H:%M:%SZ', 'now')");
    EXPECT_EQ(classOf(reconcile(8), part()), "orphan");
    fs::permissions(part(), fs::perms::others_read, fs::perm_options::add);
    EXPECT_EQ(classOf(reconcile(0), part()), "foreign");
}

TEST_F(CLeftFilesTest, OneBesideTheCatalogThatNoCommandHasBegunIsForeign)
{
    begin();
    makePrivate(catalog() + ".part");
    makePrivate(catalog() + ".version-2.bak.part");
    const json found = reconcile(0);
    EXPECT_EQ(classesOf(found, "part file"), (std::set<std::string>{"foreign " + catalog() + ".part",
                                                                    "foreign " + catalog() + ".version-2.bak.part"}));
}

TEST_F(CLeftFilesTest, AScriptIsWhoseTheProcessInItsNameIs)
{
    create("s");
    const std::string folder = scripts();
    const std::string here = base::processPlace(base::bootId(), base::pidNamespace());
    const std::string earlier = base::processPlace("another-boot", base::pidNamespace());
    const auto nameOf = [&](const std::string& place, pid_t pid, uint64_t start, const char* end) {
        return folder + "/ksv_fi" + base::temporaryFileMark({.place = place, .pid = pid, .startTime = start}) + end;
    };
    const std::string own = nameOf(here, getpid(), base::readProcessStat(getpid())->startTime, "aaaaaa");
    const std::string left = nameOf(earlier, 4711, 99, "bbbbbb");
    const std::string elsewhere = nameOf(earlier, 4712, 99, "cccccc");
    const std::string gone = nameOf(here, 4713, 1, "dddddd");
    const std::string byHand = folder + "/ksv_fi_by_hand";
    for (const std::string& file : {own, left, elsewhere, gone, byHand}) {
        makePrivate(file);
    }
    changeHistory(
        "UPDATE history SET ended = 0, boot_id = 'another-boot', pid = 4711, start_time = 99, owner_lock = 0");
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, own), "in flight");
    EXPECT_EQ(classOf(found, left), "orphan");
    EXPECT_EQ(classOf(found, elsewhere), "unknown");
    EXPECT_EQ(classOf(found, gone), "foreign");
    EXPECT_EQ(classOf(found, byHand), "foreign");
}

}  // namespace

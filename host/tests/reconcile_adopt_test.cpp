// A checkpoint that has lost its record gets one, by proof or on somebody's word.
#include "host/tests/reconcile_fixture.h"

namespace fs = std::filesystem;

namespace {

using nlohmann::json;

class CAdoptTest : public CReconcileTest
{
  protected:
    SRun adopt(const std::string& checkpoint, const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> words = {"reconcile", "--adopt", checkpoint, "--as", "again"};
        words.insert(words.end(), more.begin(), more.end());
        return fictlJson(words);
    }
    json shown() const { return fictlJson({"snapshot", "show", "again"}).document()["snapshot"]; }
    /// A refusal that leaves no record.
    std::string refusal(const SRun& run, int exit) const
    {
        EXPECT_EQ(run.exit, exit) << run.out << run.err;
        EXPECT_EQ(state("again"), "");
        return run.exit == 0 ? "" : run.message();
    }
};

TEST_F(CAdoptTest, AnOrphanWorksAsAnySnapshotThen)
{
    const std::string checkpoint = createOrphan("s", {"/dev/fake1", "/dev/fake3"});
    const SRun run = adopt(checkpoint);
    ASSERT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const json record = shown();
    EXPECT_EQ(record["state"], "complete");
    EXPECT_EQ(record["origin"], "adopted");
    EXPECT_EQ(record["checkpoint"], checkpoint);
    EXPECT_EQ(record["created"], "2026-01-31T12:00:00Z");
    ASSERT_EQ(record["devices"].size(), 3U) << "every LUN of both groups";
    EXPECT_EQ(record["devices"][0]["source"], "/dev/fake1");
    EXPECT_EQ(record["devices"][0]["made_at"], "2026-01-31T12:00:00Z");
    EXPECT_EQ(fictl({"catalog", "check"}).exit, 0);
    EXPECT_EQ(reconcile(0)["counts"]["owned"], 3);
    EXPECT_EQ(fictl({"snapshot", "import", "again"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "release", "again"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "export", "again"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "again"}).exit, 0);
    EXPECT_TRUE(objects().empty());
    const json entry = fictlJson({"history", "again"}).document()["history"][0];
    EXPECT_TRUE(entry["command"].get<std::string>().ends_with(" reconcile --adopt " + checkpoint + " --as again"));
    expectClean();
}

TEST_F(CAdoptTest, WithALostCatalogItTakesTheWordOfWhoNamesTheGroup)
{
    const std::string checkpoint = create("s");
    loseCatalog();
    EXPECT_EQ(classOf(reconcile(0), checkpoint), "foreign");
    const SRun refused = adopt(checkpoint);
    EXPECT_EQ(refusal(refused, 5),
              "checkpoint \"" + checkpoint +
                  "\" of group \"g1\" of appliance \"ap1\" is not proven to be this catalog's: group \"g1\" of "
                  "appliance \"ap1\" lists it of 2026-01-31T12:00:00Z; no record has it; no entry of the history names "
                  "it; nothing was adopted");
    EXPECT_EQ(refused.next(),
              "if you know that it is yours and that no other host has a record of it, name its group: --group g1");
    const SRun run = adopt(checkpoint, {"--group", "g1"});
    ASSERT_EQ(run.exit, 0) << run.err;
    EXPECT_TRUE(run.err.starts_with("fictl: warning: checkpoint " + checkpoint +
                                    " of group \"g1\" of appliance \"ap1\" is taken on your word: "))
        << run.err;
    EXPECT_EQ(fictl({"snapshot", "import", "again"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "again"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CAdoptTest, WithALostCatalogACopyOfThisHostIsTakenUp)
{
    const std::string checkpoint = create("s");
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    loseCatalog();
    ASSERT_EQ(adopt(checkpoint, {"--group", "g1"}).exit, 0);
    const std::string advice =
        "if no other catalog of this host has it, take it up with fictl snapshot import again and run the command "
        "again";
    const SRun deletion = fictlJson({"snapshot", "delete", "again"});
    EXPECT_EQ(deletion.exit, 5) << "the image is nobody's who is known";
    EXPECT_EQ(deletion.next(), advice + ", or add --even-if-in-use here to take it away from there");
    const SRun refusedRelease = fictlJson({"snapshot", "release", "again"});
    EXPECT_EQ(refusedRelease.exit, 5);
    EXPECT_EQ(refusedRelease.next(), advice);
    EXPECT_EQ(fictl({"snapshot", "import", "again"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "release", "again"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "again"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CAdoptTest, WithYesterdaysCatalogWhatWasMadeSinceIsForeignAndWhatIsGoneStale)
{
    const std::string before = create("before", {"/dev/fake3"});
    const std::string kept = create("kept", {"/dev/fake4"});
    const std::string yesterday = m_root + "/yesterday";
    fs::copy(folder(), yesterday);
    const std::string since = create("since");
    ASSERT_EQ(fictl({"snapshot", "delete", "before"}).exit, 0);
    fs::remove_all(folder());
    fs::rename(yesterday, folder());
    fs::remove(catalog() + "-shm");
    const json found = reconcile(8);
    EXPECT_EQ(classOf(found, "before"), "stale");
    EXPECT_EQ(classOf(found, "kept"), "owned");
    EXPECT_EQ(classOf(found, kept), "owned");
    EXPECT_EQ(classOf(found, since), "foreign");
    EXPECT_EQ(adopt(since).exit, 5);
    EXPECT_EQ(adopt(since, {"--group=g1"}).exit, 0);
    const std::string plan = m_root + "/plan.json";
    ASSERT_EQ(fictl({"reconcile", "--plan", plan}).exit, 0);
    ASSERT_EQ(fictl({"reconcile", "--apply", plan}).exit, 0);
    EXPECT_EQ(reconcile(0)["counts"]["owned"], 4);
    EXPECT_EQ(fictl({"snapshot", "delete", "again"}).exit, 0);
    EXPECT_EQ(objects(), std::vector<std::string>{"ap2.g3." + kept});
}

TEST_F(CAdoptTest, OneOfSeveralGroupsIsTakenAlone)
{
    const std::string checkpoint = createOrphan("s", {"/dev/fake1", "/dev/fake3"});
    ASSERT_EQ(adopt(checkpoint, {"--group", "g2"}).exit, 0);
    EXPECT_EQ(shown()["devices"].size(), 1U);
    EXPECT_EQ(fictl({"reconcile", "--adopt", checkpoint, "--as", "other", "--group", "g1"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "other"}).exit, 0);
    EXPECT_TRUE(isThere("ap1.g2." + checkpoint));
}

TEST_F(CAdoptTest, SeveralGroupsAreNamedTogether)
{
    const std::string checkpoint = create("s", {"/dev/fake1", "/dev/fake3"});
    loseCatalog();
    ASSERT_EQ(adopt(checkpoint, {"--group", "g1", "--group", "g2"}).exit, 0);
    EXPECT_EQ(shown()["groups"].size(), 2U);
}

TEST_F(CAdoptTest, TheApplianceTellsGroupsOfOneNameApart)
{
    base_test::writeFile(fake("devices"), "/dev/fake1 S1 ap1 g1\n/dev/fake4 S4 ap2 g1\n");
    for (const char* appliance : {"ap1", "ap2"}) {
        base_test::writeFile(fake("objects/" + std::string(appliance) + ".g1.KSV_Check_Point_7"),
                             "time 2026-01-31T12:00:00Z\n");
    }
    EXPECT_EQ(refusal(adopt("KSV_Check_Point_7", {"--group", "g1"}), 2),
              "groups \"g1\" of several appliances have that checkpoint");
    ASSERT_EQ(adopt("KSV_Check_Point_7", {"--group", "g1", "--appliance", "ap2"}).exit, 0);
    EXPECT_EQ(shown()["devices"][0]["appliance"], "ap2");
}

TEST_F(CAdoptTest, WhatHasARecordStaysThere)
{
    const std::string checkpoint = create("s");
    for (const std::vector<std::string>& more : std::vector<std::vector<std::string>>{{}, {"--group", "g1"}}) {
        const SRun run = adopt(checkpoint, more);
        EXPECT_NE(refusal(run, 5).find(" is owned: "), std::string::npos);
        EXPECT_EQ(run.next(), "fictl snapshot show s");
    }
}

TEST_F(CAdoptTest, WhatIsInFlightIsLeftAlone)
{
    arm("make:g1 wait-after here\n");
    startHeld({"snapshot", "create", "s", "/dev/fake1"});
    release();
    waitForFile("here.reached");
    const std::string checkpoint = objects().front().substr(std::string("ap1.g1.").size());
    const SRun run = adopt(checkpoint, {"--group", "g1"});
    touch("here");
    EXPECT_EQ(finish().exit, 0);
    EXPECT_NE(refusal(run, 5).find(" is in flight: "), std::string::npos);
}

TEST_F(CAdoptTest, ANameThatIsTakenIsRefused)
{
    const std::string checkpoint = createOrphan("s");
    create("again", {"/dev/fake3"});
    EXPECT_EQ(adopt(checkpoint).exit, 4);
    EXPECT_EQ(fictl({"reconcile", "--adopt", checkpoint, "--as", "../x"}).exit, 2);
    EXPECT_EQ(shown()["origin"], "created");
}

TEST_F(CAdoptTest, WhatIsNotThereOrNotToldCannotBeAdopted)
{
    createOrphan("s");
    EXPECT_EQ(refusal(adopt("KSV_Check_Point_7"), 13),
              "checkpoint \"KSV_Check_Point_7\" is not listed; nothing was adopted");
    EXPECT_EQ(refusal(adopt("nightly"), 13),
              "checkpoint \"nightly\" has no name that a provider of this fictl works with; nothing was adopted");
    const std::string checkpoint = objects().front().substr(std::string("ap1.g1.").size());
    EXPECT_EQ(refusal(adopt(checkpoint, {"--group", "nosuch"}), 13),
              "checkpoint \"" + checkpoint + "\" is not listed; nothing was adopted");
    arm("inspect-group:g1 fail no answer\n");
    EXPECT_TRUE(refusal(adopt(checkpoint), 8)
                    .starts_with("checkpoint \"" + checkpoint + "\" is not listed, and not everything was told: "));
    arm("inspect fail=1 out of memory\n");
    EXPECT_TRUE(refusal(adopt(checkpoint), 8).starts_with("the appliances cannot be looked at: "));
}

TEST_F(CAdoptTest, AnAdoptedOneThatWasExportedIsNotProvenAnyMore)
{
    const std::string checkpoint = createOrphan("s");
    ASSERT_EQ(adopt(checkpoint).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "export", "again"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "delete", "again", "--forget"}).exit, 0);
    EXPECT_EQ(classOf(reconcile(8), checkpoint), "unknown");
}

}  // namespace

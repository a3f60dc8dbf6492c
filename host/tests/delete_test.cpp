#include <filesystem>

#include "host/tests/fictl_fixture.h"

namespace {

class CDeleteTest : public CFictlTest
{
  protected:
    void SetUp() override
    {
        CFictlTest::SetUp();
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake2", "/dev/fake3"}).exit, 0);
    }

    int disposals() const
    {
        int count = 0;
        for (const std::string& call : calls()) {
            if (call.starts_with("dispose")) ++count;
        }
        return count;
    }
};

TEST_F(CDeleteTest, DisposesOncePerGroupAndDropsTheRecord)
{
    const SRun run = fictlJson({"snapshot", "delete", "s"});
    ASSERT_EQ(run.exit, 0) << run.err;
    const nlohmann::json deleted = run.document()["deleted"];
    EXPECT_EQ(deleted["name"], "s");
    ASSERT_EQ(deleted["groups"].size(), 2U);
    EXPECT_EQ(deleted["groups"][0]["result"], "removed");
    EXPECT_EQ(disposals(), 2);
    EXPECT_TRUE(objects().empty());
    EXPECT_EQ(state("s"), "");
    expectClean();
}

TEST_F(CDeleteTest, TakesAnImportedSnapshotAway)
{
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CDeleteTest, ConfirmsWhatTheApplianceDoesNotHaveAnyMore)
{
    for (const std::string& object : objects()) {
        std::filesystem::remove(fake("objects/" + object));
    }
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_EQ(state("s"), "");
}

TEST_F(CDeleteTest, KeepsTheRecordWhenTheApplianceRefuses)
{
    arm("delete-annotation:g1 fail annotation is in use\n");
    const SRun run = fictlJson({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 10);
    EXPECT_EQ(run.message(),
              "snapshot \"s\": not deleted from group \"g1\" of appliance \"ap1\" (not confirmed); the record stays");
    const nlohmann::json commands = run.document()["error"]["commands"];
    ASSERT_EQ(commands.size(), 1U) << commands;
    EXPECT_EQ(commands[0]["output"], "annotation is in use\n");
    EXPECT_EQ(run.document()["snapshot"]["state"], "delete-failed");
    // The other group was deleted all the same.
    EXPECT_EQ(objects().size(), 1U);
    arm("");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CDeleteTest, ShowTellsTheTruthAfterADeletionThatWentHalfWay)
{
    arm("delete-annotation:g1 fail annotation is in use\n");
    ASSERT_EQ(fictl({"snapshot", "delete", "s"}).exit, 10);
    const nlohmann::json snapshot = fictlJson({"snapshot", "show", "s"}).document().at("snapshot");
    for (const nlohmann::json& entry : snapshot.at("groups")) {
        EXPECT_EQ(entry.at("made"), entry.at("group") == "g1" ? "yes" : "no") << entry;
    }
    for (const nlohmann::json& device : snapshot.at("devices")) {
        EXPECT_EQ(device.at("made"), device.at("group") == "g1" ? "yes" : "no") << device;
        EXPECT_TRUE(device.at("import_path").is_null()) << device;
    }
}

TEST_F(CDeleteTest, ATimeOutIsNoConfirmation)
{
    limitTool(1);
    arm("delete-annotation:g1 hangs\n");
    const SRun run = fictl({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 10);
    EXPECT_NE(run.err.find("\n  no answer within 1 s: stopped\n"), std::string::npos) << run.err;
    EXPECT_EQ(state("s"), "delete-failed");
}

TEST_F(CDeleteTest, ACommandThatWasNeverSentIsNoConfirmation)
{
    arm("dispose fail\n");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 10);
    EXPECT_EQ(state("s"), "delete-failed");
    EXPECT_EQ(objects().size(), 2U);
}

TEST_F(CDeleteTest, ALostAnswerIsMadeUpForByALook)
{
    arm("delete-annotation:g1 lost connection lost\n");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CDeleteTest, WithoutAnInspectorALostAnswerIsCleanedUpByDeletingAgain)
{
    leaveInspectorAway();
    arm("delete-annotation:g1 lost connection lost\n");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 10);
    arm("");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
}

TEST_F(CDeleteTest, AGroupThatIsNotThereAnyMoreIsNoConfirmation)
{
    base_test::writeFile(fake("devices"), "/dev/fake3 S3 ap1 g2\n");
    base_test::writeFile(fake("groups"), "ap1 g2\n");
    const SRun run = fictl({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 10) << run.err;
    EXPECT_EQ(state("s"), "delete-failed");
    EXPECT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
}

TEST_F(CDeleteTest, ForgetDropsTheRecordAndAsksNobody)
{
    const SRun run = fictlJson({"snapshot", "delete", "s", "--forget"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.document()["deleted"]["forgotten"], true);
    EXPECT_EQ(disposals(), 0);
    EXPECT_EQ(objects().size(), 2U);
    EXPECT_EQ(state("s"), "");
}

}  // namespace

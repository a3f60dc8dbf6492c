#include <csignal>
#include <filesystem>

#include "host/tests/fictl_fixture.h"

namespace {

constexpr int KILLED = 1000 + SIGKILL;

TEST_F(CFictlTest, AKillBeforeTheIntentLeavesNothing)
{
    for (const char* point : {"claim", "init_node:g1", "select", "quiesce"}) {
        arm(std::string(point) + " killed\n");
        EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, KILLED) << point;
        EXPECT_EQ(state("s"), "") << point;
    }
    EXPECT_TRUE(objects().empty());
}

TEST_F(CFictlTest, AKilledCreateIsShownAsInterruptedAndDeletedWhole)
{
    const std::vector<std::string> points = {
        "prepare killed", "make killed",          "make:g1 killed",   "make:g1 killed-after",
        "make:g2 killed", "make:g2 killed-after", "unquiesce killed", "update_snapshot_handle killed"};
    for (const std::string& point : points) {
        arm(point + "\n");
        EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"}).exit, KILLED) << point;
        EXPECT_EQ(state("s"), "interrupted") << point;
        arm("");
        EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 4) << point;
        EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 5) << point;
        const SRun removed = fictl({"snapshot", "delete", "s"});
        EXPECT_EQ(removed.exit, 0) << point << removed.err;
        EXPECT_TRUE(objects().empty()) << point;
        EXPECT_EQ(state("s"), "") << point;
    }
}

TEST_F(CFictlTest, AKilledImportIsGoneOnWithByTheNext)
{
    for (const char* point : {"image:g1 killed", "image:g1 killed-after", "find:S1 killed", "find:S3 killed"}) {
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"}).exit, 0);
        arm(std::string(point) + "\n");
        EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, KILLED) << point;
        EXPECT_EQ(state("s"), "import-interrupted") << point;
        arm("");
        const SRun taken = fictlJson({"snapshot", "create", "s", "/dev/fake1"});
        EXPECT_EQ(taken.document()["error"]["next"], "fictl snapshot import s") << "and not to delete it";
        const SRun again = fictl({"snapshot", "import", "s"});
        EXPECT_EQ(again.exit, 0) << point << again.err;
        EXPECT_EQ(state("s"), "imported") << point;
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0) << point;
        EXPECT_TRUE(objects().empty()) << point;
    }
}

TEST_F(CFictlTest, AKilledDeleteIsDeletedAgain)
{
    for (const char* point : {"dispose killed", "delete-annotation:g1 killed", "delete-annotation:g1 killed-after",
                              "delete-annotation:g2 killed-after"}) {
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"}).exit, 0);
        arm(std::string(point) + "\n");
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, KILLED) << point;
        EXPECT_EQ(state("s"), "delete-interrupted") << point;
        arm("");
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0) << point;
        EXPECT_TRUE(objects().empty()) << point;
    }
}

TEST_F(CFictlTest, AnInterruptedSnapshotRemembersItsThawCommand)
{
    arm("make killed\n");
    EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "--freeze", "true", "--thaw", "thaw-db"}).exit, KILLED);
    EXPECT_EQ(fictlJson({"snapshot", "show", "s"}).document()["snapshot"]["thaw_command"], "thaw-db");
    arm("");
    const SRun removed = fictl({"snapshot", "delete", "s"});
    EXPECT_EQ(removed.exit, 0);
    EXPECT_NE(removed.err.find("its thaw command was: thaw-db"), std::string::npos) << removed.err;
}

TEST_F(CFictlTest, ASecondFictlOnTheSameNameIsRefused)
{
    arm("make wait go\n");
    startHeld({"snapshot", "create", "s", "/dev/fake1"});
    release();
    waitForFile("go.reached");
    EXPECT_EQ(state("s"), "creating");
    const SRun create = fictl({"snapshot", "create", "s", "/dev/fake3"});
    EXPECT_EQ(create.exit, 4);
    EXPECT_NE(create.err.find("is in the catalog already (creating)"), std::string::npos) << create.err;
    for (const char* command : {"delete", "import"}) {
        const SRun run = fictl({"snapshot", command, "s"});
        EXPECT_EQ(run.exit, 5) << command;
        EXPECT_NE(run.err.find("is at work on it (creating)"), std::string::npos) << run.err;
    }
    touch("go");
    EXPECT_EQ(finish().exit, 0);
    EXPECT_EQ(state("s"), "complete");
}

TEST_F(CFictlTest, TwoCreatesThatMeetAtTheIntentLeaveOneSnapshot)
{
    arm("select wait go\n");
    startHeld({"snapshot", "create", "s", "/dev/fake1"});
    release();
    waitForFile("go.reached");
    arm("");
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake3"}).exit, 0);
    touch("go");
    EXPECT_EQ(finish().exit, 4);
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(objects().size(), 1U);
}

TEST_F(CFictlTest, CreateGoesOnUnderAnotherIdWhereARecordCarriesItsCheckpointsName)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    std::string text = fictl({"snapshot", "export", "s"}).out;
    const std::string old = nlohmann::json::parse(text)["checkpoint"];
    const pid_t pid = startHeld({"snapshot", "create", "t", "/dev/fake3"});
    // The record of a process that had the same id before.
    const std::string name = "KSV_Check_Point_" + std::to_string(pid);
    for (size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + name.size())) {
        text.replace(at, old.size(), name);
    }
    text.replace(text.find("\"name\": \"s\""), 11, "\"name\": \"u\"");
    touch("objects/ap1.g1." + name);
    ASSERT_EQ(receive(text).exit, 0);
    release();
    const SRun created = finish();
    EXPECT_EQ(created.exit, 0) << created.err;
    EXPECT_NE(fictlJson({"snapshot", "show", "t"}).document()["snapshot"]["checkpoint"], name);
}

TEST_F(CFictlTest, AnInterruptedSnapshotNeverTakesAnothersCheckpointAway)
{
    arm("make:g1 killed-after\n");
    ASSERT_EQ(fictl({"snapshot", "create", "old", "/dev/fake1"}).exit, KILLED);
    arm("");
    ASSERT_EQ(fictl({"snapshot", "create", "new", "/dev/fake1"}).exit, 0);
    // As if the second process had the id of the first: its document with the first one's checkpoint.
    const std::string first = fictlJson({"snapshot", "show", "old"}).document()["snapshot"]["checkpoint"];
    std::string text = fictl({"snapshot", "export", "new"}).out;
    const std::string second = nlohmann::json::parse(text)["checkpoint"];
    for (size_t at = text.find(second); at != std::string::npos; at = text.find(second, at + first.size())) {
        text.replace(at, second.size(), first);
    }
    ASSERT_EQ(fictl({"snapshot", "delete", "new"}).exit, 0);
    ASSERT_EQ(receive(text).exit, 0);
    const SRun removed = fictlJson({"snapshot", "delete", "old"});
    EXPECT_EQ(removed.exit, 0) << removed.err;
    EXPECT_EQ(removed.document()["deleted"]["groups"][0]["result"], "kept");
    EXPECT_EQ(removed.document()["deleted"]["groups"][0]["owner"], "new");
    EXPECT_EQ(objects(), std::vector<std::string>{"ap1.g1." + first});
    EXPECT_EQ(fictl({"snapshot", "delete", "new"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

}  // namespace

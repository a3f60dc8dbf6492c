// No command loses a copy that somebody uses: two hosts with a catalog each, on the same test appliances.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "host/tests/fictl_fixture.h"

namespace {

namespace fs = std::filesystem;

class CCopiesInUseTest : public CFictlTest
{
  protected:
    void SetUp() override
    {
        CFictlTest::SetUp();
        m_other = m_root + "/other";
        fs::create_directories(m_other + "/tmp");
        fs::create_directory_symlink(fake(""), m_other + "/fake");
        base_test::writeFile(m_other + "/host", "there\n");
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1", "/dev/fake3"}).exit, 0);
    }
    void TearDown() override
    {
        endUse();
        CFictlTest::TearDown();
    }

    /// Runs what follows on the other host, with its catalog.
    template <class Work>
    auto onOther(Work work)
    {
        std::swap(m_root, m_other);
        const auto result = work();
        std::swap(m_root, m_other);
        return result;
    }
    SRun other(const std::vector<std::string>& arguments)
    {
        return onOther([&] { return fictlJson(arguments); });
    }
    void carry()
    {
        const std::string document = fictl({"snapshot", "export", "s"}).out;
        const SRun received = onOther([&] { return receive(document); });
        ASSERT_EQ(received.exit, 0) << received.err;
    }

    void use(const std::string& path)
    {
        m_user = fork();
        if (m_user == 0) {
            if (open(path.c_str(), O_RDONLY) >= 0) touch("used");
            pause();
            _exit(0);
        }
        waitForFile("used");
    }
    void endUse()
    {
        if (m_user <= 0) return;
        kill(m_user, SIGKILL);
        waitpid(m_user, nullptr, 0);
        m_user = 0;
    }

    /// The state of the record, or who uses a copy, does not allow it.
    static void expectRefused(const SRun& run, const std::string& message, const std::string& next)
    {
        EXPECT_EQ(run.exit, 5);
        EXPECT_EQ(run.message(), message);
        EXPECT_EQ(run.next(), next);
    }
    std::string imageName() const
    {
        const nlohmann::json shown = fictlJson({"snapshot", "show", "s"}).document();
        return "KSV_Time_Image_" + shown["snapshot"]["checkpoint"].get<std::string>().substr(16);
    }

    std::string m_other;
    pid_t m_user = 0;
};

TEST_F(CCopiesInUseTest, ASecondHostIsToldWhoHasTheImageAndNeverToDelete)
{
    carry();
    ASSERT_EQ(other({"snapshot", "import", "s"}).exit, 0);
    const SRun run = fictlJson({"snapshot", "import", "s"});
    expectRefused(run,
                  "snapshot \"s\": time image " + imageName() +
                      " of group \"g1\" of appliance \"ap1\" is granted to host \"there\"; a checkpoint has "
                      "one time image",
                  "fictl snapshot release s there, then fictl snapshot import s here");
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(objects().size(), 4U);
}

TEST_F(CCopiesInUseTest, TheHostThatMadeItDoesNotDeleteWhatAnotherHasImported)
{
    carry();
    ASSERT_EQ(other({"snapshot", "import", "s"}).exit, 0);
    const SRun run = fictlJson({"snapshot", "delete", "s"});
    expectRefused(run,
                  "snapshot \"s\": time image " + imageName() +
                      " of group \"g1\" of appliance \"ap1\" is granted to host \"there\" and not imported "
                      "by this record; nothing was deleted",
                  "give it back there with fictl snapshot release s, or add --even-if-in-use here to take it "
                  "away from there");
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(objects().size(), 4U);

    EXPECT_EQ(other({"snapshot", "release", "s"}).exit, 0);
    EXPECT_EQ(objects().size(), 2U) << "the checkpoints stay";
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CCopiesInUseTest, TheOverrideDeletesWhatAnotherHostHas)
{
    carry();
    const std::string checkpoint = fictlJson({"snapshot", "show", "s"}).document()["snapshot"]["checkpoint"];
    ASSERT_EQ(other({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "s", "--even-if-in-use"}).exit, 0);
    EXPECT_TRUE(objects().empty());
    const SRun gone = other({"snapshot", "import", "s"});
    EXPECT_EQ(gone.exit, 8);
    EXPECT_EQ(gone.message(), "snapshot \"s\": checkpoint " + checkpoint +
                                  " of group \"g1\" of appliance \"ap1\" is gone, and with it the copy that was "
                                  "imported");
    EXPECT_EQ(gone.next(), "ask who deleted the snapshot; fictl snapshot delete s drops this host's record");
    EXPECT_EQ(other({"snapshot", "release", "s"}).exit, 0);
    EXPECT_EQ(other({"snapshot", "import", "s"}).message(),
              "snapshot \"s\": checkpoint " + checkpoint +
                  " of group \"g1\" of appliance \"ap1\" is gone, so there is nothing to import");
    EXPECT_EQ(other({"snapshot", "delete", "s"}).exit, 0);
}

TEST_F(CCopiesInUseTest, ReleaseRefusesWhatAnotherHostHas)
{
    carry();
    ASSERT_EQ(other({"snapshot", "import", "s"}).exit, 0);
    const SRun run = fictlJson({"snapshot", "release", "s"});
    EXPECT_EQ(run.exit, 5);
    EXPECT_EQ(run.next(), "give it back there with fictl snapshot release s");
    EXPECT_EQ(fictl({"snapshot", "release", "s", "--even-if-in-use"}).exit, 5);
    EXPECT_EQ(objects().size(), 4U);
}

TEST_F(CCopiesInUseTest, ReleaseGivesBackThePartOfThisHostAndLeavesThatOfAnother)
{
    carry();
    arm("image:g1 wait go\n");
    startHeld({"snapshot", "import", "s"});
    release();
    waitForFile("go.reached");
    arm("delete-timeimage:g2 fail busy\n");
    ASSERT_EQ(other({"snapshot", "import", "s"}).exit, 0);
    ASSERT_EQ(other({"snapshot", "release", "s"}).exit, 10);
    touch("go");
    ASSERT_EQ(finish().exit, 8) << "the image of g2 is the other host's";
    ASSERT_EQ(objects().size(), 4U);
    arm("");

    const SRun run = fictl({"snapshot", "release", "s"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_NE(run.err.find("time image " + imageName() +
                           " of group \"g2\" of appliance \"ap1\" is granted to host \"there\" and stays\n"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(objects().size(), 3U);
    EXPECT_EQ(other({"snapshot", "release", "s"}).exit, 0);
    EXPECT_EQ(objects().size(), 2U);
}

TEST_F(CCopiesInUseTest, ReleaseGivesTheCopyBackAndKeepsTheCheckpoint)
{
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    const SRun run = fictlJson({"snapshot", "release", "s"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(run.document()["snapshot"]["state"], "complete");
    EXPECT_TRUE(run.document()["snapshot"]["devices"][0]["import_path"].is_null());
    EXPECT_EQ(objects().size(), 2U);
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0) << "it can be imported again";
    EXPECT_EQ(fictl({"snapshot", "release", "s"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "release", "s"}).exit, 0) << "what was released is released";
    expectClean();
}

TEST_F(CCopiesInUseTest, ReleaseThatFailsKeepsWhatIsStillThere)
{
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    arm("delete-timeimage:g2 fail busy\n");
    const SRun run = fictlJson({"snapshot", "release", "s"});
    EXPECT_EQ(run.exit, 10);
    EXPECT_EQ(state("s"), "release-failed");
    EXPECT_EQ(objects().size(), 3U);
    arm("");
    EXPECT_EQ(fictl({"snapshot", "release", "s"}).exit, 0);
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(objects().size(), 2U);
}

TEST_F(CCopiesInUseTest, WhatAKilledReleaseHasGivenBackIsImportedAgain)
{
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    allowAtOnce(1);
    arm("delete-timeimage:g1 killed-after\n");
    constexpr int KILLED = 1000 + 9;
    ASSERT_EQ(fictl({"snapshot", "release", "s"}).exit, KILLED);
    arm("");
    EXPECT_EQ(state("s"), "release-interrupted");
    ASSERT_EQ(objects().size(), 3U);
    arm("inspect-images:g1 fail noise\n");
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 8);
    arm("");
    EXPECT_EQ(state("s"), "release-interrupted") << "what was given back is not known, and not forgotten";
    EXPECT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    EXPECT_EQ(state("s"), "imported");
    EXPECT_EQ(objects().size(), 4U);
}

TEST_F(CCopiesInUseTest, ReleaseNeedsAnInspector)
{
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    leaveInspectorAway();
    const SRun run = fictlJson({"snapshot", "release", "s"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(run.message(),
              "snapshot \"s\": the copies cannot be given back alone: provider \"fakefi\" ships no "
              "inspector");
    EXPECT_EQ(state("s"), "imported");
    EXPECT_EQ(objects().size(), 4U);
}

TEST_F(CCopiesInUseTest, ACopyThatAProgramHasOpenIsNeitherDeletedNorReleased)
{
    const SRun imported = fictlJson({"snapshot", "import", "s"});
    ASSERT_EQ(imported.exit, 0);
    const std::string path = imported.document()["snapshot"]["devices"][1]["import_path"];
    use(path);
    for (const char* verb : {"delete", "release"}) {
        const SRun run = fictlJson({"snapshot", verb, "s"});
        EXPECT_EQ(run.exit, 5) << verb;
        EXPECT_EQ(run.message(), "snapshot \"s\": the copy " + path + " of /dev/fake3 is in use: open in process " +
                                     std::to_string(m_user) + " (fictl_tests); nothing was " + verb + "d");
        EXPECT_EQ(run.next(), "end that use and run the command again, or add --even-if-in-use");
        EXPECT_EQ(state("s"), "imported");
        EXPECT_EQ(objects().size(), 4U) << "the other group was not touched either";
    }
    EXPECT_EQ(fictl({"snapshot", "delete", "s", "--even-if-in-use"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CCopiesInUseTest, WhereNothingCanBeAskedAnExportedRecordNeedsTheOverride)
{
    leaveInspectorAway();
    ASSERT_EQ(fictl({"snapshot", "export", "s"}).exit, 0);
    const SRun run = fictlJson({"snapshot", "delete", "s"});
    expectRefused(
        run,
        "snapshot \"s\": another host has its record, and whether a copy of group \"g1\" of appliance \"ap1\" is "
        "in use there is not known (provider \"fakefi\" ships no inspector); nothing was deleted",
        "mend that and run the command again, or add --even-if-in-use to go on without knowing");
    EXPECT_EQ(objects().size(), 2U);
    EXPECT_EQ(fictl({"snapshot", "delete", "s", "--even-if-in-use"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CCopiesInUseTest, WhereNothingCanBeAskedARecordOfThisHostAloneIsDeletedWithAWarning)
{
    leaveInspectorAway();
    const SRun run = fictl({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_NE(run.err.find("fictl: warning: not checked whether another host has a copy of group \"g1\" of appliance "
                           "\"ap1\": provider \"fakefi\" ships no inspector\n"),
              std::string::npos)
        << run.err;
}

TEST_F(CCopiesInUseTest, WithoutAnInspectorTheCopyOfAnExportedRecordNeedsTheOverride)
{
    leaveInspectorAway();
    ASSERT_EQ(fictl({"snapshot", "export", "s"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    // The image of the copy may have been taken away, and another host may have one in its place.
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 5);
    EXPECT_EQ(fictlJson({"snapshot", "release", "s"}).next(),
              "fictl snapshot delete s --even-if-in-use deletes the copies together with their checkpoints");
    EXPECT_EQ(objects().size(), 4U);
    EXPECT_EQ(fictl({"snapshot", "delete", "s", "--even-if-in-use"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CCopiesInUseTest, WhereTheImagesCannotBeReadACopyThatStillShowsIsTheOwn)
{
    carry();
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    arm("inspect-images:g1 fail noise\n");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CCopiesInUseTest, WhatAnotherHostImportedAfterAKilledReleaseIsNotTakenFromItUnseen)
{
    carry();
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    allowAtOnce(1);
    arm("delete-timeimage:g2 killed-after\n");
    ASSERT_NE(fictl({"snapshot", "release", "s"}).exit, 0);
    arm("");
    ASSERT_EQ(state("s"), "release-interrupted");
    ASSERT_EQ(other({"snapshot", "import", "s"}).exit, 0);
    ASSERT_EQ(objects().size(), 4U);
    arm("inspect-images:g1 fail noise\ninspect-images:g2 fail noise\n");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 5);
    EXPECT_EQ(fictl({"snapshot", "release", "s"}).exit, 5);
    EXPECT_EQ(objects().size(), 4U);
}

TEST_F(CCopiesInUseTest, WhatAnotherHostImportsBetweenLookAndDeletionStays)
{
    carry();
    arm("dispose wait go\n");
    const pid_t pid = startHeld({"snapshot", "delete", "s"});
    ASSERT_GT(pid, 0);
    release();
    waitForFile("go.reached");
    ASSERT_EQ(other({"snapshot", "import", "s"}).exit, 0);
    touch("go");
    const SRun run = finish();
    EXPECT_EQ(run.exit, 10) << run.err;
    EXPECT_NE(run.err.find("is in use by time image"), std::string::npos) << run.err;
    EXPECT_EQ(objects().size(), 4U);
    EXPECT_EQ(state("s"), "delete-failed");
    arm("");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 5) << "now it is seen";
    EXPECT_EQ(other({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CCopiesInUseTest, ALaterCheckpointOfTheSameNameIsNeitherDeletedNorImported)
{
    carry();
    const std::vector<std::string> made = objects();
    ASSERT_EQ(made.size(), 2U);
    // That of g1 was deleted elsewhere, and a process of the same id has made another one since.
    const std::string file = fake("objects/" + made.front());
    fs::remove(file);
    base_test::writeFile(file, "time 2026-02-01T12:00:00Z\n");
    const SRun import = fictlJson({"snapshot", "import", "s"});
    EXPECT_EQ(import.exit, 8);
    EXPECT_NE(import.message().find(" is gone, so there is nothing to import"), std::string::npos) << import.message();
    EXPECT_EQ(objects(), made);
    const SRun run = fictlJson({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_NE(run.err.find("of group \"g1\" of appliance \"ap1\" was made at 2026-02-01T12:00:00Z, and that of this "
                           "snapshot at 2026-01-31T12:00:00Z: it is another one and stays\n"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(run.document()["deleted"]["groups"][0]["result"], "kept");
    EXPECT_EQ(objects(), std::vector<std::string>{made.front()});
    EXPECT_EQ(other({"snapshot", "delete", "s"}).exit, 0) << "the host that received the record knows, too";
    EXPECT_EQ(objects(), std::vector<std::string>{made.front()});
}

TEST_F(CCopiesInUseTest, ALunThatLivesElsewhereNowIsRefused)
{
    base_test::writeFile(fake("devices"), "/dev/fake1 S1 ap2 g3\n/dev/fake3 S3 ap1 g2\n");
    for (const bool isInspected : {true, false}) {
        if (!isInspected) leaveInspectorAway();
        const SRun run = fictlJson({"snapshot", "delete", "s"});
        EXPECT_EQ(run.exit, 10) << isInspected;
        EXPECT_EQ(run.message(),
                  "snapshot \"s\": LUN S1 of /dev/fake1 is in group \"g3\" of appliance \"ap2\" now, and "
                  "was recorded in group \"g1\" of appliance \"ap1\"; nothing was deleted and the record "
                  "stays");
        EXPECT_EQ(state("s"), "complete");
        EXPECT_EQ(objects().size(), 2U);
    }
    EXPECT_EQ(fictl({"snapshot", "delete", "s", "--even-if-in-use"}).exit, 0);
    EXPECT_TRUE(objects().empty()) << "what the recorded group has";
}

TEST_F(CCopiesInUseTest, ALunThatNobodyHasAnyMoreIsDeletedFromTheRecordedGroup)
{
    base_test::writeFile(fake("devices"), "/dev/fake3 S3 ap1 g2\n");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CCopiesInUseTest, ShowIsTrueAfterAHalfFailedDelete)
{
    arm("delete-annotation:g2 fail busy\n");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 10);
    const nlohmann::json snapshot = fictlJson({"snapshot", "show", "s"}).document()["snapshot"];
    EXPECT_EQ(snapshot["state"], "delete-failed");
    EXPECT_EQ(snapshot["devices"][0]["made"], "no");
    EXPECT_EQ(snapshot["devices"][1]["made"], "yes");
    arm("");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_F(CCopiesInUseTest, AnAmbiguousDeviceIsRefusedBeforeAnythingIsMade)
{
    // A group called like another group's LUN: the provider would take that LUN for the group's.
    base_test::writeFile(fake("groups"), "ap1 g1\nap1 g2\nap1 S1\nap2 g3\n");
    const SRun run = fictlJson({"snapshot", "create", "t", "/dev/fake2", "/dev/fake1"});
    EXPECT_EQ(run.exit, 7);
    EXPECT_TRUE(run.message().starts_with("device /dev/fake1: LUN S1 is ambiguous: ")) << run.message();
    EXPECT_TRUE(run.message().ends_with("; nothing was made")) << run.message();
    EXPECT_EQ(state("t"), "");
    EXPECT_EQ(objects().size(), 2U);
}

TEST_F(CCopiesInUseTest, ACheckpointThatTheApplianceDoesNotListIsNotBelieved)
{
    arm("make:g1 lies\n");
    const SRun run = fictlJson({"snapshot", "create", "t", "/dev/fake1"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_NE(run.message().find("as made, but it is not in group \"g1\" of appliance \"ap1\""), std::string::npos)
        << run.message();
    EXPECT_EQ(state("t"), "");
    const SRun partial = fictlJson({"snapshot", "create", "u", "/dev/fake1", "/dev/fake3"});
    EXPECT_EQ(partial.exit, 9);
    EXPECT_NE(partial.message().find("made: group \"g2\" of appliance \"ap1\"; not made: group \"g1\" of appliance "
                                     "\"ap1\"; the provider says otherwise of group \"g1\" of appliance \"ap1\""),
              std::string::npos)
        << partial.message();
    EXPECT_EQ(fictl({"snapshot", "delete", "u"}).exit, 0);
}

TEST_F(CCopiesInUseTest, AnInspectorThatFailsIsSaidAndTheCommandGoesOn)
{
    arm("inspect fail=1 out of order\n");
    const SRun run = fictl({"snapshot", "create", "t", "/dev/fake1"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_NE(run.err.find("fictl: warning: not checked "), std::string::npos) << run.err;
}

}  // namespace

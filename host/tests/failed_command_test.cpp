// What fictl says of a command that failed: which one it was, and how it ended.
#include <filesystem>

#include "base/tests/name_corpus.h"
#include "host/tests/fictl_fixture.h"

namespace {

class CFailedCommandTest : public CFictlTest
{
  protected:
    /// What fictl says of the commands of a run: the lines behind its message, with "C" for the checkpoint.
    static std::string commandsOf(const SRun& run)
    {
        const size_t from = run.err.find("\n  appliance command: ");
        const size_t to = run.err.find("  next: ");
        if (from == std::string::npos) return {};
        std::string text = withoutTimes(run.err.substr(from + 1, to - from - 1));
        for (const std::string prefix : {"KSV_Check_Point_", "KSV_Time_Image_"}) {
            for (size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at + 1)) {
                const size_t digits = at + prefix.size();
                text.replace(digits, text.find_first_not_of("0123456789", digits) - digits, "N");
            }
        }
        return text;
    }

    SRun create() const { return fictl({"snapshot", "create", "s", "/dev/fake1"}); }

    /// A script in place of the provider's tool.
    void writeTool(const std::string& script) const
    {
        const std::string path = m_root + "/tool.sh";
        base_test::writeFile(path, "#!/bin/sh\n" + script);
        std::filesystem::permissions(path, std::filesystem::perms(0755));
        useTool(path);
    }
};

const std::string MAKE =
    "  appliance command: fakefi_tool: server ap1; create annotation \"KSV_Check_Point_N\" \"g1\"; set message Fake; "
    "commit\n";

TEST_F(CFailedCommandTest, ARefusedCommandIsNamedWithItsAnswer)
{
    arm("make:g1 fail=5 the group is busy,\\ntry later\n");
    const SRun run = create();
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(commandsOf(run), MAKE + "  answer (exit status 5, after N s): the group is busy, try later\n");
}

TEST_F(CFailedCommandTest, AToolThatIsKilledIsNamedWithItsSignal)
{
    arm("make:g1 dies\n");
    const SRun run = create();
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(commandsOf(run), MAKE + "  answer (signal 9, Killed, after N s): none\n");
}

TEST_F(CFailedCommandTest, ATimeOutNamesTheCommandAndTheSeconds)
{
    limitTool(1);
    arm("make:g1 hangs\n");
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(commandsOf(run), MAKE + "  no answer within 1 s: stopped\n");
    const nlohmann::json commands = run.document()["error"]["commands"];
    ASSERT_EQ(commands.size(), 1U);
    EXPECT_EQ(commands[0]["stopped"], "limit");
    EXPECT_EQ(commands[0]["limit_seconds"], 1);
    EXPECT_EQ(commands[0]["entry_point"], "make");
    EXPECT_TRUE(commands[0]["code"].is_null());
    EXPECT_GE(commands[0]["seconds"].get<double>(), 1);
}

TEST_F(CFailedCommandTest, AHarmlessCommandIsNotBlamedForATimeOut)
{
    ASSERT_EQ(create().exit, 0);
    limitTool(1);
    arm("delete-annotation:g1 hangs\n");
    const SRun run = fictl({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 10);
    EXPECT_EQ(commandsOf(run),
              "  appliance command: fakefi_tool: server ap1; delete annotation \"KSV_Check_Point_N\" \"g1\"\n"
              "  no answer within 1 s: stopped\n");
}

TEST_F(CFailedCommandTest, AToolThatCannotBeStartedIsNamedWithTheReason)
{
    useTool(m_root + "/nosuch");
    const SRun missing = fictl({"device", "list", "/dev/fake1"});
    EXPECT_EQ(missing.err,
              "fictl: warning: an appliance did not answer everything\n"
              "  appliance command: nosuch: server ap1; list hosts\n"
              "  could not be started: No such file or directory\n"
              "  appliance command: nosuch: server ap2; list hosts\n"
              "  could not be started: No such file or directory\n"
              "  appliance command: nosuch: server ap1; list cgroups\n"
              "  could not be started: No such file or directory\n");
    const nlohmann::json command =
        fictlJson({"snapshot", "create", "s", "/dev/fake1"}).document()["error"]["commands"][0];
    EXPECT_EQ(command["program"], m_root + "/nosuch");
    EXPECT_EQ(command["error"], "No such file or directory");
    EXPECT_TRUE(command["code"].is_null());
    EXPECT_TRUE(command["seconds"].is_null());
    base_test::writeFile(m_root + "/text", "no program\n");
    std::filesystem::permissions(m_root + "/text", std::filesystem::perms(0644));
    useTool(m_root + "/text");
    EXPECT_NE(fictl({"device", "list", "/dev/fake1"}).err.find("  could not be started: Permission denied\n"),
              std::string::npos);
}

TEST_F(CFailedCommandTest, ABannerInFrontOfARefusalIsPartOfTheAnswer)
{
    leaveInspectorAway();
    ASSERT_EQ(create().exit, 0);
    writeTool("echo Welcome\nexec '" FICTL_FAKE_TOOL "'\n");
    for (const std::string& object : objects()) {
        std::filesystem::remove(fake("objects/" + object));
    }
    const SRun run = fictl({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 10);
    EXPECT_NE(
        commandsOf(run).find("  answer (exit status 3, after N s): Welcome annotation \"KSV_Check_Point_N\" does not "
                             "exist in group \"g1\"\n"),
        std::string::npos)
        << run.err;
    EXPECT_EQ(state("s"), "delete-failed");
}

/// Groups whose names hold what answers are made of.
class COddNameTest : public CFailedCommandTest, public testing::WithParamInterface<base_test::SCorpusName>
{
  protected:
    void SetUp() override
    {
        CFictlTest::SetUp();
        m_group = GetParam().name;
        base_test::writeFile(fake("groups"), "ap1\t" + m_group + "\n");
        base_test::writeFile(fake("devices"), "/dev/fake1\tS1\tap1\t" + m_group + "\n");
    }
    std::string m_group;
};

TEST_P(COddNameTest, ASnapshotIsMadeAndDeleted)
{
    ASSERT_EQ(create().exit, 0);
    EXPECT_EQ(objects().size(), 1U);
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

TEST_P(COddNameTest, ARefusedDeletionIsNoConfirmation)
{
    ASSERT_EQ(create().exit, 0);
    for (const char* status : {"1", "3", "4", "5"}) {
        arm("delete-annotation:" + m_group + "\tfail=" + status + "\tannotation is in use in group \"" + m_group +
            "\"\n");
        EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 10) << status;
        EXPECT_EQ(state("s"), "delete-failed") << status;
    }
    EXPECT_EQ(objects().size(), 1U);
}

TEST_P(COddNameTest, AMissingCheckpointIsAConfirmation)
{
    ASSERT_EQ(create().exit, 0);
    for (const std::string& object : objects()) {
        std::filesystem::remove(fake("objects/" + object));
    }
    const SRun run = fictl({"snapshot", "delete", "s"});
    EXPECT_EQ(run.exit, 0) << run.err;
}

TEST_P(COddNameTest, ARefusedCreateIsNotTakenForANameInUse)
{
    arm("make:" + m_group + "\tfail=3\tgroup \"" + m_group + "\" does not exist on appliance \"ap1\"\n");
    const SRun run = create();
    EXPECT_EQ(run.exit, 8);
    EXPECT_EQ(run.err.find("another process id"), std::string::npos) << run.err;
}

INSTANTIATE_TEST_SUITE_P(Names, COddNameTest, testing::ValuesIn(base_test::answerLikeNames()));

}  // namespace

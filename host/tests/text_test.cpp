#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/output/exit_codes.h"
#include "host/src/process/process_identity.h"
#include "host/src/provider/naming.h"
#include "host/src/provider/node_state.h"
#include "host/src/text/plain_text.h"

namespace fictl {

TEST(Naming, BuildsTheProvidersNames)
{
    EXPECT_EQ(naming::nodePrefix("cdpfi"), "<cdpfi>");
    EXPECT_EQ(naming::serialOfNode("cdpfi", "<cdpfi>L1"), "L1");
    EXPECT_EQ(naming::serialOfNode("cdpfi", "<other>L1"), "");
    EXPECT_EQ(naming::checkpointOfProcess(4711), "KSV_Check_Point_4711");
    EXPECT_EQ(naming::imageOfCheckpoint("KSV_Check_Point_4711"), "KSV_Time_Image_4711");
    EXPECT_EQ(naming::imageOfCheckpoint("nightly"), "");
    EXPECT_EQ(naming::targetDevice("cdpfi", "L1", "KSV_Check_Point_7"),
              "<cdpfi><DeviceID>L1<DeviceID/><Annotation>KSV_Check_Point_7<Annotation/>");
}

TEST(Naming, KnowsACheckpointsName)
{
    EXPECT_TRUE(naming::isCheckpointName("KSV_Check_Point_1"));
    EXPECT_FALSE(naming::isCheckpointName("KSV_Check_Point_"));
    EXPECT_FALSE(naming::isCheckpointName("KSV_Check_Point_1a"));
    EXPECT_FALSE(naming::isCheckpointName("KSV_Check_Point_123456789012345678901"));
    EXPECT_FALSE(naming::isCheckpointName("nightly"));
}

TEST(NodeStateText, ReadsWhatItWrites)
{
    const SNodeState state = {"Lumora", "ap1", "cg1", "", "KSV_Check_Point_7", "L1"};
    EXPECT_EQ(writeNodeState(state),
              "<ApplianceType>Lumora</ApplianceType>\n<ApplianceName>ap1</ApplianceName>\n"
              "<ConsistencyGroup>cg1</ConsistencyGroup>\n<TimeImage></TimeImage>\n"
              "<CheckPointName>KSV_Check_Point_7</CheckPointName>\n<SerialNo>L1</SerialNo>\n");
    EXPECT_EQ(parseNodeState(writeNodeState(state)), state);
}

TEST(NodeStateText, RefusesEveryOtherForm)
{
    const std::string good = writeNodeState({"a", "b", "c", "d", "e", "f"});
    ASSERT_TRUE(parseNodeState(good).has_value());
    for (size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(parseNodeState(good.substr(0, length)).has_value()) << length;
    }
    EXPECT_FALSE(parseNodeState(good + "\n").has_value());
    EXPECT_FALSE(parseNodeState("\n" + good).has_value());
    EXPECT_FALSE(parseNodeState(writeNodeState({"a\n", "b", "c", "d", "e", "f"})).has_value());
    EXPECT_FALSE(parseNodeState(writeNodeState({"a", "b", "c", "d", "e", "<SerialNo>"})).has_value());
}

TEST(Names, AcceptWhatIsPlainAndRefuseTheRest)
{
    EXPECT_TRUE(isSnapshotName("nightly-2024.01.31_a:b+c@d"));
    EXPECT_FALSE(isSnapshotName(""));
    EXPECT_FALSE(isSnapshotName("-x"));
    EXPECT_FALSE(isSnapshotName(".x"));
    EXPECT_FALSE(isSnapshotName("a/b"));
    EXPECT_FALSE(isSnapshotName("a b"));
    EXPECT_FALSE(isSnapshotName(std::string(129, 'a')));
    EXPECT_TRUE(isProviderName("cdpfi"));
    EXPECT_FALSE(isProviderName("../x"));
    EXPECT_FALSE(isProviderName("1x"));
    EXPECT_TRUE(isPlainText("/dev/\xc3\xa4"));
    EXPECT_FALSE(isPlainText("a\nb"));
    EXPECT_FALSE(isPlainText("\xc2\x85"));
    EXPECT_FALSE(isPlainText("\xc3"));
    EXPECT_FALSE(isPlainText("\xc0\xaf"));
    EXPECT_FALSE(isPlainText("\xed\xa0\x80"));
    EXPECT_FALSE(isPlainText("\xff"));
    EXPECT_EQ(printable("a\x1b[31m\xff"), "a\\x1b[31m\\xff");
}

TEST(ProcessIdentity, TellsALivingProcessFromOneThatHadItsId)
{
    const SProcessIdentity self = thisProcess();
    EXPECT_EQ(self.pid, getpid());
    EXPECT_FALSE(self.bootId.empty());
    EXPECT_TRUE(isAlive(self));
    EXPECT_FALSE(isAlive({self.pid, self.bootId, self.startTime + 1, self.pidNamespace, 0}));
    EXPECT_FALSE(isAlive({self.pid, "another-boot", self.startTime, self.pidNamespace, 0}));
    EXPECT_FALSE(isAlive({0, self.bootId, self.startTime, self.pidNamespace, 0}));
}

TEST(ProcessIdentity, WithoutALockOneOfAnotherNamespaceCountsAsAliveUntilTheHostStartsAnew)
{
    const SProcessIdentity self = thisProcess();
    EXPECT_TRUE(isAlive({1, self.bootId, self.startTime, "pid:[1]", 0}));
    EXPECT_FALSE(isAlive({1, "another-boot", self.startTime, "pid:[1]", 0}));
    EXPECT_TRUE(isAlive({self.pid, self.bootId, self.startTime, "", 0})) << "a record of an older fictl";
}

/// A child that holds a lock in the owners' file until it is killed.
class COwnerLockTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        m_file = testing::TempDir() + "owners." + std::to_string(getpid());
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        m_child = fork();
        if (m_child == 0) {
            const COwnerLock lock(m_file);
            const SProcessIdentity self = thisProcess();
            const ssize_t told = write(ends[1], &self.lock, sizeof self.lock);
            while (told > 0) {
                pause();
            }
            _exit(1);
        }
        close(ends[1]);
        ASSERT_EQ(read(ends[0], &m_byte, sizeof m_byte), static_cast<ssize_t>(sizeof m_byte));
        close(ends[0]);
    }
    void TearDown() override
    {
        endChild();
        unlink(m_file.c_str());
    }
    void endChild()
    {
        if (m_child <= 0) return;
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
        m_child = 0;
    }
    /// The owner as another container knows it: neither its id nor its namespace says anything here.
    SProcessIdentity owner() const { return {1, thisProcess().bootId, 1, "pid:[1]", m_byte}; }

    std::string m_file;
    pid_t m_child = 0;
    int64_t m_byte = 0;
};

TEST_F(COwnerLockTest, TellsAnOwnerOfAnotherNamespaceFromOneThatIsGone)
{
    EXPECT_NE(m_byte, 0);
    const COwnerLock lock(m_file);
    EXPECT_NE(thisProcess().lock, m_byte);
    EXPECT_TRUE(isAlive(owner()));
    endChild();
    EXPECT_FALSE(isAlive(owner()));
}

TEST_F(COwnerLockTest, IsSharedByAllOfOneProcessAndGivenBackByTheLast)
{
    {
        const COwnerLock first(m_file);
        const int64_t byte = thisProcess().lock;
        {
            const COwnerLock second(m_file);
            EXPECT_EQ(thisProcess().lock, byte);
        }
        EXPECT_EQ(thisProcess().lock, byte);
        EXPECT_TRUE(isAlive(owner())) << "the file stayed open";
    }
    EXPECT_EQ(thisProcess().lock, 0);
}

TEST_F(COwnerLockTest, ALockThatCannotBeHadIsNone)
{
    const COwnerLock lock("/nowhere/at/all");
    EXPECT_EQ(thisProcess().lock, 0);
    EXPECT_TRUE(isAlive(thisProcess()));
    EXPECT_TRUE(isAlive(owner())) << "who cannot be asked for counts as alive";
}

TEST(SnapshotState, IsInterruptedWhenItsProcessIsGone)
{
    SSnapshot snapshot;
    for (const auto& [state, text] : {std::pair{EState::CREATING, "interrupted"},
                                      {EState::IMPORTING, "import-interrupted"},
                                      {EState::DELETING, "delete-interrupted"},
                                      {EState::COMPLETE, "complete"}}) {
        snapshot.state = state;
        snapshot.owner = {};
        EXPECT_EQ(snapshot.shownState(), text);
        snapshot.owner = thisProcess();
        EXPECT_EQ(snapshot.shownState(), stateText(state));
        EXPECT_EQ(stateOf(stateText(state)), state);
    }
    EXPECT_THROW(stateOf("interrupted"), std::invalid_argument);
}

TEST(ExitCodes, AreNumberedInOrderAndNamedOnce)
{
    std::set<std::string> names;
    int expected = 0;
    for (const SExitCode& code : exitCodes()) {
        EXPECT_EQ(static_cast<int>(code.code), expected++);
        EXPECT_TRUE(names.insert(code.name).second) << code.name;
        EXPECT_STREQ(exitName(code.code), code.name);
    }
}

}  // namespace fictl

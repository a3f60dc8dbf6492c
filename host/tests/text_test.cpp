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
    for (const std::string& name : {std::string(), std::string("-x"), std::string(".x"), std::string("a/b"),
                                    std::string("a b"), std::string(129, 'a')}) {
        EXPECT_FALSE(isSnapshotName(name)) << name;
    }
    EXPECT_TRUE(isProviderName("cdpfi"));
    for (const char* const name : {"../x", "1x"}) {
        EXPECT_FALSE(isProviderName(name)) << name;
    }
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
    EXPECT_EQ(stateOf("interrupted"), std::nullopt);
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

#include <thread>

#include "providers/cdp/tests/plugin_fixture.h"

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiSessionPtr;
using obzx_pdk_4_4::CFiSplitNode;
using testing::ElementsAre;
using testing::IsEmpty;

class Snapshot : public CPluginTest
{
  protected:
    Snapshot()
    {
        m_scenario.addAppliance("server2", {{"A", {"S21"}}});
        m_scenario.addAppliance("server1", {{"A", {"S1", "S3"}}, {"B", {"S2"}}, {"C", {"S4"}}});
        start();
    }
    static std::string command(const std::string& server, const std::string& group)
    {
        return server + ": create annotation \"" + checkPoint() + "\" \"" + group +
               "\" set message CreatedByKestrav commit";
    }
    static std::vector<std::string> madeNodes(const CFiSessionPtr& session)
    {
        std::vector<std::string> made;
        for (const CFiSplitNode& node : session->getNodes()) {
            if (node.m_makeDone != 0) made.push_back(str(node.m_name));
        }
        return made;
    }
};

}  // namespace

TEST_F(Snapshot, SelectAcceptsEverything)
{
    EXPECT_EQ(OBZ_OK, plugin().select("s", nullptr, 0));
    EXPECT_THAT(m_trace.lines(), ElementsAre("L3 SELECT_SUCCESSFUL"));
}

TEST_F(Snapshot, EveryGroupGetsOneCheckPointAndEveryNodeATarget)
{
    CNode first("<cdpfi>S1");
    CNode second("<cdpfi>S2");
    CNode third("<cdpfi>S3");
    for (CNode* node : {&first, &second, &third}) {
        ASSERT_EQ(OBZ_OK, initNode(*node));
    }
    CFiSessionPtr session = this->session("s", {&third, &second, &first});
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, plugin().makeSnapshots(session));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre(command("server1", "A"), command("server1", "B")));
    std::vector<std::string> targets;
    for (const CFiSplitNode& node : session->getNodes()) {
        targets.push_back(str(node.m_target));
        EXPECT_EQ(1, node.m_makeDone);
    }
    EXPECT_THAT(targets, ElementsAre(targetName("S1", checkPoint()), targetName("S2", checkPoint()),
                                     targetName("S3", checkPoint())));
    EXPECT_EQ(checkPoint(), str(plugin().GetPrivateData(first.get())->m_checkPointName));
    EXPECT_EQ(checkPoint(), str(plugin().GetPrivateData(second.get())->m_checkPointName));
}

TEST_F(Snapshot, TheLunOfANodeStandsBehindThePrefixWhereverThatIs)
{
    CNode node("before<cdpfi>S2");
    CFiSessionPtr session = this->session("s", {&node});
    EXPECT_EQ(OBZ_OK, plugin().makeSnapshots(session));
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre(command("server1", "B")));
    EXPECT_EQ(targetName("S2", checkPoint()), str(session->getNodes().at(0).m_target));
}

TEST_F(Snapshot, ANameWithoutThePrefixIsNotCutToAGroupsOrALunsName)
{
    for (const char* name : {"1234567A", "1234567S2", "A longer name", "before<cdpfi>"}) {
        CNode node(name);
        CFiSessionPtr session = this->session(name, {&node});
        m_trace.clear();
        EXPECT_EQ(OBZ_ERR_FAILED, plugin().makeSnapshots(session)) << name;
        EXPECT_TRUE(
            m_trace.has(std::string("L6 CCDPPlugin::makeSnapshots - Invalid device format for [") + name + "]"));
    }
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Snapshot, AppliancesAreTakenInTheOrderOfTheirNames)
{
    CNode onSecond("<cdpfi>S21");
    CNode onFirst("<cdpfi>S4");
    CFiSessionPtr session = this->session("s", {&onSecond, &onFirst});
    EXPECT_EQ(OBZ_OK, plugin().makeSnapshots(session));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre(command("server1", "C"), command("server2", "A")));
}

/// Three groups of one appliance and one of another, in key order; the one that fails.
struct SFailingGroup
{
    const char* m_place;
    const char* m_server;
    const char* m_group;
    std::vector<std::string> m_made;
    size_t m_commands;
};

class AFailingGroup : public Snapshot, public testing::WithParamInterface<SFailingGroup>
{
};

TEST_P(AFailingGroup, LeavesTheEarlierOnesMadeAndTheLaterOnesUntouched)
{
    const SFailingGroup& failing = GetParam();
    CNode nodes[] = {{"<cdpfi>S21"}, {"<cdpfi>S1"}, {"<cdpfi>S2"}, {"<cdpfi>S3"}, {"<cdpfi>S4"}};
    CFiSessionPtr session = this->session("s", {&nodes[0], &nodes[1], &nodes[2], &nodes[3], &nodes[4]});
    m_scenario.refuse(command(failing.m_server, failing.m_group));
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().makeSnapshots(session));
    expectTrace();
    EXPECT_EQ(failing.m_made, madeNodes(session));
    EXPECT_EQ(failing.m_commands, m_scenario.takeCommands().size());
}

INSTANTIATE_TEST_SUITE_P(
    Places, AFailingGroup,
    testing::Values(SFailingGroup{"first", "server1", "A", {}, 1},
                    SFailingGroup{"middle", "server1", "B", {"<cdpfi>S1", "<cdpfi>S3"}, 2},
                    SFailingGroup{"last_of_appliance", "server1", "C", {"<cdpfi>S1", "<cdpfi>S2", "<cdpfi>S3"}, 3},
                    SFailingGroup{"last", "server2", "A", {"<cdpfi>S1", "<cdpfi>S2", "<cdpfi>S3", "<cdpfi>S4"}, 4}),
    [](const auto& place) { return std::string(place.param.m_place); });

TEST_F(Snapshot, AnEmptySessionMakesNoCheckPoint)
{
    CFiSessionPtr session = this->session("s", {});
    EXPECT_EQ(OBZ_OK, plugin().makeSnapshots(session));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Snapshot, WithoutASessionTheCallIsInvalid)
{
    CFiSessionPtr none;
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().makeSnapshots(none));
}

TEST_F(Snapshot, ANameNoLongerThanThePrefixEndsTheCallBeforeAnythingIsMade)
{
    CNode good("<cdpfi>S1");
    CNode bad("<cdpfi>");
    CFiSessionPtr session = this->session("s", {&bad, &good});
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().makeSnapshots(session));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Snapshot, ANodeThatNoApplianceClaimsEndsTheCallBeforeAnythingIsMade)
{
    CNode good("<cdpfi>S1");
    CNode unknown("<cdpfi>S9");
    CFiSessionPtr session = this->session("s", {&good, &unknown});
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().makeSnapshots(session));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
    EXPECT_THAT(madeNodes(session), IsEmpty());
}

TEST_F(Snapshot, ANodeWithoutPrivateDataGetsItsTargetAllTheSame)
{
    CNode node("<cdpfi>S1");
    CFiSessionPtr session = this->session("s", {&node});
    EXPECT_EQ(OBZ_OK, plugin().makeSnapshots(session));
    expectTrace();
    EXPECT_THAT(madeNodes(session), ElementsAre("<cdpfi>S1"));
    EXPECT_EQ(nullptr, node->private_data);
}

TEST_F(Snapshot, ASecondMakeOfTheSameSessionHasNothingToDo)
{
    CNode node("<cdpfi>S1");
    CFiSessionPtr session = this->session("s", {&node});
    ASSERT_EQ(OBZ_OK, plugin().makeSnapshots(session));
    m_scenario.takeCommands();
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, plugin().makeSnapshots(session));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Snapshot, ASecondSnapshotOfAGroupByOneProcessIsRefusedByTheAppliance)
{
    CNode node("<cdpfi>S1");
    CFiSessionPtr first = this->session("first", {&node});
    CFiSessionPtr second = this->session("second", {&node});
    EXPECT_EQ(OBZ_OK, plugin().makeSnapshots(first));
    m_trace.clear();
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().makeSnapshots(second));
    expectTrace();
    EXPECT_THAT(madeNodes(second), IsEmpty());
}

TEST_F(Snapshot, TwoSessionsMayBeMadeAtOnce)
{
    CNode one("<cdpfi>S1");
    CNode other("<cdpfi>S2");
    CFiSessionPtr first = this->session("first", {&one});
    CFiSessionPtr second = this->session("second", {&other});
    int32_t status = OBZ_ERR_FAILED;
    std::thread thread([&] { status = plugin().makeSnapshots(first); });
    EXPECT_EQ(OBZ_OK, plugin().makeSnapshots(second));
    thread.join();
    EXPECT_EQ(OBZ_OK, status);
    EXPECT_THAT(madeNodes(first), ElementsAre("<cdpfi>S1"));
    EXPECT_THAT(madeNodes(second), ElementsAre("<cdpfi>S2"));
}

}  // namespace cdpfi

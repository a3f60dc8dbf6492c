#include <malloc.h>

#include <sstream>

#include "framework/include/cfiprivatedata.h"
#include "providers/cdp/tests/plugin_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiContextSingleton;
using obzx_pdk_4_4::CFiPrivateDataManager;
using testing::IsEmpty;

class Nodes : public CPluginTest
{
  protected:
    Nodes()
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1", "S2"}}});
        m_scenario.addDisk("/dev/sda", "S1");
        start();
    }
    static size_t privateDataCount()
    {
        return CFiContextSingleton<CFiPrivateDataManager, FI_PLUGIN_NAME>::instance(false)
            ->getFactory()
            ->getPrivateDataList(false)
            .size();
    }
};

}  // namespace

TEST_F(Nodes, ADeviceNodeRecordsItsApplianceGroupAndSerial)
{
    CNode node("<cdpfi>S1");
    EXPECT_EQ(OBZ_OK, initNode(node));
    expectTrace();
    const CCDPPrivateData* data = plugin().GetPrivateData(node.get());
    ASSERT_NE(nullptr, data);
    EXPECT_EQ(CString("Lumora"), data->m_applianceType);
    EXPECT_EQ(CString("server1"), data->m_applianceName);
    EXPECT_EQ(CString("S1"), data->m_serialNo);
    EXPECT_EQ(CString("cg1"), data->m_consistencyGroup);
    EXPECT_FALSE(data->getIsAltNode());
    EXPECT_EQ(node->identity->name, node->name);
    EXPECT_EQ(4098, node->value);
}

TEST_F(Nodes, ANodeIsNamedByItsIdentity)
{
    CNode node("<cdpfi>S1");
    node->name = nullptr;
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_EQ(node->identity->name, node->name);
}

TEST_F(Nodes, AGroupNodeIsTakenByItsGroupsName)
{
    CNode group("cg1");
    EXPECT_EQ(OBZ_OK, initNode(group));
    expectTrace();
    const CCDPPrivateData* data = plugin().GetPrivateData(group.get());
    ASSERT_NE(nullptr, data);
    EXPECT_EQ(CString("cg1"), data->m_serialNo);
    EXPECT_EQ(CString("cg1"), data->m_consistencyGroup);
}

TEST_F(Nodes, CombinationsNameTheMethodTheNodeAndItsGroupNode)
{
    CNode group("cg1");
    ASSERT_EQ(OBZ_OK, initNode(group));
    CNode node("<cdpfi>S1");
    node->combo_tail_reserved = &node;
    ASSERT_EQ(OBZ_OK, initNode(node));
    const obz_combo* combo = node->combos;
    ASSERT_NE(nullptr, combo);
    EXPECT_STREQ("Lumora", combo->quiesce->name);
    EXPECT_STREQ("Lumora", combo->split->name);
    EXPECT_EQ(node.get(), combo->quiesce->node);
    EXPECT_EQ(group.get(), combo->quiesce->group);
    EXPECT_EQ(group.get(), combo->split->group);
    EXPECT_EQ(nullptr, combo->next);
    EXPECT_EQ(nullptr, node->combo_tail_reserved);
    EXPECT_EQ(group.get(), group->combos->split->group) << "a group node is its own group's";
}

TEST_F(Nodes, AGroupNodeIsKeptByItsGroupsNameHoweverTheNodeIsCalled)
{
    CNode group("/dev/sda");
    ASSERT_EQ(OBZ_OK, initNode(group));
    CNode node("<cdpfi>S2");
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_EQ(group.get(), node->combos->quiesce->group);
}

TEST_F(Nodes, WithoutAGroupNodeTheCombinationHasNone)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_EQ(nullptr, node->combos->quiesce->group);
}

TEST_F(Nodes, ANodeNamedLikeThePrefixAloneIsRefused)
{
    CNode node("<cdpfi>");
    EXPECT_EQ(OBZ_ERR_FAILED, initNode(node));
    expectTrace();
    EXPECT_EQ(nullptr, node->combos);
    EXPECT_EQ(0, node->value);
}

TEST_F(Nodes, ANodeThatNoApplianceClaimsIsRefusedAndLeavesNothingBehind)
{
    CNode device("<cdpfi>S9");
    EXPECT_EQ(OBZ_ERR_FAILED, initNode(device));
    expectTrace("device");
    CNode group("cg9");
    EXPECT_EQ(OBZ_ERR_FAILED, initNode(group));
    expectTrace("group");
    EXPECT_EQ(nullptr, group->private_data);
    EXPECT_EQ(0u, privateDataCount());
}

TEST_F(Nodes, ANodeThatIsRefusedKeepsTheStateThatItHadBefore)
{
    CNode node("<cdpfi>S9");
    char text[] = "<CheckPointName>KSV_Check_Point_77</CheckPointName>";
    obz_blob blob = {sizeof text, text, OBZ_ENCODING_STRING};
    ASSERT_EQ(OBZ_OK, plugin().processProviderState(node.get(), &blob, OBZ_STATE_SET));
    EXPECT_EQ(OBZ_ERR_FAILED, initNode(node));
    const CCDPPrivateData* const data = plugin().GetPrivateData(node.get());
    ASSERT_NE(nullptr, data);
    EXPECT_EQ(CString("KSV_Check_Point_77"), data->m_checkPointName);
}

TEST_F(Nodes, ANullNodeIsInvalidAndANamelessOneFails)
{
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().initNode(nullptr, nullptr, 0, nullptr));
    obz_domain nameless{};
    m_trace.clear();
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().initNode(&nameless, nullptr, 0, nullptr));
    expectTrace();
    obzx_objid identity{};
    nameless.identity = &identity;
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().initNode(&nameless, nullptr, 0, nullptr));
    EXPECT_EQ(nullptr, nameless.private_data);
}

TEST_F(Nodes, ADeviceNodeOfAKnownGroupNodeIsTracedLikeAnyOther)
{
    CNode group("cg1");
    ASSERT_EQ(OBZ_OK, initNode(group));
    m_trace.clear();
    CNode node("<cdpfi>S2");
    ASSERT_EQ(OBZ_OK, initNode(node));
    expectTrace();
}

TEST_F(Nodes, ANodeThatComesAgainKeepsOneSetOfCombinations)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_EQ(nullptr, node->combos->next);
    EXPECT_EQ(1u, privateDataCount());
}

TEST_F(Nodes, ANodeThatComesAgainAndAgainTakesNoMoreMemory)
{
    constexpr size_t TIMES = 1000;
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    const size_t before = mallinfo2().uordblks;
    for (size_t i = 0; i < TIMES; ++i) {
        ASSERT_EQ(OBZ_OK, initNode(node));
        m_trace.clear();
    }
    const size_t after = mallinfo2().uordblks;
    EXPECT_LT(after, before + TIMES * sizeof(obz_combo));
}

TEST_F(Nodes, WhatStandsInAFreshNodesListIsNotLookedAt)
{
    CNode node("<cdpfi>S1");
    node->combos = reinterpret_cast<obz_combo*>(&node);
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_STREQ("Lumora", node->combos->split->name);
}

TEST_F(Nodes, WhatStandsInTheListOfANodeThatOnlyHasAStateIsNotLookedAt)
{
    CNode node("<cdpfi>S1");
    char text[] = "<SerialNo>S1</SerialNo>";
    obz_blob blob = {sizeof text, text, OBZ_ENCODING_STRING};
    ASSERT_EQ(OBZ_OK, plugin().processProviderState(node.get(), &blob, OBZ_STATE_SET));
    node->combos = reinterpret_cast<obz_combo*>(&node);
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_STREQ("Lumora", node->combos->split->name);
    EXPECT_EQ(nullptr, node->combos->next);
}

TEST_F(Nodes, AListThatTheHostPutInPlaceOfTheProvidersIsNotFreed)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    obz_combo* const built = node->combos;
    obz_combo own{};
    node->combos = &own;
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_NE(&own, node->combos);
    EXPECT_STREQ("Lumora", node->combos->split->name);
    obz_domain former{};  // the host's now
    former.combos = built;
    releaseCombos(&former);
}

TEST_F(Nodes, ACopyOfANodeDoesNotTakeItsListAway)
{
    CNode node("<cdpfi>S1");
    CNode copy("<cdpfi>S2");
    ASSERT_EQ(OBZ_OK, initNode(node));
    copy->combos = node->combos;
    ASSERT_EQ(OBZ_OK, initNode(copy));
    EXPECT_NE(copy->combos, node->combos);
    EXPECT_STREQ("Lumora", node->combos->split->name);
}

TEST_F(Nodes, ARefusedNodeHasAnEmptyListWhateverStoodThere)
{
    CNode device("<cdpfi>S9");
    device->combos = reinterpret_cast<obz_combo*>(&device);
    device->combo_tail_reserved = &device;
    EXPECT_EQ(OBZ_ERR_FAILED, initNode(device));
    EXPECT_EQ(nullptr, device->combos);
    EXPECT_EQ(nullptr, device->combo_tail_reserved);
    EXPECT_EQ(OBZ_OK, plugin().deInitNode(device.get()));
}

TEST_F(Nodes, TheSerialIsWhatStandsBehindThePrefixWhereverThatIs)
{
    CNode node("before<cdpfi>S1");
    EXPECT_EQ(OBZ_OK, initNode(node));
    EXPECT_EQ(CString("S1"), plugin().GetPrivateData(node.get())->m_serialNo);
    CNode nothing("before<cdpfi>");
    EXPECT_EQ(OBZ_ERR_FAILED, initNode(nothing));
    EXPECT_TRUE(m_trace.has("L6 CCDPPlugin::initNode - Invalid device format for [before<cdpfi>]"));
    CNode twice("<cdpfi><cdpfi>S1");
    EXPECT_EQ(OBZ_ERR_FAILED, initNode(twice)) << "behind the first one";
}

TEST_F(Nodes, WithoutMemoryForTheCombinationsTheNodeIsRefusedWhole)
{
    for (int skipped = 0; skipped < 5; ++skipped) {
        CNode group("cg1");
        const CMemoryFault fault(CMemoryFault::EKind::C_FUNCTION, skipped);
        EXPECT_EQ(OBZ_ERR_FAILED, initNode(group)) << skipped;
        EXPECT_TRUE(fault.happened());
        EXPECT_EQ(nullptr, group->combos);
        EXPECT_EQ(nullptr, group->private_data);
    }
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_EQ(nullptr, node->combos->quiesce->group) << "the refused group node is not kept";
}

TEST_F(Nodes, DeinitGivesTheCombinationsAndThePrivateDataBack)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, plugin().deInitNode(node.get()));
    expectTrace();
    EXPECT_EQ(nullptr, node->combos);
    EXPECT_EQ(nullptr, node->private_data);
    EXPECT_EQ(0u, privateDataCount());
}

TEST_F(Nodes, DeinitOfTheGroupNodeEndsItsEntry)
{
    CNode group("cg1");
    ASSERT_EQ(OBZ_OK, initNode(group));
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, plugin().deInitNode(group.get()));
    std::ostringstream address;
    address << std::hex << reinterpret_cast<uintptr_t>(group.get());
    EXPECT_TRUE(m_trace.has("L3 CCDPPlugin::deInitNode found map entry for ConsistencyGroup [cg1] with addres " +
                            address.str()));
    expectTrace();
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_EQ(nullptr, node->combos->quiesce->group);
}

TEST_F(Nodes, DeinitOfADeviceNodeKeepsItsGroupsEntry)
{
    CNode group("cg1");
    ASSERT_EQ(OBZ_OK, initNode(group));
    CNode first("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(first));
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, plugin().deInitNode(first.get()));
    expectTrace();
    CNode second("<cdpfi>S2");
    ASSERT_EQ(OBZ_OK, initNode(second));
    EXPECT_EQ(group.get(), second->combos->quiesce->group);
}

TEST_F(Nodes, DeinitOfAnotherRecordOfTheGroupNodeEndsItsEntryToo)
{
    CNode group("cg1");
    ASSERT_EQ(OBZ_OK, initNode(group));
    CNode same("cg1");
    char text[] = "<ConsistencyGroup>cg1</ConsistencyGroup>";
    obz_blob blob = {sizeof text, text, OBZ_ENCODING_STRING};
    ASSERT_EQ(OBZ_OK, plugin().processProviderState(same.get(), &blob, OBZ_STATE_SET));
    EXPECT_EQ(OBZ_OK, plugin().deInitNode(same.get()));
    EXPECT_TRUE(m_trace.has("L3 CCDPPlugin::deInitNode found matching group node for ConsistencyGroup [cg1]"));
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_EQ(nullptr, node->combos->quiesce->group);
}

TEST_F(Nodes, DeinitOfADeviceNodeEndsAnEntryWithoutAGroupNode)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));  // looks for the group node, and so makes the entry
    EXPECT_EQ(OBZ_OK, plugin().deInitNode(node.get()));
    EXPECT_TRUE(m_trace.has("L3 CCDPPlugin::deInitNode found NULL groupnode"));
}

TEST_F(Nodes, DeinitReleasesTheCombinationsOfANodeWithoutPrivateData)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    CFiContextSingleton<CFiPrivateDataManager, FI_PLUGIN_NAME>::instance(false)->deallocate(node.get());
    ASSERT_EQ(nullptr, node->private_data);
    ASSERT_NE(nullptr, node->combos);
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, plugin().deInitNode(node.get()));
    EXPECT_TRUE(m_trace.has("L3 CCDPPlugin::deInitNode - private_node is NULL"));
    EXPECT_EQ(nullptr, node->combos);
}

TEST_F(Nodes, ANewerGroupNodeReplacesTheOlderOne)
{
    CNode older("cg1");
    CNode newer("cg1");
    ASSERT_EQ(OBZ_OK, initNode(older));
    ASSERT_EQ(OBZ_OK, initNode(newer));
    EXPECT_EQ(plugin().GetPrivateData(older.get()), plugin().GetPrivateData(newer.get()));
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    EXPECT_EQ(newer.get(), node->combos->quiesce->group);
}

TEST_F(Nodes, DeinitOfANodeThatWasNeverSetUpDoesNothing)
{
    CNode node("<cdpfi>S1");
    EXPECT_EQ(OBZ_OK, plugin().deInitNode(node.get()));
    expectTrace();
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().deInitNode(nullptr));
}

TEST_F(Nodes, SettingNodesUpSendsNoCommand)
{
    CNode group("cg1");
    CNode node("<cdpfi>S1");
    initNode(group);
    initNode(node);
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

}  // namespace cdpfi

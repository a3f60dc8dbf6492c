#include "framework/include/cfiprivatedata.h"
#include "providers/cdp/tests/plugin_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {

namespace {

using obzx_pdk_4_4::CFiContextSingleton;
using obzx_pdk_4_4::CFiPrivateDataManager;

class Claiming : public CPluginTest
{
  protected:
    Claiming()
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1"}}, {"cg2", {"S2"}}});
        m_scenario.addDisk("/dev/sda", "S1");
        m_scenario.addDisk("/dev/sdb", "FOREIGN");
        start();
    }
    int32_t interpose(CNode& node) { return plugin().interpose(node.get(), &m_interposed, &m_groups, &m_groupCount); }
    int32_t claim(const char* name)
    {
        CNode node(name);
        return plugin().claim(node->identity, &m_secondaries, &m_groupCount);
    }
    /// What a host may have left in its variables.
    void fillOutputs()
    {
        m_interposed = &m_identity;
        m_groups = m_secondaries = &m_interposed;
        m_groupCount = 77;
    }
    void expectClearedOutputs()
    {
        EXPECT_EQ(nullptr, m_interposed);
        EXPECT_EQ(nullptr, m_groups);
        EXPECT_EQ(0, m_groupCount);
    }
    void setHosts(CNode& node, bool transportable)
    {
        char name[] = "backuphost";
        const obz_host_infn host = {name, nullptr};
        auto data =
            CFiContextSingleton<CFiPrivateDataManager, FI_PLUGIN_NAME>::instance(false)->allocate(node.get(), false);
        data->setHostList(&host);
        data->setTransportable(transportable);
    }

    obzx_objid m_identity{};
    obzx_objid* m_interposed = nullptr;
    obzx_objid** m_groups = nullptr;
    obzx_objid** m_secondaries = nullptr;
    int32_t m_groupCount = 77;
};

}  // namespace

TEST_F(Claiming, InterposePutsANodeNamedByItsLunBeforeAProtectedDevice)
{
    CNode node("/dev/sda");
    EXPECT_EQ(1, interpose(node));
    expectTrace();
    ASSERT_NE(nullptr, m_interposed);
    EXPECT_STREQ("<cdpfi>S1", m_interposed->name);
    EXPECT_EQ(3, m_interposed->type);
    ASSERT_EQ(1, m_groupCount);
    ASSERT_NE(nullptr, m_groups);
    EXPECT_STREQ("cg1", m_groups[0]->name);
    obzx_free_objid(m_interposed);
    obzx_free_objid_array(m_groups, m_groupCount);
}

TEST_F(Claiming, ANameThatIsNoDevicePathIsNotInterposed)
{
    CNode node("sda");
    fillOutputs();
    EXPECT_EQ(0, interpose(node));
    expectTrace("no_path");
    expectClearedOutputs();
    m_trace.clear();
    obz_domain nameless{};
    EXPECT_EQ(0, plugin().interpose(&nameless, &m_interposed, &m_groups, &m_groupCount));
    EXPECT_EQ(0, plugin().interpose(nullptr, &m_interposed, &m_groups, &m_groupCount));
    expectTrace("nameless");
}

TEST_F(Claiming, AnotherPathThanThatOfADeviceIsNotInterposed)
{
    CNode node("/devices/sda");
    EXPECT_EQ(0, interpose(node));
    EXPECT_TRUE(m_trace.has("L3 CCDPPlugin::interpose - Not a device path. Not claiming node [/devices/sda]."));
}

TEST_F(Claiming, ADeviceThatNoApplianceProtectsIsNotInterposed)
{
    CNode known("/dev/sdb");
    fillOutputs();
    EXPECT_EQ(0, interpose(known));
    expectTrace();
    expectClearedOutputs();
    CNode unknown("/dev/sdz");
    fillOutputs();
    EXPECT_EQ(0, interpose(unknown));
    expectClearedOutputs();
}

TEST_F(Claiming, InterposeWithANullOutPointerClearsTheOthersAndDoesNothing)
{
    CNode node("/dev/sda");
    fillOutputs();
    EXPECT_EQ(0, plugin().interpose(node.get(), nullptr, &m_groups, &m_groupCount));
    EXPECT_EQ(nullptr, m_groups);
    EXPECT_EQ(0, m_groupCount);
    fillOutputs();
    EXPECT_EQ(0, plugin().interpose(node.get(), &m_interposed, nullptr, &m_groupCount));
    EXPECT_EQ(nullptr, m_interposed);
    EXPECT_EQ(0, m_groupCount);
    fillOutputs();
    EXPECT_EQ(0, plugin().interpose(node.get(), &m_interposed, &m_groups, nullptr));
    EXPECT_EQ(nullptr, m_interposed);
    EXPECT_EQ(nullptr, m_groups);
}

TEST_F(Claiming, WithoutMemoryForTheIdentityTheDeviceIsNotInterposed)
{
    CNode node("/dev/sda");
    fillOutputs();
    const CMemoryFault fault(CMemoryFault::EKind::C_FUNCTION, 0);
    EXPECT_EQ(0, interpose(node));
    EXPECT_TRUE(fault.happened());
    expectClearedOutputs();
}

TEST_F(Claiming, WithoutMemoryForTheGroupsTheListIsNullAndTheCountStays)
{
    for (int skipped = 1; skipped < 3; ++skipped) {  // the list, the group's identity
        CNode node("/dev/sda");
        const CMemoryFault fault(CMemoryFault::EKind::C_FUNCTION, skipped);
        EXPECT_EQ(1, interpose(node));
        EXPECT_TRUE(fault.happened());
        EXPECT_EQ(nullptr, m_groups);
        EXPECT_EQ(1, m_groupCount);
        obzx_free_objid(m_interposed);
    }
}

TEST_F(Claiming, ClaimTakesTheProvidersOwnNodesAsSecondaries)
{
    fillOutputs();
    EXPECT_EQ(OBZ_CLAIM_SECONDARY, claim("<cdpfi>S1"));
    expectTrace();
    EXPECT_EQ(nullptr, m_secondaries);
    EXPECT_EQ(0, m_groupCount);
    EXPECT_EQ(OBZ_CLAIM_SECONDARY, claim("before<cdpfi>")) << "anywhere in the name";
}

TEST_F(Claiming, ClaimLeavesOtherNodesAlone)
{
    fillOutputs();
    EXPECT_EQ(OBZ_CLAIM_NONE, claim("/dev/sda"));
    expectTrace();
    EXPECT_EQ(nullptr, m_secondaries);
    EXPECT_EQ(0, m_groupCount);
    EXPECT_EQ(OBZ_CLAIM_NONE, claim("<CDPFI>S1"));
    EXPECT_EQ(OBZ_CLAIM_NONE, claim(""));
}

TEST_F(Claiming, ClaimOfAnIdentityWithoutANameGivesNoClaim)
{
    obzx_objid nameless{};
    for (obzx_objid* const primary : {&nameless, static_cast<obzx_objid*>(nullptr)}) {
        m_trace.clear();
        fillOutputs();
        EXPECT_EQ(OBZ_CLAIM_NONE, plugin().claim(primary, &m_secondaries, &m_groupCount));
        expectTrace();
        EXPECT_EQ(nullptr, m_secondaries);
        EXPECT_EQ(0, m_groupCount);
    }
}

TEST_F(Claiming, ClaimWithANullOutPointerGivesNoClaim)
{
    CNode node("<cdpfi>S1");
    fillOutputs();
    EXPECT_EQ(OBZ_CLAIM_NONE, plugin().claim(node->identity, nullptr, &m_groupCount));
    EXPECT_EQ(0, m_groupCount);
    EXPECT_EQ(OBZ_CLAIM_NONE, plugin().claim(node->identity, &m_secondaries, nullptr));
    EXPECT_EQ(nullptr, m_secondaries);
}

TEST_F(Claiming, AMatchingFimOrsTheRecordsAccessIntoTheNodes)
{
    CNode node("<cdpfi>S1");
    EXPECT_EQ(1, plugin().supportsFiType(node.get(), "Lumora"));
    expectTrace();
    EXPECT_EQ(3, node.access());
    node.setAccess(4);
    EXPECT_EQ(1, plugin().supportsFiType(node.get(), "Lumora"));
    EXPECT_EQ(7, node.access());
    EXPECT_TRUE(m_trace.has("L6 CCDPPlugin::supportsFiType - returning valus [7]"));
    m_trace.clear();
    node.setAccess(0);
    EXPECT_EQ(1, plugin().supportsFiType(node.get(), "Lumora"));
    EXPECT_EQ(3, node.access()) << "a field that was 0 becomes 3";
}

TEST_F(Claiming, AnyMatchesTheFirstFimOfTheFirstAppliance)
{
    CNode node("<cdpfi>S1");
    EXPECT_EQ(1, plugin().supportsFiType(node.get(), "any"));
    expectTrace();
    EXPECT_EQ(3, node.access());
}

TEST_F(Claiming, AnotherFimIsNotSupported)
{
    CNode node("<cdpfi>S1");
    node.setAccess(3);
    EXPECT_EQ(0, plugin().supportsFiType(node.get(), "lumora"));
    expectTrace();
    EXPECT_EQ(OBZ_ACCESS_NONE, node.access());
    EXPECT_EQ(0, plugin().supportsFiType(node.get(), ""));
}

TEST_F(Claiming, PrivateDataWithoutHostsCountsAsNone)
{
    CNode node("<cdpfi>S1");
    ASSERT_EQ(OBZ_OK, initNode(node));
    m_trace.clear();
    EXPECT_EQ(1, plugin().supportsFiType(node.get(), "Lumora"));
    expectTrace();
    EXPECT_EQ(3, node.access());
}

TEST_F(Claiming, ANodeWithHostsIsSupportedLocallyUnlessItIsTransportable)
{
    CNode local("<cdpfi>S1");
    setHosts(local, false);
    local.setAccess(4);
    m_trace.clear();
    EXPECT_EQ(1, plugin().supportsFiType(local.get(), "Lumora"));
    EXPECT_EQ(OBZ_ACCESS_LOCAL, local.access());
    expectTrace("local");
    CNode remote("<cdpfi>S2");
    setHosts(remote, true);
    m_trace.clear();
    EXPECT_EQ(1, plugin().supportsFiType(remote.get(), "Lumora"));
    EXPECT_EQ(OBZ_ACCESS_REMOTE, remote.access());
    expectTrace("transportable");
}

TEST_F(Claiming, WithoutAPlaceForTheAccessValueNothingIsWritten)
{
    CNode node("<cdpfi>S1");
    node->access = nullptr;
    EXPECT_EQ(1, plugin().supportsFiType(node.get(), "Lumora"));
    EXPECT_TRUE(m_trace.has("L6 CCDPPlugin::supportsFiType - returning valus [3]"));
    EXPECT_EQ(0, plugin().supportsFiType(node.get(), "other"));
}

TEST_F(Claiming, ANullNodeOrFimIsNotSupported)
{
    CNode node("<cdpfi>S1");
    node.setAccess(3);
    EXPECT_EQ(0, plugin().supportsFiType(nullptr, "any"));
    EXPECT_EQ(0, plugin().supportsFiType(node.get(), nullptr));
    EXPECT_EQ(OBZ_ACCESS_NONE, node.access());
    node->access = nullptr;
    EXPECT_EQ(0, plugin().supportsFiType(node.get(), nullptr));
}

}  // namespace cdpfi

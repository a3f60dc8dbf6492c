#include <sys/stat.h>

#include "framework/include/cfiexecpipe.h"
#include "providers/cdp/tests/plugin_fixture.h"

namespace cdpfi {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Registry : public CPluginTest
{
  protected:
    void initialize(const std::string& configuration)
    {
        m_scenario.write("etc/qz/hls.conf", configuration);
        traced().initialize();
    }
    CCDPApplianceFactory& traced()
    {
        m_log->initialize("cdpfi", "", "", 1, false);
        m_registry.registerTraceLog(m_log);
        return m_registry;
    }
    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (const CAppliancePtr& appliance : m_registry.getApplianceList()) {
            names.push_back(str(appliance->getName()));
        }
        return names;
    }

    obzx_pdk_4_4::CFiTraceLogPtr m_log{true};
    CCDPApplianceFactory m_registry;
};

}  // namespace

TEST_F(Registry, RsurlIsFoundAnywhereInALine)
{
    initialize("RSURL=alpha:1\n# RSURL=beta:2\nXRSURL=gamma");
    EXPECT_THAT(names(), ElementsAre("alpha", "beta", "gamma"));
    expectTrace();
}

TEST_F(Registry, BlanksBelongToTheName)
{
    initialize("RSURL = alpha:1\nRSURL=beta :2");
    expectTrace();
    EXPECT_THAT(names(), ElementsAre(" alpha", "beta "));
}

TEST_F(Registry, LineOfThreePiecesIsSkipped)
{
    initialize("RSURL=a=b");
    expectTrace();
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(Registry, LinesThatAreNoPairAreSkipped)
{
    initialize("RSURL\nRSURL=\nRSURL:alpha\nOTHER=x\nrsurl=x\n\nRSURL=::\n");
    expectTrace();
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(Registry, EmptyPiecesDoNotCount)
{
    initialize("RSURL==alpha\nRSURL=:beta:1");
    expectTrace();
    EXPECT_THAT(names(), ElementsAre("alpha", "beta"));
}

TEST_F(Registry, ALaterLineForTheSameNameReplacesTheAppliance)
{
    initialize("RSURL=alpha:1\n");
    const CAppliancePtr first = m_registry.getApplianceInstance("alpha");
    m_trace.clear();
    initialize("RSURL=alpha:1\nRSURL=alpha:2\n");
    expectTrace();
    EXPECT_THAT(names(), ElementsAre("alpha"));
    EXPECT_NE(first, m_registry.getApplianceInstance("alpha"));
}

TEST_F(Registry, NamesAreOrderedByByte)
{
    initialize("RSURL=b\nRSURL=a\nRSURL=B\nRSURL=ab\nRSURL=10\nRSURL=2\n");
    EXPECT_THAT(names(), ElementsAre("10", "2", "B", "a", "ab", "b"));
}

TEST_F(Registry, AnEmptyFileNamesNoAppliance)
{
    initialize("");
    expectTrace();
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(Registry, AMissingOrUnusableFileNamesNoAppliance)
{
    traced().initialize();
    expectTrace();
    EXPECT_THAT(names(), IsEmpty());
    std::filesystem::create_directories(m_scenario.root() / "etc/qz/hls.conf");
    m_registry.initialize();
    EXPECT_THAT(names(), IsEmpty());
    std::filesystem::remove(m_scenario.root() / "etc/qz/hls.conf");
    ASSERT_EQ(0, mkfifo((m_scenario.root() / "etc/qz/hls.conf").c_str(), 0600));
    m_registry.initialize();
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(Registry, AnUnknownNameHasNoAppliance)
{
    initialize("RSURL=alpha");
    m_trace.clear();
    EXPECT_FALSE(m_registry.getApplianceInstance("beta"));
    EXPECT_TRUE(m_registry.getApplianceInstance("alpha"));
    EXPECT_THAT(m_trace.lines(), IsEmpty());
    EXPECT_THAT(names(), ElementsAre("alpha"));
}

TEST_F(Registry, OfTwoAppliancesThatClaimADeviceTheFirstByNameIsTakenAndTheOtherNotAsked)
{
    m_scenario.addAppliance("b", {{"cg", {"S1"}}});
    m_scenario.addAppliance("a", {{"cg", {"S1"}}});
    traced().initialize();
    m_registry.initializeAppliances();
    m_trace.clear();
    const CAppliancePtr appliance = m_registry.getClaimAppliance("S1").m_appliance;
    ASSERT_TRUE(appliance);
    EXPECT_EQ(CString("a"), appliance->getName());
    expectTrace();
}

TEST_F(Registry, ADeviceThatNobodyClaimsHasNoAppliance)
{
    m_scenario.addAppliance("a", {{"cg", {"S1"}}});
    traced().initialize();
    m_registry.initializeAppliances();
    m_trace.clear();
    EXPECT_FALSE(m_registry.getClaimAppliance("S2").m_appliance);
    expectTrace();
    EXPECT_FALSE(CCDPApplianceFactory().getClaimAppliance("S1").m_appliance) << "no appliance at all";
}

TEST_F(Registry, AClaimTellsTheGroupAndTheLunOfItsDevice)
{
    m_scenario.addAppliance("a", {{"cg", {"S1"}}});
    m_scenario.addDisk("/dev/sda", "S1");
    traced().initialize();
    m_registry.initializeAppliances();
    for (const char* device : {"/dev/sda", "S1"}) {
        const SClaim claim = m_registry.getClaimAppliance(device);
        ASSERT_TRUE(claim.m_device.m_group) << device;
        EXPECT_EQ(CString("cg"), claim.m_device.m_group->getName()) << device;
        EXPECT_EQ("S1", claim.m_device.m_lun) << device;
    }
}

TEST_F(Registry, TheGroupOfAClaimIsLookedForAgainOnlyWhileTheLookUpIsTraced)
{
    m_scenario.addAppliance("a", {{"cg", {"S1"}}});
    traced().initialize();
    m_registry.initializeAppliances();
    const SClaim claim = m_registry.getClaimAppliance("S1");
    EXPECT_EQ(claim.m_device.m_group, m_registry.getClaimGroup(claim, "S1"));
    EXPECT_FALSE(m_registry.getClaimGroup(claim, "S2")) << "looked for under the name that is given";
    m_trace.observe(2);
    EXPECT_EQ(claim.m_device.m_group, m_registry.getClaimGroup(claim, "S2")) << "as the claim has it";
}

TEST_F(Registry, AppliancesAreInitializedInNameOrder)
{
    m_scenario.addAppliance("b", {});
    m_scenario.addAppliance("a", {});
    traced().initialize();
    m_trace.clear();
    m_registry.initializeAppliances();
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(),
                ElementsAre("kforutil listdisk", "a: list hosts", "a: show host \"192.0.2.1\"",
                            "a: show host \"192.0.2.77\"", "a: list cgroups", "kforutil listdisk", "b: list hosts",
                            "b: show host \"192.0.2.1\"", "b: show host \"192.0.2.77\"", "b: list cgroups"));
}

TEST_F(Registry, AFailureOfAnApplianceReachesTheCallerAndEndsTheWalk)
{
    m_scenario.addAppliance("a", {});
    m_scenario.addAppliance("b", {});
    m_scenario.refuse("kforutil listdisk");
    traced().initialize();
    EXPECT_THROW(m_registry.initializeAppliances(), obzx_pdk_4_4::EFiExecPipe);
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre("kforutil listdisk"));
}

TEST_F(Registry, AppliancesTraceIntoTheLogOfTheRegistry)
{
    initialize("RSURL=alpha");
    EXPECT_EQ(m_log, m_registry.getApplianceInstance("alpha")->traceLog());
}

}  // namespace cdpfi

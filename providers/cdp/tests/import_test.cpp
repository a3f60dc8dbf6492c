#include "providers/cdp/tests/plugin_fixture.h"

namespace cdpfi {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr bool UNMAP = true;

class ImportNode : public CPluginTest
{
  protected:
    void addAppliance(const std::vector<std::string>& hosts = {"192.0.2.1", CScenario::LOCAL_HOST})
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1", "S2"}}}, hosts);
        m_scenario.addDisk("/dev/sda", "S1");
        m_scenario.addDisk("/dev/sdb", "FOREIGN");
        m_scenario.writeState("server1/ann.cg1.KSV_Check_Point_77", "");
        start();
    }
    int32_t import(const std::string& name, bool unmap = false)
    {
        return plugin().importNode(CString(name.c_str()), false, false, unmap, 1);
    }
};

}  // namespace

TEST_F(ImportNode, ATargetDeviceGetsATimeImageOfItsCheckPoint)
{
    addAppliance();
    EXPECT_EQ(OBZ_OK, import(targetName("S1", "KSV_Check_Point_77")));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(),
                ElementsAre("server1: create timeimage \"KSV_Time_Image_77\" \"cg1\" use annotation "
                            "\"KSV_Check_Point_77\" add permission \"192.0.2.77\" set preserve mode no set prevent "
                            "expiration timeout 0 set proactive expiration timeout 0 commit",
                            "server1: show timeimage \"KSV_Time_Image_77\" \"cg1\""));
}

TEST_F(ImportNode, ATargetDeviceIsNamedBehindThePrefixWhereverThatIs)
{
    addAppliance();
    EXPECT_EQ(OBZ_OK, import("<DeviceID>S9<DeviceID/>" + targetName("S1", "KSV_Check_Point_77")));
    EXPECT_TRUE(m_scenario.hasState("server1/ti.cg1.KSV_Time_Image_77"));
}

TEST_F(ImportNode, AnImageThatIsThereAlreadyIsLeftAlone)
{
    addAppliance();
    ASSERT_EQ(OBZ_OK, import(targetName("S1", "KSV_Check_Point_77")));
    m_scenario.takeCommands();
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, import(targetName("S2", "KSV_Check_Point_77")));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(ImportNode, UnmappingATargetDeviceSendsNothing)
{
    addAppliance();
    EXPECT_EQ(OBZ_OK, import(targetName("S1", "KSV_Check_Point_77"), UNMAP)) << "no image";
    expectTrace("without_image");
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
    ASSERT_EQ(OBZ_OK, import(targetName("S1", "KSV_Check_Point_77")));
    m_scenario.takeCommands();
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, import(targetName("S1", "KSV_Check_Point_77"), UNMAP));
    expectTrace("with_image");
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(ImportNode, ADevicePathIsGrantedToThisHostByItsWholeGroup)
{
    addAppliance();
    EXPECT_EQ(OBZ_OK, import("/dev/sda"));
    expectTrace("map");
    EXPECT_EQ(OBZ_OK, import("/dev/sda", UNMAP));
    expectTrace("unmap");
    EXPECT_THAT(m_scenario.takeCommands(),
                ElementsAre("server1: update timeimage \"cg1\" add permission \"192.0.2.77\" commit",
                            "server1: update timeimage \"cg1\" delete permission \"192.0.2.77\" commit"));
}

TEST_F(ImportNode, AFailedGrantStillGivesZero)
{
    addAppliance();
    m_scenario.refuse("*update*");
    EXPECT_EQ(OBZ_OK, import("/dev/sda"));
    expectTrace();
}

TEST_F(ImportNode, ANameNoLongerThanTheNodeTagIsInvalid)
{
    addAppliance();
    EXPECT_EQ(OBZ_ERR_FAILED, import("<cdpfi>"));
    expectTrace();
    EXPECT_EQ(OBZ_ERR_FAILED, import(""));
}

TEST_F(ImportNode, ADeviceThatNoApplianceClaimsFails)
{
    addAppliance();
    EXPECT_EQ(OBZ_ERR_FAILED, import("/dev/sdb"));
    expectTrace("device");
    EXPECT_EQ(OBZ_ERR_FAILED, import(targetName("S9", "KSV_Check_Point_77")));
    expectTrace("target");
    EXPECT_EQ(OBZ_ERR_FAILED, import("<cdpfi>no tags at all"));
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

// Three ways to write this host's address; each is a host of its own for the appliance.
TEST_F(ImportNode, OfSeveralHostsThatAreThisOneTheLastIsUsed)
{
    addAppliance({"192.0.2.77", "192.0.2.1", "0xC0.0.2.77", "192.0.589", "192.0.2.2"});
    EXPECT_EQ(OBZ_OK, import(targetName("S1", "KSV_Check_Point_77")));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands()[0], HasSubstr("add permission \"192.0.589\""));
}

TEST_F(ImportNode, AHostThatTheApplianceDoesNotKnowGetsNothing)
{
    addAppliance({"192.0.2.1"});
    EXPECT_EQ(OBZ_ERR_FAILED, import(targetName("S1", "KSV_Check_Point_77")));
    expectTrace("target");
    EXPECT_EQ(OBZ_ERR_FAILED, import("/dev/sda"));
    expectTrace("device");
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(ImportNode, AnImageThatCannotBeMadeFails)
{
    addAppliance();
    EXPECT_EQ(OBZ_ERR_FAILED, import(targetName("S1", "KSV_Check_Point_78"))) << "no such checkpoint";
    expectTrace();
}

TEST_F(ImportNode, AnImageWithoutALunListingFailsThoughItExists)
{
    addAppliance();
    m_scenario.writeState("hollow", "");
    EXPECT_EQ(OBZ_ERR_FAILED, import(targetName("S1", "KSV_Check_Point_77")));
    expectTrace();
    EXPECT_TRUE(m_scenario.hasState("server1/ti.cg1.KSV_Time_Image_77")) << "nothing is undone";
}

TEST_F(ImportNode, ALunThatTheImageDoesNotShowHasAnEmptyTarget)
{
    addAppliance();
    m_scenario.writeState("server1/cg.cg1", "Protected LUNS:\nlunS2 [S2] 10GB\nPermissions:\nStillmark LUNs:\n");
    EXPECT_EQ(OBZ_OK, import(targetName("S1", "KSV_Check_Point_77")));
    expectTrace();
}

TEST_F(ImportNode, TheListFormStopsAtTheFirstFailure)
{
    addAppliance();
    CNode good("/dev/sda");
    CNode bad("/dev/sdb");
    obzx_objid* list[] = {bad->identity, good->identity};
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().importNode(list, 2, false, false, 0));
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
    EXPECT_EQ(OBZ_OK, plugin().importNode(list + 1, 1, false, false, 0));
    EXPECT_THAT(m_scenario.takeCommands(), SizeIs(1));
}

}  // namespace cdpfi

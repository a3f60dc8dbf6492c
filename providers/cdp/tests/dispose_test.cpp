#include "providers/cdp/tests/plugin_fixture.h"

namespace cdpfi {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Dispose : public CPluginTest
{
  protected:
    Dispose()
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
        start();
        EXPECT_EQ(OBZ_OK, initNode(m_primary));
        m_trace.clear();
    }
    CCDPPrivateData& primaryData() { return *plugin().GetPrivateData(m_primary.get()); }
    int32_t dispose(CNode& target, int disposition = OBZ_DISP_REMOVE)
    {
        return plugin().dispose(m_primary.get(), target.get(), nullptr, static_cast<obz_disposition>(disposition));
    }
    /// A target that has private data naming a time image.
    void setTargetUp(CNode& target, const char* timeImage)
    {
        obz_blob none{};
        ASSERT_EQ(OBZ_OK, plugin().processProviderState(target.get(), &none, OBZ_STATE_SET));
        plugin().GetPrivateData(target.get())->m_timeImage = timeImage;
        m_trace.clear();
    }

    CNode m_primary{"<cdpfi>S1"};
};

}  // namespace

TEST_F(Dispose, ATargetDeviceLosesItsImageAndThenItsCheckPoint)
{
    m_scenario.writeState("server1/ann.cg1.KSV_Check_Point_77", "");
    m_scenario.writeState("server1/ti.cg1.KSV_Time_Image_77", "");
    CNode target(targetName("S1", "KSV_Check_Point_77").c_str());
    EXPECT_EQ(OBZ_OK, dispose(target));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre("server1: delete timeimage \"KSV_Time_Image_77\" \"cg1\"",
                                                       "server1: delete annotation \"KSV_Check_Point_77\" \"cg1\""));
    EXPECT_FALSE(m_scenario.hasState("server1/ann.cg1.KSV_Check_Point_77"));
}

TEST_F(Dispose, ATargetDeviceIsNamedBehindThePrefixWhereverThatIs)
{
    CNode target(("<DeviceID>S9<DeviceID/>" + targetName("S1", "KSV_Check_Point_77")).c_str());
    EXPECT_EQ(OBZ_OK, dispose(target));
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre("server1: delete timeimage \"KSV_Time_Image_77\" \"cg1\"",
                                                       "server1: delete annotation \"KSV_Check_Point_77\" \"cg1\""));
}

TEST_F(Dispose, ADevicePathLosesTheImageThatItsStateNamesAndThenTheCheckPoint)
{
    CNode target("/dev/sdz");
    setTargetUp(target, "KSV_Time_Image_20240101");
    EXPECT_EQ(OBZ_OK, dispose(target));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(),
                ElementsAre("server1: delete timeimage \"KSV_Time_Image_20240101\" \"cg1\"",
                            "server1: delete annotation \"KSV_Check_Point_20240101\" \"cg1\""));
}

TEST_F(Dispose, AnEmptyImageNameIsSentLikeAnyOther)
{
    CNode target("/dev/sdz");
    setTargetUp(target, "");
    EXPECT_EQ(OBZ_OK, dispose(target));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre("server1: delete timeimage \"\" \"cg1\"",
                                                       "server1: delete annotation \"KSV_Check_Point_\" \"cg1\""));
}

TEST_F(Dispose, RefusedDeletionsAndRepeatedDisposalsGiveZero)
{
    m_scenario.refuse("*delete*");
    CNode target(targetName("S1", "KSV_Check_Point_77").c_str());
    EXPECT_EQ(OBZ_OK, dispose(target));
    expectTrace();
    EXPECT_EQ(OBZ_OK, dispose(target));
    EXPECT_EQ(4u, m_scenario.takeCommands().size()) << "the checkpoint is tried though the image stayed";
}

TEST_F(Dispose, AnyOtherDispositionTouchesNothing)
{
    CNode target(targetName("S1", "KSV_Check_Point_77").c_str());
    EXPECT_EQ(OBZ_OK, dispose(target, OBZ_DISP_KEEP));
    expectTrace();
    EXPECT_EQ(OBZ_OK, dispose(target, 2));
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Dispose, ATargetWithoutANameIsNothingToDo)
{
    obz_domain target{};
    obzx_objid nameless{};
    EXPECT_EQ(OBZ_OK, plugin().dispose(m_primary.get(), nullptr, nullptr, OBZ_DISP_REMOVE));
    EXPECT_EQ(OBZ_OK, plugin().dispose(m_primary.get(), &target, nullptr, OBZ_DISP_REMOVE));
    target.identity = &nameless;
    EXPECT_EQ(OBZ_OK, plugin().dispose(m_primary.get(), &target, nullptr, OBZ_DISP_REMOVE));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Dispose, ANameEqualToThePrefixIsInvalid)
{
    CNode target("<cdpfi>");
    EXPECT_EQ(OBZ_ERR_FAILED, dispose(target));
    expectTrace();
}

TEST_F(Dispose, WithoutPrivateDataADevicePathCannotBeDisposedOf)
{
    CNode target("/dev/sdz");
    EXPECT_EQ(OBZ_ERR_FAILED, dispose(target));
    expectTrace("target");
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().dispose(nullptr, target.get(), nullptr, OBZ_DISP_REMOVE));
    expectTrace("primary");
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Dispose, AnApplianceOrGroupThatTheStateNamesInVainDeletesNothing)
{
    CNode target("/dev/sdz");
    setTargetUp(target, "KSV_Time_Image_1");
    primaryData().m_consistencyGroup = "cg9";
    EXPECT_EQ(OBZ_ERR_FAILED, dispose(target));
    expectTrace("group");
    primaryData().m_applianceName = "server9";
    EXPECT_EQ(OBZ_ERR_FAILED, dispose(target));
    expectTrace("appliance");
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Dispose, ATargetDeviceThatNoApplianceClaimsDeletesNothing)
{
    CNode target(targetName("S9", "KSV_Check_Point_77").c_str());
    EXPECT_EQ(OBZ_ERR_FAILED, dispose(target));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(Dispose, ATargetDeviceNeedsNoPrivateData)
{
    CNode target(targetName("S1", "KSV_Check_Point_77").c_str());
    EXPECT_EQ(OBZ_OK, plugin().dispose(nullptr, target.get(), nullptr, OBZ_DISP_REMOVE));
    EXPECT_EQ(2u, m_scenario.takeCommands().size());
}

}  // namespace cdpfi

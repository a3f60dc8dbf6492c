#include "providers/cdp/tests/plugin_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* LIST_OF_IMAGES = "server1: list timeimages \"cg1\"";

class ImportTree : public CPluginTest
{
  protected:
    ImportTree()
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1"}}});
        m_scenario.addDisk("/dev/sda", "S1");
        m_scenario.writeState("server1/ann.cg1.KSV_Check_Point_77", "");
        start();
    }
    void setPrimaryUp()
    {
        ASSERT_EQ(OBZ_OK, initNode(m_primary));
        m_trace.clear();
    }
    CCDPPrivateData& primaryData() { return *plugin().GetPrivateData(m_primary.get()); }
    int32_t importTree(const std::string& name)
    {
        CNode input(name.c_str());
        return plugin().importTreeNode(m_primary.get(), &input->identity, &m_output, 0, nullptr);
    }
    void makeImage()
    {
        ASSERT_EQ(OBZ_OK, importTree(m_target));
        primaryData().m_timeImage = "KSV_Time_Image_77";
        m_scenario.takeCommands();
        m_trace.clear();
    }
    /// Compares the name of the identity that was handed out, which is the caller's.
    void expectOutput(const char* name)
    {
        ASSERT_NE(nullptr, m_output);
        EXPECT_STREQ(name, m_output->name);
        obzx_free_objid(m_output);
    }

    CNode m_primary{"<cdpfi>S1"};
    const std::string m_target = targetName("S1", "KSV_Check_Point_77");
    obzx_objid* m_output = reinterpret_cast<obzx_objid*>(this);
};

}  // namespace

TEST_F(ImportTree, WithoutAnImageOneIsMadeAndTheOutputStaysNull)
{
    setPrimaryUp();
    EXPECT_EQ(OBZ_OK, importTree(m_target));
    expectTrace();
    EXPECT_EQ(nullptr, m_output);
    EXPECT_TRUE(m_scenario.hasState("server1/ti.cg1.KSV_Time_Image_77"));
}

TEST_F(ImportTree, WithAnImageTheOutputIsTheDevicePathThatShowsIt)
{
    setPrimaryUp();
    makeImage();
    EXPECT_EQ(OBZ_OK, importTree(m_target));
    expectTrace();
    expectOutput("/dev/imageS1");
    EXPECT_EQ(CString("S1"), primaryData().m_serialNo) << "there is no target to store the LUN in";
}

TEST_F(ImportTree, ADevicePathIsServedByTheImageThatThePrimaryNames)
{
    setPrimaryUp();
    makeImage();
    EXPECT_EQ(OBZ_OK, importTree("/dev/imageS1"));
    expectTrace();
    expectOutput("/dev/imageS1");
}

TEST_F(ImportTree, APrimaryWithoutPrivateDataIsImportedByNameAndHandedOut)
{
    EXPECT_EQ(OBZ_OK, importTree("/dev/sda"));
    expectTrace("imported");
    EXPECT_EQ(m_primary->identity, m_output);
    EXPECT_THAT(m_scenario.takeCommands(), SizeIs(1));
    m_trace.clear();
    EXPECT_EQ(OBZ_ERR_FAILED, importTree("/dev/unknown"));
    expectTrace("fails");
    EXPECT_EQ(nullptr, m_output);
}

TEST_F(ImportTree, InvalidInputIsRefused)
{
    CNode input("/dev/sda");
    obzx_objid nameless{};
    obzx_objid* none = nullptr;
    obzx_objid* withoutName = &nameless;
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().importTreeNode(nullptr, &input->identity, &m_output, 0, nullptr));
    expectTrace();
    EXPECT_EQ(nullptr, m_output);
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().importTreeNode(m_primary.get(), nullptr, &m_output, 0, nullptr));
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().importTreeNode(m_primary.get(), &none, &m_output, 0, nullptr));
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().importTreeNode(m_primary.get(), &withoutName, &m_output, 0, nullptr));
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().importTreeNode(m_primary.get(), &input->identity, nullptr, 0, nullptr));
}

TEST_F(ImportTree, ACheckPointWithoutAnImageFails)
{
    setPrimaryUp();
    primaryData().m_timeImage = "KSV_Time_Image_78";
    EXPECT_EQ(OBZ_ERR_FAILED, importTree(targetName("S1", "KSV_Check_Point_78")));
    expectTrace();
    EXPECT_EQ(nullptr, m_output);
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre(LIST_OF_IMAGES));
    EXPECT_EQ(OBZ_ERR_FAILED, importTree(m_target));
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty()) << "the state speaks of another checkpoint";
}

TEST_F(ImportTree, AnImageThatAnotherProcessMadeIsFoundUnderADevicePath)
{
    setPrimaryUp();
    m_scenario.addTimeImage("server1", "cg1", "KSV_Time_Image_77", {"S1"});
    primaryData().m_timeImage = "KSV_Time_Image_77";
    EXPECT_EQ(OBZ_OK, importTree("/dev/sda"));
    expectTrace();
    expectOutput("/dev/imageS1");
}

TEST_F(ImportTree, AnImageThatAnotherProcessMadeIsFoundUnderATargetDeviceName)
{
    setPrimaryUp();
    m_scenario.addTimeImage("server1", "cg1", "KSV_Time_Image_77", {"S1"});
    primaryData().m_timeImage = "KSV_Time_Image_77";
    EXPECT_EQ(OBZ_OK, importTree(m_target));
    expectTrace();
    expectOutput("/dev/imageS1");
}

TEST_F(ImportTree, ATransportableOrIntendedPrimaryIsNotImported)
{
    setPrimaryUp();
    primaryData().setTransportable(true);
    EXPECT_EQ(OBZ_OK, importTree(m_target));
    expectTrace("transportable");
    primaryData().setTransportable(false);
    primaryData().setIntent(OBZ_INTENT_DEPORT);
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, importTree(m_target));
    expectTrace("intended");
    EXPECT_EQ(nullptr, m_output);
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(ImportTree, ANameThatCannotBeImportedFails)
{
    setPrimaryUp();
    EXPECT_EQ(OBZ_ERR_FAILED, importTree("/dev/unknown"));
    expectTrace();
}

TEST_F(ImportTree, AnApplianceGroupOrImageThatTheStateNamesInVainFails)
{
    setPrimaryUp();
    primaryData().m_timeImage = "KSV_Time_Image_1";
    EXPECT_EQ(OBZ_ERR_FAILED, importTree("/dev/sda"));
    expectTrace("image");
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre(LIST_OF_IMAGES));
    m_trace.clear();
    primaryData().m_consistencyGroup = "cg9";
    EXPECT_EQ(OBZ_ERR_FAILED, importTree("/dev/sda"));
    expectTrace("group");
    primaryData().m_applianceName = "server9";
    EXPECT_EQ(OBZ_ERR_FAILED, importTree("/dev/sda"));
    expectTrace("appliance");
    EXPECT_EQ(nullptr, m_output);
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(ImportTree, ATargetDeviceNameThatLeadsNowhereFails)
{
    setPrimaryUp();
    primaryData().m_timeImage = "KSV_Time_Image_77";
    EXPECT_EQ(OBZ_ERR_FAILED, importTree("<cdpfi>"));
    expectTrace("prefix_only");
    EXPECT_EQ(OBZ_ERR_FAILED, importTree(targetName("S9", "KSV_Check_Point_77")));
    expectTrace("unclaimed");
    EXPECT_EQ(nullptr, m_output);
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(ImportTree, ALunThatNeverShowsUpFailsAndTheOutputStaysNull)
{
    setPrimaryUp();
    makeImage();
    m_scenario.writeState("delay", "100");
    EXPECT_EQ(OBZ_ERR_FAILED, importTree(m_target));
    expectTrace();
    EXPECT_EQ(nullptr, m_output);
}

TEST_F(ImportTree, AFailedListingDuringTheImportFailsWithTheTraceOfAnException)
{
    setPrimaryUp();
    makeImage();
    m_scenario.refuse("kforutil listdisk");
    EXPECT_EQ(OBZ_ERR_FAILED, importTree(m_target));
    expectTrace();
    EXPECT_EQ(nullptr, m_output);
}

TEST_F(ImportTree, WithoutMemoryForTheIdentityTheOutputStaysNull)
{
    setPrimaryUp();
    makeImage();
    CNode input(m_target.c_str());
    const CMemoryFault fault(CMemoryFault::EKind::C_FUNCTION, 0);
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().importTreeNode(m_primary.get(), &input->identity, &m_output, 0, nullptr));
    EXPECT_TRUE(fault.happened());
    EXPECT_EQ(nullptr, m_output);
}

}  // namespace cdpfi

#include "providers/cdp/tests/plugin_fixture.h"
#include "providers/cdp/tests/support/memory_faults.h"

namespace cdpfi {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* LIST_OF_IMAGES = "server1: list timeimages \"cg1\"";

class InitAltNode : public CPluginTest
{
  protected:
    InitAltNode()
    {
        m_scenario.addAppliance("server1", {{"cg1", {"S1", "S2"}}});
        m_scenario.addDisk("/dev/sda", "S1");
        m_scenario.writeState("server1/ann.cg1.KSV_Check_Point_77", "");
        start();
        EXPECT_EQ(OBZ_OK, initNode(m_primary));
        primaryData().m_checkPointName = "KSV_Check_Point_77";
        m_trace.clear();
    }
    CCDPPrivateData& primaryData() { return *plugin().GetPrivateData(m_primary.get()); }
    CCDPPrivateData& targetData(CNode& target) { return *plugin().GetPrivateData(target.get()); }
    int32_t initAltNode(CNode& target, bool isRemote = false)
    {
        return plugin().initAltNode(m_primary.get(), nullptr, target.get(), isRemote);
    }
    /// The image of checkpoint 77, made by a first call; the second one is to find it.
    void makeImage(CNode& target)
    {
        ASSERT_EQ(OBZ_OK, initAltNode(target));
        primaryData().m_timeImage = "KSV_Time_Image_77";
        m_scenario.takeCommands();
        m_trace.clear();
    }
    /// The same image, which only the appliance knows of.
    void letAnotherProcessMakeTheImage()
    {
        m_scenario.addTimeImage("server1", "cg1", "KSV_Time_Image_77", {"S1", "S2"});
        primaryData().m_timeImage = "KSV_Time_Image_77";
    }
    void expectImportOfAListedImage(CNode& target)
    {
        EXPECT_STREQ("/dev/imageS1", target->identity->name);
        EXPECT_EQ(CString("TS1"), targetData(target).m_serialNo);
        EXPECT_THAT(m_scenario.takeCommands(),
                    ElementsAre(LIST_OF_IMAGES, "server1: show timeimage \"KSV_Time_Image_77\" \"cg1\"",
                                "kforutil discover", "kforutil listdisk"));
    }

    CNode m_primary{"<cdpfi>S1"};
    const std::string m_target = targetName("S1", "KSV_Check_Point_77");
};

}  // namespace

TEST_F(InitAltNode, ATargetWithoutAnImageGetsOneAndTheStateOfThePrimary)
{
    CNode target(m_target.c_str());
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    expectTrace();
    EXPECT_EQ(4098, target->value);
    const CCDPPrivateData& data = targetData(target);
    EXPECT_TRUE(data.getIsAltNode());
    EXPECT_EQ(CString("Lumora"), data.m_applianceType);
    EXPECT_EQ(CString("server1"), data.m_applianceName);
    EXPECT_EQ(CString("cg1"), data.m_consistencyGroup);
    EXPECT_EQ(CString("KSV_Check_Point_77"), data.m_checkPointName);
    EXPECT_EQ(CString(""), data.m_serialNo);
    EXPECT_STREQ(m_target.c_str(), target->identity->name) << "the device path is known after the next call";
    EXPECT_TRUE(m_scenario.hasState("server1/ti.cg1.KSV_Time_Image_77"));
}

TEST_F(InitAltNode, WithAnImageTheTargetGetsTheDevicePathThatShowsIt)
{
    CNode target(m_target.c_str());
    makeImage(target);
    target->value = 1;
    obzx_objid* const former = target->identity;
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    expectTrace();
    EXPECT_NE(former, target->identity);
    EXPECT_STREQ("/dev/imageS1", target->identity->name);
    EXPECT_EQ(CString("TS1"), targetData(target).m_serialNo);
    EXPECT_EQ(CString("KSV_Time_Image_77"), targetData(target).m_timeImage);
    EXPECT_EQ(4099, target->value) << "the node value is or-ed in";
}

TEST_F(InitAltNode, ATargetDeviceIsNamedBehindThePrefixWhereverThatIs)
{
    CNode first(m_target.c_str());
    makeImage(first);
    CNode target(("<DeviceID>S9<DeviceID/>" + m_target).c_str());
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    EXPECT_STREQ("/dev/imageS1", target->identity->name);
}

TEST_F(InitAltNode, ADevicePathIsServedByTheImageThatThePrimaryNames)
{
    CNode first(m_target.c_str());
    makeImage(first);
    CNode target("/dev/imageS1");
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    expectTrace();
    EXPECT_STREQ("/dev/imageS1", target->identity->name);
    EXPECT_EQ(CString("TS1"), targetData(target).m_serialNo);
}

class ALunShowsUpLate : public InitAltNode, public testing::WithParamInterface<int>
{
};

TEST_P(ALunShowsUpLate, AndIsFoundAtTheNextPass)
{
    CNode target(m_target.c_str());
    makeImage(target);
    const int rescans = GetParam();
    m_scenario.writeState("delay", std::to_string(rescans));
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    expectTrace();
    EXPECT_STREQ("/dev/imageS1", target->identity->name);
    EXPECT_EQ(2u * static_cast<size_t>(rescans), m_scenario.takeCommands().size()) << "each a discover and a listing";
}

INSTANTIATE_TEST_SUITE_P(Passes, ALunShowsUpLate, testing::Values(1, 2, 3, 4),
                         [](const auto& rescans) { return "After" + std::to_string(rescans.param); });

TEST_F(InitAltNode, ALunThatNeverShowsUpFailsAfterFourRescans)
{
    CNode target(m_target.c_str());
    makeImage(target);
    m_scenario.writeState("delay", "100");
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    expectTrace();
    EXPECT_EQ(8u, m_scenario.takeCommands().size());
    EXPECT_STREQ(m_target.c_str(), target->identity->name);
    EXPECT_EQ(CString("TS1"), targetData(target).m_serialNo) << "nothing is undone";
}

TEST_F(InitAltNode, ANullTargetIsInvalid)
{
    EXPECT_EQ(OBZ_ERR_INVALID_ARG, plugin().initAltNode(m_primary.get(), nullptr, nullptr, false));
    expectTrace();
}

TEST_F(InitAltNode, APrimaryWithoutPrivateDataFails)
{
    CNode target(m_target.c_str());
    CNode fresh("<cdpfi>S2");
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().initAltNode(fresh.get(), nullptr, target.get(), false));
    expectTrace();
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().initAltNode(nullptr, nullptr, target.get(), false));
}

TEST_F(InitAltNode, ATargetIsMarkedAsTheProvidersWhateverThePrimaryIs)
{
    CNode target(m_target.c_str());
    target->value = 1;
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().initAltNode(nullptr, nullptr, target.get(), false));
    EXPECT_EQ(1 | 4098, target->value) << "what the host noted there stays";
}

TEST_F(InitAltNode, ATargetWithoutANameFails)
{
    obz_domain nameless{};
    EXPECT_EQ(OBZ_ERR_FAILED, plugin().initAltNode(m_primary.get(), nullptr, &nameless, false));
    expectTrace();
}

TEST_F(InitAltNode, ARemoteTransportableOrIntendedNodeOnlyGetsTheState)
{
    CNode remote("remote");
    EXPECT_EQ(OBZ_OK, initAltNode(remote, true));
    expectTrace("remote");
    EXPECT_EQ(CString("server1"), targetData(remote).m_applianceName);
    primaryData().setTransportable(true);
    CNode transportable("transportable");
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, initAltNode(transportable));
    expectTrace("transportable");
    primaryData().setTransportable(false);
    primaryData().setIntent(OBZ_INTENT_DEPORT);
    CNode intended("intended");
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, initAltNode(intended));
    expectTrace("intended");
    primaryData().setIntent(OBZ_INTENT_NONE);
    targetData(transportable).setTransportable(true);
    EXPECT_EQ(OBZ_OK, initAltNode(transportable));
    targetData(intended).setIntent(OBZ_INTENT_DEPORT);
    EXPECT_EQ(OBZ_OK, initAltNode(intended));
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(InitAltNode, ATargetThatCannotBeImportedFails)
{
    CNode target("<cdpfi>");
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    expectTrace();
}

TEST_F(InitAltNode, AnApplianceGroupOrImageThatTheStateNamesInVainFails)
{
    CNode target("/dev/sda");
    primaryData().m_timeImage = "KSV_Time_Image_1";
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    expectTrace("image");
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre(LIST_OF_IMAGES));
    m_trace.clear();
    primaryData().m_consistencyGroup = "cg9";
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    expectTrace("group");
    primaryData().m_applianceName = "server9";
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    expectTrace("appliance");
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(InitAltNode, ATargetDeviceNameThatLeadsNowhereFails)
{
    primaryData().m_timeImage = "KSV_Time_Image_77";
    CNode tagOnly("<cdpfi>");
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(tagOnly));
    expectTrace("prefix_only");
    CNode unclaimed(targetName("S9", "KSV_Check_Point_77").c_str());
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(unclaimed));
    expectTrace("unclaimed");
    CNode noImage(targetName("S1", "KSV_Check_Point_78").c_str());
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(noImage));
    expectTrace("no_image_of_checkpoint");
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(InitAltNode, AnImageThatAnotherProcessMadeIsFoundUnderADevicePath)
{
    letAnotherProcessMakeTheImage();
    CNode target("/dev/sda");
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    expectTrace();
    expectImportOfAListedImage(target);
}

TEST_F(InitAltNode, AnImageThatAnotherProcessMadeIsFoundUnderATargetDeviceName)
{
    letAnotherProcessMakeTheImage();
    CNode target(m_target.c_str());
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    expectTrace();
    EXPECT_EQ(CString("KSV_Time_Image_77"), targetData(target).m_timeImage);
    expectImportOfAListedImage(target);
}

TEST_F(InitAltNode, TheNameOfTheImageGoesFromThePrimaryToTheTarget)
{
    primaryData().m_timeImage = "KSV_Time_Image_5";
    CNode target(m_target.c_str());
    EXPECT_EQ(OBZ_OK, initAltNode(target, true));
    EXPECT_EQ(CString("KSV_Time_Image_5"), targetData(target).m_timeImage);
}

TEST_F(InitAltNode, TheNameOfTheImageThatIsFoundGoesIntoBothStates)
{
    CNode first(m_target.c_str());
    makeImage(first);
    primaryData().m_timeImage = "KSV_Time_Image_5";  // of an earlier checkpoint
    CNode target(m_target.c_str());
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    EXPECT_EQ(CString("KSV_Time_Image_77"), primaryData().m_timeImage);
    EXPECT_EQ(CString("KSV_Time_Image_77"), targetData(target).m_timeImage);
}

TEST_F(InitAltNode, AnImageThatIsKnownByNowIsNotListedAgain)
{
    letAnotherProcessMakeTheImage();
    CNode first(m_target.c_str());
    ASSERT_EQ(OBZ_OK, initAltNode(first));
    m_scenario.takeCommands();
    CNode target(targetName("S2", "KSV_Check_Point_77").c_str());
    CNode device("/dev/sda");
    EXPECT_EQ(OBZ_OK, initAltNode(target)) << "no checkpoint is known to have become the image; its name is enough";
    EXPECT_EQ(OBZ_OK, initAltNode(device));
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
}

TEST_F(InitAltNode, AnImageThatThisProcessMadeIsNotLookedForInTheList)
{
    CNode target(m_target.c_str());
    makeImage(target);
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre("kforutil discover", "kforutil listdisk"));
}

TEST_F(InitAltNode, ATargetDeviceWhoseImageTheListDoesNotHoldEitherFails)
{
    m_scenario.addTimeImage("server1", "cg1", "KSV_Time_Image_78", {"S1"});
    primaryData().m_timeImage = "KSV_Time_Image_77";
    CNode target(m_target.c_str());
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    expectTrace();
    EXPECT_STREQ(m_target.c_str(), target->identity->name);
    EXPECT_THAT(m_scenario.takeCommands(),
                ElementsAre(LIST_OF_IMAGES, "server1: show timeimage \"KSV_Time_Image_78\" \"cg1\""));
}

TEST_F(InitAltNode, AListThatIsRefusedIsAskedForOnceAndTheImportFails)
{
    m_scenario.addTimeImage("server1", "cg1", "KSV_Time_Image_77", {"S1"});
    m_scenario.refuse("*list timeimages*");
    primaryData().m_timeImage = "KSV_Time_Image_77";
    CNode target(m_target.c_str());
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    expectTrace();
    EXPECT_THAT(m_scenario.takeCommands(), ElementsAre(LIST_OF_IMAGES));
    m_scenario.refuseNothing();
    EXPECT_EQ(OBZ_OK, initAltNode(target)) << "the next call asks again";
    EXPECT_STREQ("/dev/imageS1", target->identity->name);
}

TEST_F(InitAltNode, AListedImageThatCannotBeShownFailsAndIsAskedForAgainByTheNextCall)
{
    m_scenario.addTimeImage("server1", "cg1", "KSV_Time_Image_77", {"S1"});
    m_scenario.refuse("*show timeimage*");
    primaryData().m_timeImage = "KSV_Time_Image_77";
    CNode target("/dev/sda");
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    expectTrace();
    m_scenario.refuseNothing();
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    EXPECT_STREQ("/dev/imageS1", target->identity->name);
}

TEST_F(InitAltNode, OnlyTheImageOfTheNamesOwnCheckpointIsLookedForInTheList)
{
    m_scenario.addTimeImage("server1", "cg1", "KSV_Time_Image_77", {"S1"});
    m_scenario.addTimeImage("server1", "cg1", "KSV_Time_Image_78", {"S1"});
    CNode target(m_target.c_str());
    for (const char* image : {"KSV_Time_Image_78", "KSV_Time_Image_7", "KSV_Time_Image_777", "ksv_time_image_77"}) {
        primaryData().m_timeImage = image;
        EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target)) << image;
    }
    EXPECT_THAT(m_scenario.takeCommands(), IsEmpty());
    EXPECT_STREQ(m_target.c_str(), target->identity->name);
}

TEST_F(InitAltNode, WithoutAnImageInTheStateNoListIsAskedFor)
{
    CNode target(m_target.c_str());
    ASSERT_EQ(OBZ_OK, initAltNode(target));
    EXPECT_EQ(OBZ_OK, initAltNode(target)) << "the image of this process is there";
    const std::vector<std::string> commands = m_scenario.takeCommands();
    EXPECT_THAT(commands, testing::Not(testing::Contains(LIST_OF_IMAGES)));
    EXPECT_EQ(2u, commands.size()) << "create and show";
}

TEST_F(InitAltNode, WithoutMemoryForTheIdentityTheTargetKeepsItsOwn)
{
    CNode target(m_target.c_str());
    makeImage(target);
    obzx_objid* const former = target->identity;
    const CMemoryFault fault(CMemoryFault::EKind::C_FUNCTION, 0);
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    EXPECT_TRUE(fault.happened());
    EXPECT_EQ(former, target->identity);
}

TEST_F(InitAltNode, AFailedListingDuringTheImportFailsWithTheTraceOfAnException)
{
    CNode target(m_target.c_str());
    makeImage(target);
    m_scenario.refuse("kforutil listdisk");
    EXPECT_EQ(OBZ_ERR_FAILED, initAltNode(target));
    expectTrace();
}

TEST_F(InitAltNode, AnImportMayBeRepeated)
{
    CNode target(m_target.c_str());
    makeImage(target);
    ASSERT_EQ(OBZ_OK, initAltNode(target));
    obzx_objid* const imported = target->identity;
    m_trace.clear();
    EXPECT_EQ(OBZ_OK, initAltNode(target));
    expectTrace();
    EXPECT_EQ(imported, target->identity) << "the path is the name already";
}

TEST_F(InitAltNode, ReplacingTheIdentityLeavesNoPrivateDataBehind)
{
    CNode target(m_target.c_str());
    makeImage(target);
    ASSERT_EQ(OBZ_OK, initAltNode(target));
    EXPECT_EQ(OBZ_OK, plugin().deInitNode(target.get()));
    const auto manager =
        obzx_pdk_4_4::CFiContextSingleton<obzx_pdk_4_4::CFiPrivateDataManager, FI_PLUGIN_NAME>::instance(false);
    EXPECT_THAT(manager->getFactory()->getPrivateDataList(true), IsEmpty());
}

}  // namespace cdpfi

// Time images, hosts and volumes.

#include "providers/cdp/lmr/lmr_host.h"
#include "providers/cdp/lmr/lmr_timeimage.h"
#include "providers/cdp/lmr/lmr_volume.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"

namespace cdpfi {
namespace {

class TimeImage : public CFakeToolTest
{
  protected:
    TimeImage()
    {
        setUpTool();
        setScenario("exit 0\n");
    }

    CTimeImagePtr makeImage() const
    {
        const CTimeImagePtr image(new CLMRTimeImage("ti1"));
        image->registerTraceLog(log());
        image->setApplianceName("alpha");
        image->setConsistencyGroup(makeGroup("cg1"));
        return image;
    }
    /// Grants an image that was granted to m_host before, and compares what that does.
    void grantOnceMore(const char* host)
    {
        const CTimeImagePtr image = makeImage();
        image->mapHost(m_host);
        forget();
        image->mapHost(CHostPtr(new CLMRHost(host)));
        expectCall();
    }
    const CHostPtr m_host{new CLMRHost("backup01")};
};

TEST_F(TimeImage, GrantIsSentAndTraced)
{
    makeImage()->mapHost(m_host);
    expectCall();
}

TEST_F(TimeImage, SecondGrantToTheSameHostIsNotSent)
{
    grantOnceMore("backup01");
}

TEST_F(TimeImage, GrantAfterAFailedOneIsSentAgain)
{
    setScenario("times 1\nexit 2\nexit 0\n");
    const CTimeImagePtr image = makeImage();
    image->mapHost(m_host);
    expectCall("failed");
    image->mapHost(m_host);
    expectCall("again");
}

TEST_F(TimeImage, AnotherHostIsGrantedToo)
{
    grantOnceMore("backup02");
}

TEST_F(TimeImage, NothingIsSentWithoutAHostOrAGroup)
{
    const CTimeImagePtr image = makeImage();
    image->mapHost({});
    image->setConsistencyGroup({});
    image->mapHost(m_host);
    expectCall();
}

TEST_F(TimeImage, WithdrawingDoesNothing)
{
    makeImage()->unmapHost(m_host);
    expectCall();
}

TEST_F(TimeImage, DeviceEntryReplacesTheTargetOfItsSource)
{
    const CTimeImagePtr image = makeImage();
    image->addDeviceEntry("S2", "T2");
    image->addDeviceEntry("S1", "T1");
    image->addDeviceEntry("S2", "T3");
    const std::map<CString, CString> expected = {{"S1", "T1"}, {"S2", "T3"}};
    EXPECT_TRUE(expected == image->getTargetDeviceMap());
    EXPECT_STREQ("ti1", image->getName().c_str());
}

TEST_F(TimeImage, TargetOfASourceIsWhatTheMapHolds)
{
    const CTimeImagePtr image = makeImage();
    image->addDeviceEntry("S1", "T1");
    image->addDeviceEntry("S2", "T2");
    EXPECT_STREQ("T1", image->getTargetDevice("S1").c_str());
    EXPECT_STREQ("T2", image->getTargetDevice("S2").c_str());
    EXPECT_STREQ("", image->getTargetDevice("S").c_str());
    EXPECT_STREQ("", image->getTargetDevice("").c_str());
}

TEST_F(TimeImage, GroupIsHeldUntilAnotherOneIsSet)
{
    const CTimeImagePtr image = makeImage();
    const CGroupPtr first = makeGroup("a");
    image->setConsistencyGroup(first);
    image->setConsistencyGroup(first);
    EXPECT_EQ(2, first->getCount());
    image->setConsistencyGroup(makeGroup("b"));
    EXPECT_EQ(1, first->getCount());
}

TEST(ApplianceHost, StartsWithItsNameOrEmpty)
{
    CLMRHost host("h");
    EXPECT_STREQ("h", host.getName().c_str());
    EXPECT_STREQ("", host.getPortNumber().c_str());
    EXPECT_TRUE(host.getConsGroupList().empty());
    EXPECT_STREQ("", CLMRHost().getName().c_str());
}

TEST(ApplianceHost, PortIsReplacedAndRemovingLeavesIt)
{
    CLMRHost host("h");
    EXPECT_EQ(1, host.addPortNumber("1"));
    EXPECT_EQ(1, host.addPortNumber("2"));
    EXPECT_EQ(1, host.removePort("2"));
    EXPECT_STREQ("2", host.getPortNumber().c_str());
    host.showHostDetail();
    EXPECT_STREQ("h", host.getName().c_str());
}

TEST(ApplianceHost, PropertyOfAGroupIsAppendedAndNoOther)
{
    std::vector<CString> groups = {"old"};
    setProp({"Consistency Group:", "G"}, "", groups);
    setProp({"Consistency Group: more", "H", "I"}, "", groups);
    setProp({" Consistency Group:", "X"}, "", groups);
    setProp({"Consistency Group", "X"}, "", groups);
    setProp({"", "X"}, "", groups);
    setProp({"Consistency Group:"}, "", groups);
    setProp({}, "", groups);
    const std::vector<CString> expected = {"old", "G", "H"};
    EXPECT_TRUE(expected == groups);
}

TEST(ApplianceHost, ParsingAGroupChangesNothing)
{
    CString group = "g";
    std::vector<CString> pieces = {"p"};
    std::vector<CString> groups = {"q"};
    parseConsgp("Consistency Group: x", group, pieces, groups);
    EXPECT_STREQ("g", group.c_str());
    EXPECT_EQ(1U, pieces.size());
    EXPECT_EQ(1U, groups.size());
}

TEST(Volume, HoldsItsName)
{
    CLMRVolume volume("v");
    EXPECT_STREQ("v", volume.getName().c_str());
    volume.setName("w");
    EXPECT_STREQ("w", volume.getName().c_str());
    EXPECT_STREQ("", volume.getSize().c_str());
    EXPECT_STREQ("", volume.getSerNo().c_str());
    EXPECT_TRUE(volume.getConsGroupList().empty());
    EXPECT_STREQ("", CLMRVolume().getName().c_str());
}

}  // namespace
}  // namespace cdpfi

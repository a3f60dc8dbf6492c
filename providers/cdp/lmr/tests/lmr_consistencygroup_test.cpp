#include "providers/cdp/lmr/lmr_consistencygroup.h"

#include "providers/cdp/lmr/lmr_host.h"
#include "providers/cdp/lmr/lmr_timeimage.h"
#include "providers/cdp/lmr/tests/answers.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"

namespace cdpfi {
namespace {

using namespace obzx_pdk_4_4;
using CLines = std::vector<std::string>;

const std::string IMAGE =
    answers::timeImage("image", {{{"/dev/t1", "T1"}, {"/dev/s1", "S1"}}, {{"/dev/t2", "T2"}, {"/dev/s2", "S2"}}});

class ConsistencyGroup : public CFakeToolTest
{
  protected:
    ConsistencyGroup() : m_group(makeGroup("cg1"))
    {
        setUpTool();
        setUpDevices();
    }
    /// A time image of the group, made of a checkpoint.
    CTimeImagePtr addImage(const char* name, const char* checkpoint, const std::string& listing = IMAGE)
    {
        setScenario(answerTo(" show  timeimage ", listing) + "exit 0\n");
        const CTimeImagePtr image = m_group->createTimeImage(name, checkpoint, m_host);
        forget();
        return image;
    }
    CLines imageNames() const
    {
        CLines names;
        for (const auto& [name, image] : m_group->getTimeImageList()) {
            names.emplace_back(name.c_str());
        }
        return names;
    }

    const CGroupPtr m_group;
    const CHostPtr m_host{new CLMRHost("backup01")};
};

TEST_F(ConsistencyGroup, HoldsItsNameAndDevices)
{
    m_group->addDevice("d1", "S1");
    m_group->addDevice("d1", "S1");
    m_group->addDevice("", "");
    const auto devices = m_group->getDeviceList();
    ASSERT_EQ(3U, devices.size());
    EXPECT_STREQ("d1", devices[1].m_device.c_str());
    EXPECT_STREQ("S1", devices[1].m_serial.c_str());
    EXPECT_STREQ("cg1", m_group->getName().c_str());
    EXPECT_TRUE(m_group->getVolList().empty());
    EXPECT_TRUE(m_group->getTimeImageList().empty());
}

TEST_F(ConsistencyGroup, PlaceholdersChangeNothing)
{
    addImage("ti1", "cp1");
    EXPECT_STREQ("", m_group->insertCheckPoint("cp2", "ti1").c_str());
    EXPECT_TRUE(m_group->enumerateCheckPoint().empty());
    m_group->restoreCurrentStore({});
    expectCall();
    EXPECT_FALSE(m_group->getTimeImageFromCheckPoint("cp2"));
    EXPECT_TRUE(m_group->getTimeImageFromCheckPoint("cp1"));
    EXPECT_EQ((CLines{"ti1"}), imageNames());
}

TEST_F(ConsistencyGroup, CheckpointIsCreated)
{
    setScenario("exit 0\n");
    EXPECT_EQ(0, m_group->createCheckPoint("cp1"));
    expectCall();
    EXPECT_FALSE(m_group->getTimeImageFromCheckPoint("cp1"));
}

TEST_F(ConsistencyGroup, FailedCheckpointIsReportedWithItsCommand)
{
    setScenario("exit 4\n");
    EXPECT_EQ(11, m_group->createCheckPoint("cp1"));
    expectCall();
}

TEST_F(ConsistencyGroup, DeletedCheckpointIsForgottenAlsoWhenTheCommandFails)
{
    addImage("ti1", "cp1");
    addImage("ti2", "cp2");
    setScenario("times 1\nexit 0\nexit 1\n");
    EXPECT_EQ(0, m_group->deleteCheckPoint("cp1"));
    expectCall("deleted");
    EXPECT_EQ(0, m_group->deleteCheckPoint("cp2"));
    expectCall("failed");
    EXPECT_FALSE(m_group->getTimeImageFromCheckPoint("cp1"));
    EXPECT_FALSE(m_group->getTimeImageFromCheckPoint("cp2"));
    EXPECT_TRUE(m_group->getTimeImage("ti1"));
    EXPECT_EQ(0, m_group->deleteCheckPoint("unknown"));
}

TEST_F(ConsistencyGroup, TimeImageIsCreatedShownAndRemembered)
{
    addImage("ti0", "cp0");
    setScenario(answerTo(" show  timeimage ", IMAGE) + "exit 0\n");
    const CTimeImagePtr image = m_group->createTimeImage("ti1", "cp1", m_host);
    ASSERT_TRUE(image);
    EXPECT_STREQ("ti1", image->getName().c_str());
    const std::map<CString, CString> targets = {{"S1", "T1"}, {"S2", "T2"}};
    EXPECT_TRUE(targets == image->getTargetDeviceMap());
    EXPECT_EQ(image, m_group->getTimeImage("ti1"));
    EXPECT_EQ(image, m_group->getTimeImageFromCheckPoint("cp1"));
    expectCall();
}

TEST_F(ConsistencyGroup, FailedTimeImageLeavesBothMapsUnchanged)
{
    setScenario("exit 1\n");
    EXPECT_FALSE(m_group->createTimeImage("ti1", "cp1", m_host));
    expectCall();
    EXPECT_EQ(CLines(), imageNames());
    addImage("ti1", "cp2");
    EXPECT_FALSE(m_group->getTimeImageFromCheckPoint("cp1"));
}

TEST_F(ConsistencyGroup, TimeImageWithoutALunSectionKeepsTheCheckpointEntry)
{
    setScenario(answerTo(" show  timeimage ", "Name: x\nnothing\n") + "exit 0\n");
    EXPECT_FALSE(m_group->createTimeImage("ti1", "cp1", m_host));
    EXPECT_EQ(CLines(), imageNames());
    expectCall();
    // Only the checkpoint's entry can make the next image of that name be found by the checkpoint.
    addImage("ti1", "cp2");
    EXPECT_TRUE(m_group->getTimeImageFromCheckPoint("cp1"));
}

TEST_F(ConsistencyGroup, TimeImageThatCannotBeShownKeepsTheCheckpointEntry)
{
    setScenario(answerTo(" show  timeimage ", "", 1) + "exit 0\n");
    EXPECT_FALSE(m_group->createTimeImage("ti1", "cp1", m_host));
    expectCall();
    EXPECT_EQ(CLines(), imageNames());
    addImage("ti1", "cp2");
    EXPECT_TRUE(m_group->getTimeImageFromCheckPoint("cp1"));
}

TEST_F(ConsistencyGroup, TimeImageNeedsAHost)
{
    setScenario("exit 0\n");
    EXPECT_FALSE(m_group->createTimeImage("ti1", "cp1", {}));
    m_group->mapHost({});
    m_group->unmapHost({});
    expectCall();
}

TEST_F(ConsistencyGroup, TimeImageObjectIsNotEnteredIntoTheMap)
{
    setScenario(answerTo(" show  timeimage ", IMAGE));
    EXPECT_TRUE(m_group->createTimeImageObject("ti1"));
    expectCall();
    EXPECT_EQ(CLines(), imageNames());
}

TEST_F(ConsistencyGroup, TimeImageObjectKnowsItsApplianceAndTheLogOfTheGroup)
{
    setScenario(answerTo(" show  timeimage ", IMAGE) + "exit 0\n");
    const CTimeImagePtr image = m_group->createTimeImageObject("ti1");
    EXPECT_EQ(log(), image->traceLog());
    takeSent();
    image->setConsistencyGroup(m_group);
    image->mapHost(m_host);
    EXPECT_EQ(
        "=== lmsh\nserver alpha\n update  timeimage \"ti1\" \"cg1\"\n add  permission \"backup01\"\n commit \nexit\n",
        takeSent());
}

TEST_F(ConsistencyGroup, FailedShowOfATimeImageGivesNone)
{
    setScenario(answerTo(" show  timeimage ", IMAGE, 1));
    EXPECT_FALSE(m_group->createTimeImageObject("ti1"));
    expectCall();
}

TEST_F(ConsistencyGroup, DifferentlyShapedLunLineFailsTheTimeImage)
{
    setScenario(answerTo(" show  timeimage ",
                         answers::timeImage("ti1", {{{"/dev/t1", "T1"}, {"/dev/s1", "S1"}}}) + "a [b] c\n"));
    EXPECT_FALSE(m_group->createTimeImageObject("ti1"));
    expectCall();
}

TEST_F(ConsistencyGroup, EmptyLunLineFailsTheTimeImage)
{
    setScenario(
        answerTo(" show  timeimage ", answers::timeImage("ti1", {{{"/dev/t1", "T1"}, {"/dev/s1", "S1"}}}) + "\n"));
    EXPECT_FALSE(m_group->createTimeImageObject("ti1"));
    expectCall();
}

TEST_F(ConsistencyGroup, TimeImageWithoutLunsIsWhole)
{
    setScenario(answerTo(" show  timeimage ", answers::timeImage("ti1", {})));
    const CTimeImagePtr image = m_group->createTimeImageObject("ti1");
    expectCall();
    ASSERT_TRUE(image);
    EXPECT_TRUE(image->getTargetDeviceMap().empty());
}

TEST_F(ConsistencyGroup, TimeImagesOfTheApplianceAreListed)
{
    setScenario(answerTo(" list  timeimages ", "ti1 2024-05-01\n\n  ti2\n") + answerTo("\"ti1\"", IMAGE) +
                answerTo("\"ti2\"", "broken\n"));
    m_group->populateTimeImageInformation();
    EXPECT_EQ((CLines{"ti1", "ti2"}), imageNames());
    EXPECT_TRUE(m_group->getTimeImage("ti1"));
    EXPECT_FALSE(m_group->getTimeImage("ti2"));
    expectCall();
    // An entry without an image is passed over.
    EXPECT_TRUE(m_group->getAssociatedTimeImage("T2"));
    EXPECT_FALSE(m_group->getAssociatedTimeImage("T3"));
    m_group->printMap(m_group->getTimeImageList());
}

TEST_F(ConsistencyGroup, ListOfThereAreNoneLeavesTheMapUnchanged)
{
    addImage("ti1", "cp1");
    setScenario(answerTo(" list  timeimages ", "  There are none!\n"));
    m_group->populateTimeImageInformation();
    expectCall();
    EXPECT_EQ((CLines{"ti1"}), imageNames());
}

TEST_F(ConsistencyGroup, NoneAmongOtherLinesIsAName)
{
    setScenario(answerTo(" list  timeimages ", "There are none!\nti2\n") + "exit 1\n");
    m_group->populateTimeImageInformation();
    expectCall();
    EXPECT_EQ((CLines{"There", "ti2"}), imageNames());
}

TEST_F(ConsistencyGroup, FailedListLeavesTheMap)
{
    addImage("ti1", "cp1");
    setScenario("exit 1\n");
    m_group->populateTimeImageInformation();
    expectCall();
    EXPECT_EQ((CLines{"ti1"}), imageNames());
}

TEST_F(ConsistencyGroup, DeletedTimeImageTakesOnlyItsFirstCheckpointAlong)
{
    addImage("ti1", "cpB");
    addImage("ti1", "cpA");
    addImage("ti2", "cp0");
    setScenario("exit 0\n");
    EXPECT_EQ(0, m_group->deleteTimeImage("ti1"));
    expectCall();
    EXPECT_EQ((CLines{"ti2"}), imageNames());
    addImage("ti1", "cpC");
    EXPECT_TRUE(m_group->getTimeImageFromCheckPoint("cpB"));
    EXPECT_FALSE(m_group->getTimeImageFromCheckPoint("cpA"));
}

TEST_F(ConsistencyGroup, DeletedTimeImageIsForgottenAlsoWhenTheCommandFails)
{
    addImage("ti1", "cp1");
    setScenario("exit 1\n");
    EXPECT_EQ(0, m_group->deleteTimeImage("ti1"));
    expectCall();
    EXPECT_FALSE(m_group->getTimeImage("ti1"));
    EXPECT_FALSE(m_group->getTimeImageFromCheckPoint("cp1"));
    EXPECT_EQ(0, m_group->deleteTimeImage(""));
}

TEST_F(ConsistencyGroup, HostPermissionsNameTheGroup)
{
    setScenario("exit 0\n");
    m_group->mapHost(m_host);
    expectCall("map");
    m_group->unmapHost(m_host);
    expectCall("unmap");
}

TEST_F(ConsistencyGroup, FailedHostPermissionsAreTraced)
{
    setScenario("exit 1\n");
    m_group->mapHost(m_host);
    expectCall("map");
    m_group->unmapHost(m_host);
    expectCall("unmap");
}

TEST_F(ConsistencyGroup, TimeImageOfATargetDeviceIsFound)
{
    addImage("ti1", "cp1");
    addImage("ti2", "cp2", answers::timeImage("ti2", {{{"/dev/t3", "T3"}, {"/dev/s1", "S1"}}}));
    const CTimeImagePtr image = m_group->getAssociatedTimeImage("T3");
    expectCall();  // the line of the match is written without its device
    EXPECT_EQ(m_group->getTimeImage("ti2"), image);
}

TEST_F(ConsistencyGroup, TimeImageSendsItsCommandsToTheApplianceOfItsGroup)
{
    const CTimeImagePtr image = addImage("ti1", "cp1");
    image->setConsistencyGroup(m_group);
    setScenario("exit 0\n");
    image->mapHost(m_host);
    EXPECT_THAT(takeSent(), testing::HasSubstr("server alpha\n"));
    image->setConsistencyGroup({});  // each would keep the other
}

TEST_F(ConsistencyGroup, OfTimeImagesThatShowTheSameSerialTheFirstByNameIsTaken)
{
    for (const char* const name : {"ti2", "ti1", "ti3"}) {
        addImage(name, name, answers::timeImage(name, {{{"/dev/t", "T"}, {"/dev/s", "S"}}}));
    }
    EXPECT_EQ(m_group->getTimeImage("ti1"), m_group->getAssociatedTimeImage("T"));
}

TEST_F(ConsistencyGroup, TimeImageOfAPathIsFoundByTheSerialOfThePath)
{
    addImage("ti1", "cp1");
    setScenario(answerTo("[listdisk]", answers::disks({{"/dev/t", "T2"}})));
    setUpDevices()->refresh(false);
    forget();
    EXPECT_TRUE(m_group->getAssociatedTimeImage("/dev/t"));
    expectCall();
}

TEST_F(ConsistencyGroup, UnknownPathMatchesOnlyAnEmptyTarget)
{
    addImage("ti1", "cp1");
    EXPECT_FALSE(m_group->getAssociatedTimeImage("/dev/unknown"));
    expectCall("no_match");
    const CTimeImagePtr image = addImage("ti2", "cp2", answers::timeImage("ti2", {{{"t", " "}, {"s", "S"}}}));
    ASSERT_TRUE(image);
    EXPECT_EQ(image, m_group->getAssociatedTimeImage("/dev/unknown"));
    expectCall("empty_target");
}

TEST_F(ConsistencyGroup, TextThatDoesNotBeginAsAPathIsItsOwnSerial)
{
    addImage("ti1", "cp1", answers::timeImage("ti1", {{{"t", "x/dev/y"}, {"s", "S"}}}));
    EXPECT_TRUE(m_group->getAssociatedTimeImage("x/dev/y"));
    expectCall();
}

TEST_F(ConsistencyGroup, LooksUpNoPathBeforeAnApplianceIsInitialized)
{
    CLMRAppliance::setCLMRDeviceManagerSingletonPtr({});
    EXPECT_FALSE(m_group->getAssociatedTimeImage("/dev/t"));
}

TEST_F(ConsistencyGroup, UnknownNamesFindNoTimeImage)
{
    addImage("ti1", "cp1");
    EXPECT_FALSE(m_group->getTimeImage("ti2"));
    EXPECT_FALSE(m_group->getTimeImageFromCheckPoint("cp2"));
}

TEST_F(ConsistencyGroup, MapIsPrintedInTheOrderOfItsNames)
{
    addImage("ti2", "cp2", answers::timeImage("ti2", {{{"t", "T9"}, {"s", "S9"}}, {{"t", "T8"}, {"s", "S8"}}}));
    addImage("ti10", "cp1");
    m_group->printMap(m_group->getTimeImageList());
    expectCall();
}

TEST_F(ConsistencyGroup, MapIsNotPrintedBelowItsLevel)
{
    addImage("ti1", "cp1");
    observe(2);
    m_group->printMap(m_group->getTimeImageList());
    EXPECT_TRUE(takeTrace().empty());
}

}  // namespace
}  // namespace cdpfi

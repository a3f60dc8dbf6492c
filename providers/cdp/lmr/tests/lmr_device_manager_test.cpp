#include "providers/cdp/lmr/lmr_device_manager.h"

#include "providers/cdp/lmr/tests/answers.h"
#include "providers/cdp/lmr/tests/fake_tool_fixture.h"

namespace cdpfi {
namespace {

using namespace obzx_pdk_4_4;
using CLines = std::vector<std::string>;

class DeviceManager : public CFakeToolTest
{
  protected:
    /// "path=serial" of each disk that shows a LUN, of those that the tests list.
    CLines table() const
    {
        CLines entries;
        for (const char* path : {"/dev/sda", "/dev/sdb", "/dev/sdc"}) {
            const CString serial = setUpDevices()->serialOf(path);
            if (!serial.is_empty()) entries.push_back(std::string(path) + "=" + serial.c_str());
        }
        return entries;
    }
    void refreshWith(const std::string& output)
    {
        setScenario(answerTo("[listdisk]", output));
        setUpDevices()->refresh(false);
    }
};

TEST_F(DeviceManager, ListingIsReadAndTraced)
{
    refreshWith(answers::disks({{"/dev/sdc", "S3"}, {"/dev/sdb", "S2"}}));
    EXPECT_EQ((CLines{"/dev/sdb=S2", "/dev/sdc=S3"}), table());
    expectCall();
}

TEST_F(DeviceManager, RuleAboveTheDisksIsALineOfOneHundredAndTwentyTwoEqualsSigns)
{
    const auto tableBelow = [this](const std::string& rule) {
        refreshWith("no\ndisks\n");  // which empties the table
        refreshWith("Disks\n" + rule + "\n/dev/sdb (0:0:1:0) LUMORA (disk) 10GB (online) (S2)\n");
        return table();
    };
    const auto equals = [](size_t count) { return std::string(count, '='); };
    const CLines found = {"/dev/sdb=S2"};
    EXPECT_EQ(found, tableBelow(equals(122)));
    EXPECT_EQ(found, tableBelow(" \t" + equals(122) + " ")) << "one token";
    EXPECT_EQ(found, tableBelow(equals(121) + "\n" + equals(123) + "\n" + equals(122))) << "headings before it";
    EXPECT_EQ(CLines{}, tableBelow(equals(121)));
    EXPECT_EQ(CLines{}, tableBelow(equals(123)));
    EXPECT_EQ(CLines{}, tableBelow(equals(122) + " =")) << "two tokens";
    EXPECT_EQ(CLines{}, tableBelow(equals(61) + " " + equals(61)));
    EXPECT_EQ(CLines{}, tableBelow(equals(60) + "-" + equals(61)));
    EXPECT_EQ(CLines{}, tableBelow(std::string(122, '-')));
    EXPECT_EQ(CLines{}, tableBelow("Device " + equals(122)));
}

TEST_F(DeviceManager, DisksFarBelowALineThatCannotBeReadAreNotReadEither)
{
    std::string listing = answers::disks({{"/dev/sda", "S1"}}) + "no disk\n";
    for (int disk = 0; disk < 100; ++disk) {
        listing += answers::diskLine({"/dev/other" + std::to_string(disk), "S" + std::to_string(disk)});
    }
    refreshWith(listing + answers::diskLine({"/dev/sdb", "S2"}));
    EXPECT_EQ(CLines{"/dev/sda=S1"}, table());
}

TEST_F(DeviceManager, UtilityIsGivenSixHundredSecondsForEachOfItsRuns)
{
    setScenario(answerTo("[listdisk]", answers::disks({{"/dev/sdb", "S"}})) + "exit 0\n");
    EXPECT_EQ((std::vector<uint64_t>{600, 600}), limitsWithin([this] { setUpDevices()->refresh(true); }));
}

TEST_F(DeviceManager, RefreshWithDiscoveryRescansFirst)
{
    setScenario(answerTo("[discover]", "found 1\n") + answerTo("[listdisk]", answers::disks({{"/dev/sdb", "S"}})));
    setUpDevices()->refresh(true);
    expectCall();
}

TEST_F(DeviceManager, FailedDiscoveryIsTracedAndTheListingIsReadRegardless)
{
    setScenario(answerTo("[discover]", "no adapter\nno link\n", 4) +
                answerTo("[listdisk]", answers::disks({{"/dev/sdb", "S"}})));
    setUpDevices()->refresh(true);
    EXPECT_EQ((CLines{"/dev/sdb=S"}), table());
    expectCall();
}

TEST_F(DeviceManager, RescanThatTimesOutTracesOnlyItsOutput)
{
    writeConfiguration("[FI_EXEC]\nMAX_TIMEOUT=1\n");
    setScenario("output\nlooking\n.\ndelay 60000\nexit 0\n");
    setUpDevices()->rescan();
    expectCall();
}

TEST_F(DeviceManager, FailedListingIsThrownWithItsErrorAndLeavesTheTable)
{
    refreshWith(answers::disks({{"/dev/sdb", "S"}}));
    forget();
    setScenario(answerTo("[listdisk]", "no driver\nno bus\n", 5));
    try {
        setUpDevices()->refresh(false);
        FAIL() << "nothing was thrown";
    } catch (const EFiExecPipe& failure) {
        EXPECT_EQ(11, failure.error().result);
        EXPECT_EQ(5, failure.error().code);
        EXPECT_FALSE(failure.error().message.empty());
        EXPECT_FALSE(failure.error().wideMessage.empty());
    }
    EXPECT_EQ((CLines{"/dev/sdb=S"}), table());
    expectCall();
}

TEST_F(DeviceManager, ListingThatTimesOutIsThrownWithoutTheFailureMessage)
{
    writeConfiguration("[FI_EXEC]\nMAX_TIMEOUT=1\n");
    setScenario("output\nlooking\n.\ndelay 60000\nexit 0\n");
    EXPECT_THROW(setUpDevices()->refresh(false), EFiExecPipe);
    expectCall();
}

TEST_F(DeviceManager, ThreeLinesWithTheSeparatorSecondAddOneEntry)
{
    refreshWith(answers::disks({{"/dev/sdb", "S"}}));
    expectCall();
    EXPECT_EQ((CLines{"/dev/sdb=S"}), table());
}

TEST_F(DeviceManager, SeparatorOf121Or123CharactersIsNotRecognised)
{
    for (const size_t width : {121U, 123U}) {
        refreshWith("Disks\n" + std::string(width, '=') + "\n" + answers::diskLine({"/dev/sdb", "S"}));
        EXPECT_EQ(CLines(), table());
        expectCall(std::to_string(width));
    }
}

TEST_F(DeviceManager, SixFieldsStopTheReadingThere)
{
    refreshWith(answers::disks({{"/dev/sda", "S1"}}) + "/dev/sdb (1) (2) (3) (S2) x\n" +
                answers::diskLine({"/dev/sdc", "S3"}));
    expectCall();
    EXPECT_EQ((CLines{"/dev/sda=S1"}), table());
}

TEST_F(DeviceManager, SevenFieldsWithThreeParenthesesStopTheReadingThere)
{
    refreshWith(answers::disks({{"/dev/sda", "S1"}}) + "/dev/sdb (1) (2) (3) a b c\n" +
                answers::diskLine({"/dev/sdc", "S3"}));
    expectCall();
    EXPECT_EQ((CLines{"/dev/sda=S1"}), table());
}

TEST_F(DeviceManager, BlankLineBelowTheSeparatorStopsTheReading)
{
    refreshWith(answers::disks({{"/dev/sda", "S1"}}) + "\n" + answers::diskLine({"/dev/sdc", "S3"}));
    expectCall();
    EXPECT_EQ((CLines{"/dev/sda=S1"}), table());
}

TEST_F(DeviceManager, TwoLinesOrFewerClearTheTable)
{
    const CLines outputs = {"", "none\n", answers::disks({})};
    for (size_t count = 0; count < outputs.size(); ++count) {
        refreshWith(answers::disks({{"/dev/sdb", "S"}}));
        EXPECT_EQ(1U, table().size());
        forget();
        refreshWith(outputs[count]);
        expectCall(std::to_string(count));
        EXPECT_EQ(CLines(), table());
    }
}

TEST_F(DeviceManager, KnownDeviceGetsTheNewSerialAndGoneOnesStay)
{
    refreshWith(answers::disks({{"/dev/sda", "S1"}, {"/dev/sdb", "S2"}}));
    forget();
    refreshWith(answers::disks({{"/dev/sdb", "S9"}}));
    expectCall();
    EXPECT_EQ((CLines{"/dev/sda=S1", "/dev/sdb=S9"}), table());
    CString path;
    EXPECT_FALSE(setUpDevices()->firstPathOf("S2", path));
    EXPECT_TRUE(setUpDevices()->firstPathOf("S9", path));
    EXPECT_STREQ("/dev/sdb", path.c_str());
}

TEST_F(DeviceManager, UnknownPathShowsNoLunAndIsNoLunsDevice)
{
    EXPECT_STREQ("", setUpDevices()->serialOf("/dev/x").c_str());
    CString path = "untouched";
    EXPECT_FALSE(setUpDevices()->firstPathOf("", path));
    EXPECT_STREQ("untouched", path.c_str());
}

TEST_F(DeviceManager, MissingUtilityIsThrownWithTheSystemsError)
{
    const CLMRDeviceManagerPtr devices = setUpDevices();
    devices->setUtility({"nothing", "/nowhere/"});
    try {
        devices->refresh(false);
        FAIL() << "nothing was thrown";
    } catch (const EFiExecPipe& failure) {
        EXPECT_EQ(ENOENT, failure.error().code);
    }
    expectCall();
}

TEST_F(DeviceManager, InstanceIsCreatedEmptyAndReleased)
{
    using CManager = CFiContextSingleton<CLMRDeviceManager, CLMRDeviceManager>;
    const CLMRDeviceManagerPtr devices = CManager::instance(false);
    EXPECT_STREQ("", devices->getUtility().name.c_str());
    EXPECT_EQ(CLines(), table());
    EXPECT_FALSE(CManager::instance(true));
    EXPECT_FALSE(devices == CManager::instance(false));
}

}  // namespace
}  // namespace cdpfi

// The test provider keeps to what a provider does, so that the tests of fictl show what they are meant to show.
#include <cstdlib>
#include <filesystem>

#include "host/src/provider/node.h"
#include "host/src/provider/provider.h"
#include "host/tests/fictl_fixture.h"

namespace {

const std::string CHECKPOINT = "KSV_Check_Point_7";
const std::string IMAGE = "KSV_Time_Image_7";
const std::string TARGET = "<fakefi><DeviceID>S1<DeviceID/><Annotation>KSV_Check_Point_7<Annotation/>";

/// Calls the provider in this process, as another fictl than the one that made what is there.
class CFakeProviderTest : public CFictlTest
{
  protected:
    void SetUp() override
    {
        CFictlTest::SetUp();
        setenv("OBZX_ROOT", m_root.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
        touch("objects/ap1.g1." + CHECKPOINT);
    }
    void TearDown() override
    {
        CFictlTest::TearDown();
        unsetenv("OBZX_ROOT");  // NOLINT(concurrency-mt-unsafe)
    }

    static fictl::SNodeState stateOf(const std::string& image)
    {
        fictl::SNodeState state;
        state.applianceType = "Fake";
        state.applianceName = "ap1";
        state.consistencyGroup = "g1";
        state.checkPointName = CHECKPOINT;
        state.timeImage = image;
        state.serialNo = "S1";
        return state;
    }

    /// The device path of an import, "" when the image was made or taken up and no path asked for; "failed".
    static std::string import(fictl::CProvider& provider, const std::string& image)
    {
        fictl::CNode primary(provider, "<fakefi>S1");
        fictl::CNode target(provider, TARGET);
        primary.setState(stateOf(image));
        target.attach();
        if (provider.call().init_altnode(primary.record(), nullptr, target.record()) != OBZ_OK) return "failed";
        return target.identityName() == TARGET ? "" : target.identityName();
    }

    static std::vector<std::string> commandsOf(const fictl::SApplianceReport& report)
    {
        std::vector<std::string> commands;
        for (const fictl::SRunRecord& run : report.succeeded) {
            commands.push_back(fictl::commandLine(run));
        }
        for (const fictl::SRunRecord& run : report.failed) {
            commands.push_back(fictl::commandLine(run));
        }
        return commands;
    }
};

TEST_F(CFakeProviderTest, TakesUpAnImageThatAnotherProcessMadeForThisHost)
{
    putImage("ap1", "g1", "7", "here");
    fictl::CProvider provider(FICTL_FAKE_PROVIDER);
    provider.forgetReport();
    EXPECT_EQ(import(provider, IMAGE), fake("copies/S1"));
    EXPECT_EQ(commandsOf(provider.takeReport()),
              (std::vector<std::string>{"fakefi_tool: server ap1; list timeimages \"g1\"",
                                        "fakefi_tool: server ap1; show timeimage \"" + IMAGE + "\" \"g1\""}));
    // It is known from then on.
    EXPECT_EQ(import(provider, IMAGE), fake("copies/S1"));
    EXPECT_TRUE(commandsOf(provider.takeReport()).empty());
}

TEST_F(CFakeProviderTest, AnImageOfAnotherHostIsNotVisibleHere)
{
    putImage("ap1", "g1", "7", "elsewhere");
    fictl::CProvider provider(FICTL_FAKE_PROVIDER);
    EXPECT_EQ(import(provider, ""), "failed");
    EXPECT_TRUE(fictl::saysAlreadyThere(provider.takeReport()));
    EXPECT_EQ(import(provider, IMAGE), "failed");
}

TEST_F(CFakeProviderTest, AnImageThatIsNotThereIsNotTakenUp)
{
    fictl::CProvider provider(FICTL_FAKE_PROVIDER);
    EXPECT_EQ(import(provider, IMAGE), "failed");
    EXPECT_EQ(import(provider, ""), "");
    EXPECT_EQ(import(provider, IMAGE), fake("copies/S1"));
}

TEST_F(CFakeProviderTest, AListOfImagesThatIsRefusedMakesTheImportFail)
{
    putImage("ap1", "g1", "7", "here");
    arm("list-images:g1 fail busy\n");
    fictl::CProvider provider(FICTL_FAKE_PROVIDER);
    EXPECT_EQ(import(provider, IMAGE), "failed");
    arm("");
    EXPECT_EQ(import(provider, IMAGE), fake("copies/S1"));
}

TEST_F(CFakeProviderTest, TwoHostsShareAnAppliance)
{
    becomeHost("other");
    fictl::CProvider provider(FICTL_FAKE_PROVIDER);
    EXPECT_EQ(import(provider, ""), "");
    EXPECT_EQ(import(provider, IMAGE), fake("copies/other.S1"));
    EXPECT_EQ(inspection()["appliances"][0]["groups"][0]["images"][0]["permissions"], nlohmann::json({"other"}));
}

TEST_F(CFakeProviderTest, AHostThatTheApplianceDoesNotKnowGetsNoImage)
{
    base_test::writeFile(fake("hosts"), "ap1 somebody\n");
    fictl::CProvider provider(FICTL_FAKE_PROVIDER);
    EXPECT_EQ(import(provider, ""), "failed");
    base_test::writeFile(fake("hosts"), "ap1 here\n");
    EXPECT_EQ(import(provider, ""), "");
}

TEST_F(CFakeProviderTest, DisposesByTheStatesOfAPlainPathWhereverTheLunIsNow)
{
    putImage("ap1", "g1", "7", "here");
    base_test::writeFile(fake("devices"), "/dev/fake1 S1 ap1 g2\n");
    fictl::CProvider provider(FICTL_FAKE_PROVIDER);
    provider.forgetReport();
    fictl::CNode primary(provider, "<fakefi>S1");
    fictl::CNode target(provider, "/dev/fake1");
    primary.setState(stateOf(""));
    target.setState(stateOf(IMAGE));
    EXPECT_EQ(provider.call().dispose(primary.record(), target.record(), nullptr, OBZ_DISP_REMOVE), OBZ_OK);
    const fictl::SApplianceReport report = provider.takeReport();
    EXPECT_EQ(commandsOf(report),
              (std::vector<std::string>{"fakefi_tool: server ap1; delete timeimage \"" + IMAGE + "\" \"g1\"",
                                        "fakefi_tool: server ap1; delete annotation \"" + CHECKPOINT + "\" \"g1\""}));
    EXPECT_TRUE(fictl::confirmsDeletion(report, "ap1", "g1", CHECKPOINT));
    EXPECT_FALSE(fictl::confirmsDeletion(report, "ap1", "g2", CHECKPOINT));
    EXPECT_TRUE(objects().empty());
}

TEST_F(CFakeProviderTest, DisposesOfATargetDeviceInTheGroupThatTheLunIsInNow)
{
    touch("objects/ap1.g2." + CHECKPOINT);
    base_test::writeFile(fake("devices"), "/dev/fake1 S1 ap1 g2\n");
    fictl::CProvider provider(FICTL_FAKE_PROVIDER);
    fictl::CNode primary(provider, "<fakefi>S1");
    fictl::CNode target(provider, TARGET);
    primary.setState(stateOf(""));
    EXPECT_EQ(provider.call().dispose(primary.record(), target.record(), nullptr, OBZ_DISP_REMOVE), OBZ_OK);
    EXPECT_EQ(objects(), std::vector<std::string>{"ap1.g1." + CHECKPOINT});
    EXPECT_FALSE(fictl::confirmsDeletion(provider.takeReport(), "ap1", "g1", CHECKPOINT));
}

TEST_F(CFakeProviderTest, ALunThatMovedIsNotDeletedInItsNewGroup)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    base_test::writeFile(fake("devices"), "/dev/fake1 S1 ap1 g2\n");
    const SRun run = fictl({"snapshot", "delete", "s"});
    // Either the recorded group is cleaned, or the record stays: never an orphan without a record.
    EXPECT_TRUE(run.exit == 10 || objects() == std::vector<std::string>{"ap1.g1." + CHECKPOINT}) << run.err;
    EXPECT_EQ(state("s").empty(), run.exit == 0);
}

TEST_F(CFakeProviderTest, NeverTraces)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "import", "s"}).exit, 0);
    limitTool(1);
    arm("delete-annotation:g1 hangs\n");
    ASSERT_EQ(fictl({"snapshot", "delete", "s"}).exit, 10);
    EXPECT_FALSE(std::filesystem::exists(m_root + "/var/log/qz"));
}

TEST_F(CFakeProviderTest, ACommandThatLiesHasNoEffect)
{
    arm("make:g1 lies\n");
    fictl({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(objects(), std::vector<std::string>{"ap1.g1." + CHECKPOINT});
}

TEST_F(CFakeProviderTest, AnImageTakesItsCopiesAlong)
{
    fictl::CProvider provider(FICTL_FAKE_PROVIDER);
    ASSERT_EQ(import(provider, ""), "");
    ASSERT_EQ(import(provider, IMAGE), fake("copies/S1"));
    const SRun released =
        runProgram(FICTL_FAKE_INSPECTOR, {"release", "g1", IMAGE, "--appliance", "ap1", "--timeout", "5"});
    EXPECT_EQ(released.exit, 0);
    EXPECT_FALSE(std::filesystem::exists(fake("copies/S1")));
    EXPECT_EQ(objects(), std::vector<std::string>{"ap1.g1." + CHECKPOINT});
}

}  // namespace

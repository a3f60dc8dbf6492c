#include <filesystem>

#include "host/tests/fictl_fixture.h"

namespace {

TEST_F(CFictlTest, ProviderShowDescribesTheProvider)
{
    const SRun run = fictlJson({"provider", "show"});
    ASSERT_EQ(run.exit, 0) << run.err;
    const nlohmann::json provider = run.document()["provider"];
    EXPECT_EQ(provider["name"], "fakefi");
    EXPECT_EQ(provider["path"], FICTL_FAKE_PROVIDER);
    EXPECT_EQ(provider["interface"], 7);
    EXPECT_EQ(provider["version"], "7.0.0.0");
    EXPECT_EQ(provider["started"], true);
    EXPECT_TRUE(provider["not_started"].is_null());
    EXPECT_EQ(provider["methods"][0]["name"], "Fake");
    ASSERT_EQ(provider["parameters"].size(), 1u);
    EXPECT_EQ(provider["parameters"][0]["name"], "FAKE/LEVEL");
    EXPECT_EQ(provider["parameters"][0]["type"], "number");
    EXPECT_EQ(provider["parameters"][0]["default"], "3");
    EXPECT_EQ(provider["parameters"][0]["help"], "How much is faked.");
    EXPECT_EQ(run.err, "");
    const std::string table = fictl({"provider", "show"}).out;
    EXPECT_NE(table.find("METHOD     Fake 1.0\n"), std::string::npos);
    EXPECT_NE(table.find("FAKE/LEVEL  number  3        How much is faked.\n"), std::string::npos) << table;
}

TEST_F(CFictlTest, DeviceListTellsClaimedDevicesFromOthers)
{
    const SRun run = fictlJson({"device", "list", "/dev/fake1", "/dev/null", "/dev/fake4"});
    ASSERT_EQ(run.exit, 0) << run.err;
    const nlohmann::json devices = run.document()["devices"];
    ASSERT_EQ(devices.size(), 3U);
    EXPECT_EQ(devices[0]["claimed"], true);
    EXPECT_EQ(devices[0]["appliance"], "ap1");
    EXPECT_EQ(devices[0]["group"], "g1");
    EXPECT_EQ(devices[0]["serial"], "S1");
    EXPECT_EQ(devices[1]["claimed"], false);
    EXPECT_EQ(devices[1]["reason"], "no appliance protects it");
    EXPECT_EQ(devices[2]["appliance"], "ap2");
    const SRun table = fictl({"device", "list", "/dev/fake1", "/dev/null"});
    EXPECT_EQ(table.out,
              "DEVICE      CLAIMED  APPLIANCE  GROUP  SERIAL\n"
              "/dev/fake1  yes      ap1        g1     S1\n"
              "/dev/null   no       -          -      -\n");
    expectClean();
}

TEST_F(CFictlTest, DeviceListFailsWhenANodeCannotBeSetUp)
{
    arm("init_node:<fakefi>S1 fail");
    const SRun run = fictl({"device", "list", "/dev/fake1"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_NE(run.err.find("node \"<fakefi>S1\" could not be set up (status 6)"), std::string::npos) << run.err;
    expectClean();
}

TEST_F(CFictlTest, AnApplianceThatCouldNotBeAskedIsToldFromADeviceThatIsNotServed)
{
    arm("interpose fail connection refused\n");
    const SRun list = fictl({"device", "list", "/dev/fake1"});
    EXPECT_EQ(list.exit, 0);
    EXPECT_EQ(withoutTimes(list.err),
              "fictl: warning: an appliance did not answer everything\n"
              "  appliance command: fakefi_tool: server ap1; list cgroups\n"
              "  answer (exit status 1, after N s): connection refused\n");
    const SRun create = fictl({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(create.exit, 8);
    EXPECT_NE(create.err.find("no appliance protects it, as far as the appliances answered; nothing was made"),
              std::string::npos)
        << create.err;
    EXPECT_EQ(state("s"), "");
}

TEST_F(CFictlTest, ANodeStateThatCannotBeReadIsAFailure)
{
    arm("state fail");
    EXPECT_EQ(fictl({"device", "list", "/dev/fake1"}).exit, 8);
    expectClean();
}

TEST_F(CFictlTest, AMissingProviderIsNamed)
{
    const SRun byName = run({"--provider", "nosuch", "provider", "show"});
    EXPECT_EQ(byName.exit, 6);
    EXPECT_NE(byName.err.find("provider \"nosuch\" cannot be loaded"), std::string::npos) << byName.err;
    EXPECT_NE(byName.err.find("/obzx/providers/libnosuch.so"), std::string::npos) << byName.err;
    EXPECT_EQ(run({"--provider", "/nonexistent/libx.so", "provider", "show"}).exit, 6);
}

TEST_F(CFictlTest, AFileThatIsNoLibraryIsRefused)
{
    base_test::writeFile(m_root + "/libtext.so", "not a library\n");
    const SRun text = run({"--provider", m_root + "/libtext.so", "provider", "show"});
    EXPECT_EQ(text.exit, 6);
    EXPECT_NE(text.err.find("provider \"text\" cannot be loaded"), std::string::npos) << text.err;
    for (const char* name : {"/x.so", "/lib.so", "/lib-x.so", "/libx.so.1"}) {
        EXPECT_EQ(run({"--provider", m_root + name, "provider", "show"}).exit, 6) << name;
    }
}

TEST_F(CFictlTest, AMissingEntryPointIsNamed)
{
    const SRun half = run({"--provider", FICTL_HALF_PROVIDER, "provider", "show"});
    EXPECT_EQ(half.exit, 6);
    EXPECT_NE(half.err.find("has no entry point fakefi_fi_pgn_objctl"), std::string::npos) << half.err;
}

TEST_F(CFictlTest, AProviderThatDoesNotStartIsReportedWithItsMessages)
{
    arm("init fail the configuration is empty");
    const SRun run = fictlJson({"device", "list", "/dev/fake1"});
    EXPECT_EQ(run.exit, 6);
    EXPECT_EQ(run.document()["error"]["code"], "provider");
    EXPECT_EQ(run.document()["error"]["details"][0], "the configuration is empty");
    EXPECT_NE(run.err.find("provider \"fakefi\" did not start (status 30)"), std::string::npos) << run.err;
    expectClean();
}

TEST_F(CFictlTest, AProviderThatDoesNotStartIsShownWithWhatItTells)
{
    arm("init fail the configuration is empty");
    const SRun run = fictlJson({"provider", "show"});
    EXPECT_EQ(run.exit, 0);
    const nlohmann::json provider = run.document().at("provider");
    EXPECT_EQ(provider.at("started"), false);
    EXPECT_EQ(provider.at("not_started").at("details").at(0), "the configuration is empty");
    EXPECT_EQ(provider.at("version"), "7.0.0.0");
    EXPECT_EQ(provider.at("parameters").at(0).at("name"), "FAKE/LEVEL");
    EXPECT_EQ(run.err,
              "fictl: warning: provider \"fakefi\" did not start (status 30)\n"
              "  reported: the configuration is empty\n"
              "  next: fictl doctor\n");
    EXPECT_NE(fictl({"provider", "show"}).out.find("STARTED    no: provider \"fakefi\" did not start (status 30)\n"),
              std::string::npos);
    expectClean();
}

TEST_F(CFictlTest, AnotherInterfaceVersionIsRefused)
{
    arm("version fail");
    const SRun run = fictl({"provider", "show"});
    EXPECT_EQ(run.exit, 6);
    EXPECT_NE(run.err.find("speaks interface version 99, fictl speaks 7"), std::string::npos) << run.err;
}

TEST_F(CFictlTest, WrongCommandLinesAreUsageErrors)
{
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"nosuch"},
        {"snapshot"},
        {"snapshot", "create"},
        {"snapshot", "create", "x"},
        {"snapshot", "show"},
        {"--output", "xml", "provider", "show"},
        {"snapshot", "create", "x", "/dev/fake1", "--freeze", "true"},
        {"snapshot", "create", "x", "/dev/fake1", "--hook-timeout", "0", "--freeze", "true", "--thaw", "true"},
        {"snapshot", "create", "a/b", "/dev/fake1"},
        {"snapshot", "create", "x", "/dev/fake1", "/dev/fake1"},
        {"snapshot", "create", "x", ""},
        {"snapshot", "import", "a b"},
        {"snapshot", "delete", ".x"},
    };
    for (const std::vector<std::string>& arguments : wrong) {
        const SRun run = fictl(arguments);
        EXPECT_EQ(run.exit, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(run.out, "");
        EXPECT_NE(run.err, "");
    }
}

TEST_F(CFictlTest, AWrongCommandLineNamesTheWrongWord)
{
    EXPECT_EQ(fictl({"snapshot", "nosuch"}).err, "fictl: \"nosuch\" is not understood\n  next: fictl --help\n");
    EXPECT_EQ(fictl({"snapshot", "show"}).err, "fictl: NAME is required\n  next: fictl --help\n");
}

TEST_F(CFictlTest, VerboseWritesALineForEachStep)
{
    const SRun run = fictl({"--verbose", "snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 0);
    for (const char* step : {"start provider", "set up /dev/fake1", "select", "quiesce", "make", "record"}) {
        EXPECT_NE(run.err.find(std::string("] ") + step + "\n"), std::string::npos) << step;
    }
}

}  // namespace

// Devices under any of their names, and the list of all that the provider knows.
#include <filesystem>

#include "host/src/devices/device_name.h"
#include "host/tests/canned_inspector.h"

namespace fs = std::filesystem;
using fictl::SDeviceIdentity;

namespace {

class CDeviceTest : public CInspectedTest
{
  protected:
    void SetUp() override
    {
        CInspectedTest::SetUp();
        m_disk = m_root + "/disk1";
        base_test::writeFile(m_disk, "content");
        base_test::writeFile(fake("devices"),
                             m_disk + " S1 ap1 g1\n" + m_root + "/disk2 S2 ap1 g1\n/dev/fake10 S10 ap1 g1\n");
        m_seen["disks"]["devices"] = {{{"path", m_disk}, {"serial", "S1"}}};
    }

    void expectServed(const std::string& given) const
    {
        const nlohmann::json device = fictlJson({"device", "list", given}).document().at("devices").at(0);
        EXPECT_EQ(device.at("device"), given);
        EXPECT_EQ(device.at("claimed"), true) << device;
        EXPECT_EQ(device.at("path"), m_disk);
    }

    std::string m_disk;
};

TEST_F(CDeviceTest, ALinkIsFollowedToThePathThatTheProviderKnows)
{
    fs::create_directories(m_root + "/by-id");
    fs::create_symlink("../disk1", m_root + "/by-id/wwn-1");
    fs::create_symlink("wwn-1", m_root + "/by-id/second");
    expectServed(m_root + "/by-id/wwn-1");
    expectServed(m_root + "/by-id/second");
    expectServed(fs::relative(m_disk).string());
    expectServed(m_root + "/by-id/.././disk1");
}

TEST_F(CDeviceTest, AnotherNameOfTheSameFileIsFoundThroughTheInspector)
{
    fs::create_hard_link(m_disk, m_root + "/other-node");
    const nlohmann::json without = fictlJson({"device", "list", m_root + "/other-node"}).document();
    EXPECT_EQ(without.at("devices").at(0).at("claimed"), false);
    setInspection();
    expectServed(m_root + "/other-node");
    EXPECT_EQ(inspectorCalls(), "\n") << "one look is enough";
}

TEST_F(CDeviceTest, APathWithNothingBehindItAsksNoInspector)
{
    setInspection();
    EXPECT_EQ(fictlJson({"device", "list", "/dev/nosuch"}).document().at("devices").at(0).at("claimed"), false);
    EXPECT_EQ(inspectorCalls(), "");
}

TEST_F(CDeviceTest, ARecordHoldsThePathThatTheProviderKnows)
{
    fs::create_symlink(m_disk, m_root + "/link");
    ASSERT_EQ(fictl({"snapshot", "create", "s", m_root + "/link"}).exit, 0);
    const nlohmann::json shown = fictlJson({"snapshot", "show", "s"}).document();
    EXPECT_EQ(shown.at("snapshot").at("devices").at(0).at("source"), m_disk);
}

TEST_F(CDeviceTest, AMessageShowsWhatTheUserTyped)
{
    base_test::writeFile(m_root + "/local", "");
    fs::create_symlink(m_root + "/local", m_root + "/link");
    const SRun run = fictl({"snapshot", "create", "s", m_root + "/link"});
    EXPECT_EQ(run.exit, 7);
    EXPECT_EQ(run.err, "fictl: device " + m_root + "/link: no appliance protects it; nothing was made\n" +
                           "  next: fictl device list " + m_root + "/link\n");
}

TEST_F(CDeviceTest, TwoNamesOfOneDeviceAreNoticed)
{
    fs::create_symlink(m_disk, m_root + "/link");
    const SRun run = fictl({"snapshot", "create", "s", m_disk, m_root + "/link"});
    EXPECT_EQ(run.exit, 2);
    EXPECT_EQ(run.err, "fictl: " + m_disk + " and " + m_root + "/link are names of one device\n" +
                           "  next: give every device once\n");
    EXPECT_EQ(fictl({"device", "list", m_disk, fs::relative(m_disk).string()}).exit, 2);
}

TEST(DeviceName, IsFoundByItsDeviceNumber)
{
    const auto identify = [](const std::string& path) -> std::optional<SDeviceIdentity> {
        if (path == "/node") return SDeviceIdentity{060000, 0, 8 * 256 + 16};
        if (path == "/dev/sdb") return SDeviceIdentity{060000, 0, 8 * 256 + 16};
        if (path == "/dev/ttyx") return SDeviceIdentity{020000, 0, 8 * 256 + 16};
        return std::nullopt;
    };
    EXPECT_EQ(fictl::resolveDevice("/node", {"/dev/sda", "/dev/sdb", "/dev/ttyx"}, identify), "/dev/sdb");
    EXPECT_EQ(fictl::resolveDevice("/node", {"/dev/ttyx"}, identify), std::nullopt) << "of another kind";
    EXPECT_EQ(fictl::resolveDevice("/gone", {"/dev/sda"}, identify), std::nullopt);
    EXPECT_EQ(fictl::resolveDevice("/gone", {"/gone"}, identify), "/gone");
}

TEST(DeviceName, NamesAreTriedAsGivenFirst)
{
    EXPECT_EQ(fictl::localNames("/nosuch/x"), std::vector<std::string>{"/nosuch/x"});
    EXPECT_EQ(fictl::localNames("nosuch"), std::vector<std::string>{(fs::current_path() / "nosuch").string()});
    EXPECT_EQ(fictl::localNames("/proc/self/../version"),
              (std::vector<std::string>{"/proc/self/../version", "/proc/version"}));
}

TEST(DeviceName, EveryBlockDeviceOfThisHostIsItsOwn)
{
    for (const fs::directory_entry& entry : fs::directory_iterator("/dev")) {
        std::error_code ignored;
        if (!entry.is_block_file(ignored)) continue;
        const std::string path = entry.path();
        EXPECT_EQ(fictl::localNames(path).front(), path);
        EXPECT_EQ(fictl::resolveDevice(path, {"/dev/null", path}), path);
    }
}

TEST_F(CDeviceTest, EveryDiskIsListedWithItsPlaceOnTheAppliances)
{
    m_seen["appliances"] = {appliance("ap1"), appliance("ap2")};
    m_seen["appliances"][0]["groups"] = {group("g1", {"S1", "S10"}), group("g2", {"S3"})};
    m_seen["appliances"][0]["groups"][0]["images"] = {image("KSV_Time_Image_7", "S1", "S77")};
    m_seen["appliances"][1]["groups"] = {group("g3", {"S4"})};
    m_seen["ambiguous"] = {{{"serial", "S4"}, {"reason", "its serial is the name of a group"}, {"places", {}}}};
    nlohmann::json& disks = m_seen["disks"]["devices"];
    disks = nlohmann::json::array();
    for (const auto& [path, serial] : std::vector<std::pair<std::string, std::string>>{
             {"/dev/sd10", "S10"}, {"/dev/sd2", "S1"}, {"/dev/sd4", "S4"}, {"/dev/sd5", "X"}, {"/dev/sd6", "S77"}}) {
        disks.push_back({{"path", path}, {"serial", serial}});
    }
    setInspection();
    const SRun table = fictl({"device", "list"});
    EXPECT_EQ(table.exit, 0) << table.err;
    EXPECT_EQ(table.out,
              "DEVICE     CLAIMED  APPLIANCE  GROUP  SERIAL  NOTE\n"
              "/dev/sd2   yes      ap1        g1     S1      -\n"
              "/dev/sd4   no       ap2        g3     S4      its serial is the name of a group\n"
              "/dev/sd5   no       -          -      X       in no consistency group\n"
              "/dev/sd6   no       ap1        g1     S77     a copy, of a time image \"KSV_Time_Image_7\"\n"
              "/dev/sd10  yes      ap1        g1     S10     -\n");
    const nlohmann::json devices = fictlJson({"device", "list"}).document().at("devices");
    EXPECT_EQ(devices.at(3), nlohmann::json({{"device", "/dev/sd6"},
                                             {"path", "/dev/sd6"},
                                             {"claimed", false},
                                             {"appliance", "ap1"},
                                             {"group", "g1"},
                                             {"image", "KSV_Time_Image_7"},
                                             {"serial", "S77"},
                                             {"reason", "a copy, of a time image"}}));
    EXPECT_TRUE(calls().empty()) << "no provider is started";
}

TEST_F(CDeviceTest, ADeviceWhoseCopyCouldNotBeImportedIsRefused)
{
    const std::string reason = "its name on the appliance \"/dev/a-1\" holds \"-\", a mark";
    m_seen["appliances"] = {appliance("ap1")};
    m_seen["appliances"][0]["groups"] = {group("g1", {"S1"})};
    m_seen["unlistable"] = {{{"serial", "S1"}, {"reason", reason}}};
    base_test::writeFile(fake("devices"), "/dev/fake1 S1 ap1 g1\n");
    m_seen["disks"]["devices"] = {{{"path", "/dev/fake1"}, {"serial", "S1"}}};
    setInspection();
    const nlohmann::json listed = fictlJson({"device", "list"}).document().at("devices").at(0);
    EXPECT_EQ(listed.at("claimed"), false);
    EXPECT_EQ(listed.at("reason"), reason);
    const SRun run = fictlJson({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 7);
    EXPECT_EQ(run.message(),
              "device /dev/fake1: no copy of LUN S1 could be imported: " + reason + "; nothing was made");
    EXPECT_EQ(run.next(), "give the LUN another name on the appliance");
    EXPECT_TRUE(objects().empty());
}

TEST_F(CDeviceTest, AnApplianceThatIsSilentIsNamedAndCostsTheOthersNothing)
{
    m_seen["appliances"] = {appliance("ap1"), appliance("ap2")};
    m_seen["appliances"][0]["groups"] = {group("g1", {"S1"})};
    m_seen["appliances"][1]["reachable"] = false;
    m_seen["appliances"][1]["reason"] = "no answer within 5 s";
    m_seen["appliances"][1]["groups_read"] = false;
    setInspection();
    const SRun run = fictl({"device", "list"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_NE(run.out.find("  yes  "), std::string::npos) << run.out;
    EXPECT_EQ(run.err,
              "fictl: warning: appliance \"ap2\" did not tell its groups (no answer within 5 s); its devices are shown "
              "as in none\n");
}

TEST_F(CDeviceTest, WithoutAnInspectorPathsMustBeGiven)
{
    const SRun run = fictl({"device", "list"});
    EXPECT_EQ(run.exit, 2);
    EXPECT_EQ(run.err,
              "fictl: device paths are needed: provider \"fakefi\" ships no inspector, which could list all\n"
              "  next: fictl device list DEV...\n");
}

TEST_F(CDeviceTest, AnInspectorThatFailsIsNamed)
{
    setInspectorScript("echo broken >&2; exit 1");
    const SRun run = fictl({"device", "list"});
    EXPECT_EQ(run.exit, 8);
    EXPECT_NE(run.err.find(inspector()), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("broken"), std::string::npos) << run.err;
    m_seen["disks"] = {{"read", false}, {"reason", "kforutil is missing"}, {"devices", nlohmann::json::array()}};
    setInspection();
    EXPECT_EQ(fictl({"device", "list"}).err,
              "fictl: the disks of this host could not be read: kforutil is missing\n  next: fictl doctor\n");
}

}  // namespace

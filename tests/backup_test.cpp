// A backup from end to end: fictl on two hosts, the provider, and the embedded appliance with real data.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>

#include "tests/backup_fixture.h"

namespace {

using nlohmann::json;

class Backup : public CBackupTest
{
};

}  // namespace

TEST_F(Backup, ImportedCopyHoldsWhatWasThereAtTheSnapshotAndSourcesKeepWhatCameAfter)
{
    site.addGroup("vault", "payroll", {"data", "journal"});
    site.setUpHosts();
    const std::string data = site.device("vault", "data");
    const std::string journal = site.device("vault", "journal");
    site.write("vault", "data", "A in data ");
    site.write("vault", "journal", "A in journal ");
    const std::string dataBefore = contentOf(data);
    const std::string journalBefore = contentOf(journal);

    const SRun created = create("nightly", {data, journal});
    ASSERT_EQ(created.status, 0) << created.err;
    site.write("vault", "data", "B in data ");
    site.write("vault", "journal", "B in journal ");
    const std::string dataAfter = contentOf(data);
    ASSERT_NE(dataAfter, dataBefore);
    auto paths = importOnBackup("nightly");

    EXPECT_EQ(contentOf(paths.at(data)), dataBefore);
    EXPECT_EQ(contentOf(paths.at(journal)), journalBefore);
    EXPECT_EQ(contentOf(data), dataAfter);
    EXPECT_EQ(site.fictl("backup", {"snapshot", "delete", "nightly"}).status, 0);
    EXPECT_EQ(site.fictl("production", {"snapshot", "delete", "nightly"}).status, 0);
    EXPECT_TRUE(site.copiesOf("vault", "payroll").empty());
    EXPECT_EQ(site.lmsh("production", "vault", "list timeimages \"payroll\"").out, "There are none!\n");
    EXPECT_EQ(contentOf(data), dataAfter);
}

TEST_F(Backup, WritingToAnImportedCopyLeavesTheSourceAlone)
{
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();
    const std::string data = site.device("vault", "data");
    site.write("vault", "data", "source ");
    const std::string before = contentOf(data);
    ASSERT_EQ(create("nightly", {data}).status, 0);
    const auto paths = importOnBackup("nightly");

    std::fstream(paths.at(data), std::ios::in | std::ios::out | std::ios::binary) << "written by the backup host";

    EXPECT_EQ(contentOf(data), before);
    EXPECT_NE(contentOf(paths.at(data)), before);
}

TEST_F(Backup, ShowTellsApplianceGroupCheckpointSerialsAndTargetNames)
{
    site.addGroup("vault", "payroll", {"data", "journal"});
    site.setUpHosts();
    ASSERT_EQ(create("nightly", {site.device("vault", "data"), site.device("vault", "journal")}).status, 0);

    const json shown = site.fictl("production", {"--output", "json", "snapshot", "show", "nightly"}).json();

    const json& snapshot = shown.at("snapshot");
    const std::string checkpoint = snapshot.at("checkpoint");
    EXPECT_EQ(checkpoint.rfind("KSV_Check_Point_", 0), 0u);
    ASSERT_EQ(snapshot.at("devices").size(), 2u);
    for (const json& device : snapshot.at("devices")) {
        const std::string lun = device.at("source") == site.device("vault", "data") ? "data" : "journal";
        const std::string serial = site.serial("vault", lun);
        EXPECT_EQ(device.at("appliance"), "vault");
        EXPECT_EQ(device.at("group"), "payroll");
        EXPECT_EQ(device.at("checkpoint"), checkpoint);
        EXPECT_EQ(device.at("serial"), serial);
        EXPECT_EQ(device.at("target"),
                  "<cdpfi><DeviceID>" + serial + "<DeviceID/><Annotation>" + checkpoint + "<Annotation/>");
    }
}

TEST_F(Backup, TwoAppliancesTakePartInOneSnapshot)
{
    site.addGroup("east", "sales", {"e1", "e2"});
    site.addGroup("west", "stock", {"w1"});
    site.setUpHosts();
    const std::vector<std::string> devices{site.device("west", "w1"), site.device("east", "e1"),
                                           site.device("east", "e2")};
    std::map<std::string, std::string> before;
    for (const auto& [appliance, lun] : std::map<std::string, std::string>{{"east", "e1"}, {"west", "w1"}}) {
        site.write(appliance, lun, "A on " + appliance);
    }
    for (const std::string& device : devices) {
        before[device] = contentOf(device);
    }

    const SRun created = create("both", devices);
    ASSERT_EQ(created.status, 0) << created.err;
    EXPECT_EQ(site.copiesOf("east", "sales").size(), 1u);
    EXPECT_EQ(site.copiesOf("west", "stock").size(), 1u);
    site.write("east", "e1", "B");
    site.write("west", "w1", "B");

    for (const auto& [source, path] : importOnBackup("both")) {
        EXPECT_EQ(contentOf(path), before.at(source)) << source;
    }
    EXPECT_EQ(site.fictl("backup", {"snapshot", "delete", "both"}).status, 0);
    EXPECT_TRUE(site.copiesOf("east", "sales").empty());
    EXPECT_TRUE(site.copiesOf("west", "stock").empty());
}

TEST_F(Backup, SixtyFourDevicesInEightGroupsOfTwoAppliances)
{
    std::vector<std::string> devices;
    for (int group = 0; group < 8; ++group) {
        const std::string appliance = group % 2 == 0 ? "east" : "west";
        std::vector<std::string> luns;
        for (int lun = 0; lun < 8; ++lun) {
            luns.push_back("g" + std::to_string(group) + "l" + std::to_string(lun));
        }
        site.addGroup(appliance, "group" + std::to_string(group), luns);
    }
    site.setUpHosts();
    for (const char* appliance : {"east", "west"}) {
        const json listed = site.lmadm({"--appliance", appliance, "--output", "json", "lun", "list"}).json();
        for (const json& lun : listed.at("luns")) {
            devices.push_back(lun.at("device"));
        }
    }
    ASSERT_EQ(devices.size(), 64u);
    std::map<std::string, std::string> before;
    for (int group = 0; group < 8; ++group) {
        site.write(group % 2 == 0 ? "east" : "west", "g" + std::to_string(group) + "l7",
                   "of group " + std::to_string(group));
    }
    for (const std::string& device : devices) {
        before[device] = contentOf(device);
    }

    ASSERT_EQ(create("all", devices).status, 0);

    const auto paths = importOnBackup("all");
    EXPECT_EQ(paths.size(), 64u);
    for (const auto& [source, path] : paths) {
        EXPECT_TRUE(contentOf(path) == before.at(source)) << source;
    }
    EXPECT_EQ(site.fictl("backup", {"snapshot", "delete", "all"}).status, 0);
    for (int group = 0; group < 8; ++group) {
        EXPECT_TRUE(site.copiesOf(group % 2 == 0 ? "east" : "west", "group" + std::to_string(group)).empty());
    }
}

TEST_F(Backup, GroupThatCannotBeCheckpointedLeavesTheOthersMadeAndRecorded)
{
    for (const char* name : {"a", "b", "c"}) {
        site.addGroup("vault", std::string("group_") + name, {std::string("lun_") + name});
    }
    site.setUpHosts();
    ASSERT_EQ(site.lmadm({"fault", "arm", "error", "--match", "create annotation", "--nth", "2"}).status, 0);

    const SRun created = create(
        "nightly", {site.device("vault", "lun_a"), site.device("vault", "lun_b"), site.device("vault", "lun_c")});

    EXPECT_EQ(created.status, 9) << created.err;
    const json document = created.json();
    std::multiset<std::string> made;
    for (const json& group : document.at("snapshot").at("groups")) {
        made.insert(group.at("made"));
        const size_t copies = site.copiesOf("vault", group.at("group")).size();
        EXPECT_EQ(copies, group.at("made") == "yes" ? 1u : 0u) << group;
    }
    // Which of them asks second is not known.
    EXPECT_EQ(made, (std::multiset<std::string>{"no", "yes", "yes"}));
    EXPECT_EQ(document.at("snapshot").at("state"), "partial");
    EXPECT_NE(document.at("error").dump().find("create annotation"), std::string::npos) << created.out;

    const SRun deleted = site.fictl("production", {"snapshot", "delete", "nightly"});
    EXPECT_EQ(deleted.status, 0) << deleted.err;
    for (const char* group : {"group_a", "group_b", "group_c"}) {
        EXPECT_TRUE(site.copiesOf("vault", group).empty()) << group;
    }
}

// The process that takes the snapshot is known beforehand because the shell becomes it, so its checkpoint's name can be
// taken in the second of three groups.
TEST_F(Backup, ANameThatIsTakenInOneGroupIsUsedInNoneAndStays)
{
    for (const char* name : {"a", "b", "c"}) {
        site.addGroup("vault", std::string("group_") + name, {std::string("lun_") + name});
    }
    site.setUpHosts();
    const std::string devices =
        site.device("vault", "lun_a") + " " + site.device("vault", "lun_b") + " " + site.device("vault", "lun_c");

    const SRun created = site.shell("production",
                                    "printf 'server vault\\ncreate annotation \"KSV_Check_Point_%s\" \"group_b\"\\nset "
                                    "message Other\\ncommit\\nexit\\n'"
                                    " $$ | lmsh >/dev/null && exec fictl --output json snapshot create nightly " +
                                        devices);

    EXPECT_EQ(created.status, 0) << created.err;
    const std::vector<std::string> others = site.copiesOf("vault", "group_b");
    ASSERT_EQ(others.size(), 2u);
    const std::string checkpoint = '"' + created.json().at("snapshot").at("checkpoint").get<std::string>() + '"';
    for (const char* group : {"group_a", "group_c"}) {
        ASSERT_EQ(site.copiesOf("vault", group).size(), 1u);
        EXPECT_TRUE(site.copiesOf("vault", group).front().starts_with(checkpoint)) << group;
    }

    const SRun deleted = site.fictl("production", {"snapshot", "delete", "nightly"});
    EXPECT_EQ(deleted.status, 0) << deleted.err;
    const std::vector<std::string> left = site.copiesOf("vault", "group_b");
    ASSERT_EQ(left.size(), 1u) << "the other owner's annotation must stay";
    EXPECT_FALSE(left.front().starts_with(checkpoint));
}

TEST_F(Backup, DeviceOfNoGroupIsNamedAndNothingIsMade)
{
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();

    const SRun created = create("nightly", {site.device("vault", "data"), "/dev/nobody"});

    EXPECT_EQ(created.status, 7);
    EXPECT_NE(created.out.find("/dev/nobody"), std::string::npos);
    EXPECT_TRUE(site.copiesOf("vault", "payroll").empty());
}

TEST_F(Backup, DeviceListTellsApplianceGroupAndSerial)
{
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();

    const SRun listed =
        site.fictl("production", {"--output", "json", "device", "list", site.device("vault", "data"), "/dev/nobody"});

    ASSERT_EQ(listed.status, 0) << listed.err;
    const std::string text = listed.json().dump();
    EXPECT_NE(text.find("\"vault\""), std::string::npos) << text;
    EXPECT_NE(text.find("\"payroll\""), std::string::npos) << text;
    EXPECT_NE(text.find(site.serial("vault", "data")), std::string::npos) << text;
}

TEST_F(Backup, SecondImportPrintsTheSamePaths)
{
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();
    ASSERT_EQ(create("nightly", {site.device("vault", "data")}).status, 0);
    importOnBackup("nightly");

    const SRun first = site.fictl("backup", {"--output", "json", "snapshot", "show", "nightly"});
    const SRun again = site.fictl("backup", {"--output", "json", "snapshot", "import", "nightly"});

    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(again.json().at("snapshot").at("devices"), first.json().at("snapshot").at("devices"));
}

TEST_F(Backup, HostWithoutConfiguredApplianceSaysWhichFileToMend)
{
    const SRun shown = site.fictl("production", {"device", "list", "/dev/null"});

    EXPECT_EQ(shown.status, 6);
    EXPECT_NE(shown.err.find((site.root("production") / "etc/qz/hls.conf").string()), std::string::npos) << shown.err;
}

TEST_F(Backup, ProviderShowListsEveryConfigurationValueWithItsDefault)
{
    site.addGroup("vault", "payroll", {"data"});
    site.setUpHosts();

    const json document = site.fictl("production", {"--output", "json", "provider", "show"}).json();

    std::map<std::string, std::string> defaults;
    for (const json& value : document.at("provider").at("parameters")) {
        defaults[value.at("name")] = value.at("default");
    }
    const std::map<std::string, std::string> expected = {{"LMR_CLI_CONFIG/LMR_LMSH_PATH", "/opt/QXPKlm/bin/"},
                                                         {"LMR_CLI_CONFIG/LMR_LMSH_NAME", "lmsh"},
                                                         {"LMR_CLI_CONFIG/LMR_KFORUTIL_PATH", "/usr/sbin/"},
                                                         {"LMR_CLI_CONFIG/LMR_KFORUTIL_NAME", "kforutil"},
                                                         {"LMR_CLI_CONFIG/MAX_PARALLEL", "8"},
                                                         {"LMR_CLI_CONFIG/MAX_ANSWER_SIZE", "268435456"},
                                                         {"LMR_CLI_CONFIG/MAX_ANSWER_LINES", "4000000"},
                                                         {"LMR_CLI_CONFIG/MAX_LINE_LENGTH", "4194304"},
                                                         {"LMR_CLI_CONFIG/MAX_INVENTORY_SIZE", "1073741824"},
                                                         {"LMR_CLI_CONFIG/MAX_NAMES", "100000"},
                                                         {"LMR_CLI_CONFIG/MAX_REPEATED_NAMES", "100000"},
                                                         {"FI_TRACE/MAX_LINE", "65536"},
                                                         {"FI_MESSAGE/MAX_LENGTH", "1048576"},
                                                         {"FI_TRACE/LEVEL", "2"},
                                                         {"FI_TRACE/FILE", "/var/log/qz/cdpfi.log"},
                                                         {"FI_TRACE/MAX_SIZE", "10485760"},
                                                         {"FI_TRACE/MAX_FILES", "5"},
                                                         {"FI_EXEC/MAX_TIMEOUT", "600"},
                                                         {"FI_NETWORK/LOCAL_NAME", ""}};
    EXPECT_EQ(defaults, expected);
}

TEST_F(Backup, ProviderShowTellsItsConfigurationValuesBeforeAnythingIsConfigured)
{
    const SRun shown = site.fictl("production", {"--output", "json", "provider", "show"});

    ASSERT_EQ(shown.status, 0) << shown.err;
    const json provider = shown.json().at("provider");
    EXPECT_EQ(provider.at("started"), false);
    EXPECT_TRUE(provider.at("methods").is_null());
    EXPECT_EQ(provider.at("parameters").at(0).at("name"), "LMR_CLI_CONFIG/LMR_LMSH_PATH");
    EXPECT_NE(shown.err.find("No appliance is configured."), std::string::npos) << shown.err;
}

TEST_F(Backup, ProviderThatOverridesNothingIsShownWithoutAVersion)
{
    const SRun shown = site.fictl("production", {"--output", "json", "--provider", PLAIN_PROVIDER, "provider", "show"});

    ASSERT_EQ(shown.status, 0) << shown.err;
    const json provider = shown.json().at("provider");
    EXPECT_EQ(provider.at("name"), "plainfi");
    EXPECT_TRUE(provider.at("version").is_null());
    EXPECT_TRUE(provider.at("methods").empty());
}

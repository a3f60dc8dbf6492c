// No command loses a copy that somebody uses: two hosts with a catalog each, the provider and its inspector, and the
// embedded appliance.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "tests/backup_fixture.h"

namespace {

using nlohmann::json;

class Copies : public CBackupTest
{
  protected:
    Copies()
    {
        site.addGroup("vault", "payroll", {"data", "journal"});
        site.setUpHosts();
        data = site.device("vault", "data");
        journal = site.device("vault", "journal");
        site.write("vault", "data", "what was there ");
        content = contentOf(data);
        const SRun created = create("nightly", {data, journal});
        EXPECT_EQ(created.status, 0) << created.err;
        checkpoint = created.json().at("snapshot").at("checkpoint");
        image = "KSV_Time_Image_" + checkpoint.substr(std::string("KSV_Check_Point_").size());
    }

    SRun on(const std::string& host, const std::string& verb) const
    {
        return site.fictl(host, {"--output", "json", "snapshot", verb, "nightly"});
    }
    std::string importedPath(const SRun& run) const
    {
        const json document = run.json();
        for (const json& device : document.at("snapshot").at("devices")) {
            if (device.at("source") == data) return device.at("import_path");
        }
        return "no copy";
    }
    std::string state(const std::string& host) const { return on(host, "show").json().at("snapshot").at("state"); }
    std::string imageText() const { return "time image " + image + " of group \"payroll\" of appliance \"vault\""; }

    std::string data;
    std::string journal;
    std::string content;
    /// Compares the refusal of a command that finds the copy in use.
    static void expectError(const SRun& run, const std::string& message, const std::string& next)
    {
        EXPECT_EQ(run.status, 5);
        const json error = run.json().at("error");
        EXPECT_EQ(error.at("message"), message);
        EXPECT_EQ(error.at("next"), next);
    }

    std::string checkpoint;
    std::string image;
};

}  // namespace

TEST_F(Copies, ImportOnASecondHostNamesTheFirstAndNeverAdvisesToDelete)
{
    const auto paths = importOnBackup("nightly");
    const SRun second = on("production", "import");
    expectError(
        second,
        "snapshot \"nightly\": " + imageText() + " is granted to host \"backup\"; a checkpoint has one time image",
        "fictl snapshot release nightly there, then fictl snapshot import nightly here");
    EXPECT_EQ(state("production"), "complete");
    EXPECT_EQ(contentOf(paths.at(data)), content);

    EXPECT_EQ(on("backup", "release").status, 0);
    const SRun here = on("production", "import");
    EXPECT_EQ(here.status, 0) << here.out;
    EXPECT_EQ(contentOf(importedPath(here)), content);
}

TEST_F(Copies, DeletionIsRefusedWhileAnotherHostHasTheCopyUnlessToldTo)
{
    const auto paths = importOnBackup("nightly");
    const SRun refused = on("production", "delete");
    expectError(refused,
                "snapshot \"nightly\": " + imageText() +
                    " is granted to host \"backup\" and not imported by this record; nothing was "
                    "deleted",
                "give it back there with fictl snapshot release nightly, or add --even-if-in-use here to "
                "take it away from there");
    EXPECT_EQ(contentOf(paths.at(data)), content);
    EXPECT_EQ(state("production"), "complete");

    const SRun told = site.fictl("production", {"snapshot", "delete", "nightly", "--even-if-in-use"});
    EXPECT_EQ(told.status, 0) << told.err;
    EXPECT_TRUE(site.copiesOf("vault", "payroll").empty());
    EXPECT_FALSE(std::filesystem::exists(paths.at(data)));
    const SRun afterwards = on("backup", "delete");
    EXPECT_EQ(afterwards.status, 0) << afterwards.err;
}

TEST_F(Copies, ALaterCheckpointOfTheSameNameStays)
{
    carry("nightly");
    const std::string group = "\"" + checkpoint + "\" \"payroll\"\n";
    ASSERT_EQ(site.lmsh("production", "vault", "delete annotation " + group).status, 0);
    // The appliance tells times by the second.
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    ASSERT_EQ(site.lmsh("production", "vault", "create annotation " + group + "set message Later\ncommit\n").status, 0);
    EXPECT_EQ(on("backup", "import").status, 8);
    for (const std::string host : {"backup", "production"}) {
        const SRun deleted = on(host, "delete");
        EXPECT_EQ(deleted.status, 0) << deleted.err;
        EXPECT_NE(deleted.err.find(": it is another one and stays\n"), std::string::npos) << deleted.err;
        EXPECT_EQ(deleted.json().at("deleted").at("groups").at(0).at("result"), "kept");
    }
    EXPECT_EQ(site.copiesOf("vault", "payroll").size(), 1U);
}

TEST_F(Copies, ReleaseDeletesTheImageAndKeepsTheCheckpoint)
{
    const auto paths = importOnBackup("nightly");
    const SRun released = on("backup", "release");
    EXPECT_EQ(released.status, 0) << released.err;
    EXPECT_EQ(released.json().at("snapshot").at("state"), "complete");
    const std::vector<std::string> left = site.copiesOf("vault", "payroll");
    ASSERT_EQ(left.size(), 1u);
    EXPECT_TRUE(left.front().starts_with('"' + checkpoint + '"')) << left.front();
    EXPECT_FALSE(std::filesystem::exists(paths.at(data)));
    EXPECT_EQ(on("production", "delete").status, 0);
    EXPECT_TRUE(site.copiesOf("vault", "payroll").empty());
    EXPECT_EQ(on("backup", "delete").status, 0);
}

TEST_F(Copies, ImportGoesOnWhereAKilledOneLeftOff)
{
    carry("nightly");
    ASSERT_EQ(site.lmadm({"fault", "arm", "hang-after", "--match", "create timeimage"}).status, 0);
    const SRun started = site.shell("backup", "fictl snapshot import nightly </dev/null >/dev/null 2>&1 & echo $!");
    const pid_t fictl = static_cast<pid_t>(std::stol(started.out));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (site.copiesOf("vault", "payroll").size() < 2 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(kill(fictl, SIGKILL), 0);
    EXPECT_EQ(site.copiesOf("vault", "payroll").size(), 2u) << "the image was made";
    while (kill(fictl, 0) == 0 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(site.lmadm({"fault", "clear"}).status, 0);
    EXPECT_EQ(state("backup"), "import-interrupted");

    const SRun again = on("backup", "import");
    EXPECT_EQ(again.status, 0) << again.out;
    EXPECT_EQ(contentOf(importedPath(again)), content);
    EXPECT_EQ(on("production", "delete").status, 5) << "it is the backup host's";
}

TEST_F(Copies, ALunWhoseSerialIsTheNameOfAGroupIsRefused)
{
    const std::string serial = site.serial("vault", "data");
    site.addGroup("vault", serial, {"other"});
    const SRun created = create("weekly", {data});
    EXPECT_EQ(created.status, 7);
    EXPECT_EQ(created.json().at("error").at("message"), "device " + data + ": LUN " + serial +
                                                            " is ambiguous: it is also the name of group " + serial +
                                                            " of appliance vault; nothing was made");
    EXPECT_EQ(created.json().at("error").at("next"), "give the group another name, or keep the LUN in one group");
    EXPECT_EQ(site.copiesOf("vault", "payroll").size(), 1u) << "of the snapshot before";
    EXPECT_TRUE(site.copiesOf("vault", serial).empty());
    EXPECT_EQ(site.fictl("production", {"snapshot", "show", "weekly"}).status, 3);
}

TEST_F(Copies, DeviceListWithoutArgumentsListsEveryDisk)
{
    const auto paths = importOnBackup("nightly");
    const SRun here = site.fictl("production", {"--output", "json", "device", "list"});
    ASSERT_EQ(here.status, 0) << here.err;
    const json listed = here.json().at("devices");
    ASSERT_EQ(listed.size(), 2u) << here.out;
    EXPECT_EQ(listed.at(0).at("path"), data);
    EXPECT_EQ(listed.at(0).at("appliance"), "vault");
    EXPECT_EQ(listed.at(0).at("group"), "payroll");
    EXPECT_EQ(listed.at(0).at("serial"), site.serial("vault", "data"));
    const SRun there = site.fictl("backup", {"--output", "json", "device", "list"});
    ASSERT_EQ(there.status, 0) << there.err;
    std::vector<std::string> shown;
    const json copies = there.json().at("devices");
    for (const json& device : copies) {
        shown.push_back(device.at("path"));
    }
    EXPECT_EQ(shown, (std::vector<std::string>{paths.at(data), paths.at(journal)})) << "copies are disks, too";
}

// Whose everything is, on a whole site: two hosts with a catalog each that share an appliance, objects made by hand,
// and catalogs that are lost.
#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "base/tests/environment_value.h"
#include "tests/backup_fixture.h"

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

class Reconcile : public CBackupTest
{
  protected:
    Reconcile()
    {
        fs::create_directory(site.folder() / "tmp");
        site.addGroup("vault", "payroll", {"data", "journal"});
        site.setUpHosts();
        data = site.device("vault", "data");
        site.write("vault", "data", "what was there ");
        content = contentOf(data);
        const SRun created = create("nightly", {data});
        EXPECT_EQ(created.status, 0) << created.err;
        checkpoint = created.json().at("snapshot").at("checkpoint");
        image = "KSV_Time_Image_" + checkpoint.substr(std::string("KSV_Check_Point_").size());
    }

    json compare(const std::string& host, int status) const
    {
        const SRun run = site.fictl(host, {"--output", "json", "reconcile"});
        EXPECT_EQ(run.status, status) << run.out << run.err;
        return run.json().at("reconcile");
    }
    static std::string classOf(const json& found, const std::string& name)
    {
        for (const json& object : found.at("objects")) {
            if (object.at("name") == name) return object.at("class");
        }
        return "not there";
    }
    static std::set<std::string> classesOf(const json& found, const std::string& kind)
    {
        std::set<std::string> classes;
        for (const json& object : found.at("objects")) {
            if (object.at("kind") == kind) classes.insert(object.at("class").get<std::string>());
        }
        return classes;
    }
    /// Writes a plan on a host and does it; the actions of its steps.
    std::vector<std::string> bringInOrder(const std::string& host) const
    {
        const std::string file = (site.folder() / (host + ".plan")).string();
        EXPECT_EQ(site.fictl(host, {"reconcile", "--plan", file}).status, 0);
        std::vector<std::string> actions;
        const json plan = json::parse(contentOf(file));
        for (const json& step : plan.at("steps")) {
            actions.push_back(step.at("action"));
        }
        const SRun applied = site.fictl(host, {"--output", "json", "reconcile", "--apply", file});
        EXPECT_EQ(applied.status, 0) << applied.out << applied.err;
        return actions;
    }
    SRun forget(const std::string& host) const
    {
        return site.fictl(host, {"snapshot", "delete", "nightly", "--forget"});
    }
    void loseCatalog(const std::string& host) const { fs::remove_all(site.root(host) / "var/lib/qz"); }
    SRun adopt(const std::vector<std::string>& more) const
    {
        std::vector<std::string> words = {"--output", "json", "reconcile", "--adopt", checkpoint, "--as", "again"};
        words.insert(words.end(), more.begin(), more.end());
        return site.fictl("production", words);
    }
    std::string copyOf(const SRun& imported) const
    {
        const json document = imported.json();
        for (const json& device : document.at("snapshot").at("devices")) {
            if (device.at("source") == data) return device.at("import_path");
        }
        return "no copy";
    }
    size_t copies() const { return site.copiesOf("vault", "payroll").size(); }

    std::string data;
    std::string content;
    std::string checkpoint;
    std::string image;

  private:
    const base_test::CEnvironmentValue m_temporary{"TMPDIR", (site.folder() / "tmp").string()};
};

TEST_F(Reconcile, EachOfTwoHostsSeesTheOthersAsForeign)
{
    importOnBackup("nightly");
    const json there = compare("backup", 0);
    EXPECT_EQ(classesOf(there, "copy"), std::set<std::string>{"owned"});
    EXPECT_EQ(classOf(there, image), "owned");
    EXPECT_EQ(classOf(there, checkpoint), "owned");
    const json here = compare("production", 0);
    EXPECT_EQ(classOf(here, image), "foreign");
    EXPECT_EQ(classOf(here, checkpoint), "owned");
}

TEST_F(Reconcile, AHostThatHasForgottenTouchesNothingOfTheOther)
{
    const auto paths = importOnBackup("nightly");
    ASSERT_EQ(forget("production").status, 0);
    const json here = compare("production", 8);
    EXPECT_EQ(classOf(here, checkpoint), "unknown") << "the other host may have its record";
    EXPECT_EQ(classOf(here, image), "foreign");
    EXPECT_TRUE(bringInOrder("production").empty());
    EXPECT_EQ(contentOf(paths.at(data)), content);

    ASSERT_EQ(forget("backup").status, 0);
    const json there = compare("backup", 8);
    EXPECT_EQ(classOf(there, checkpoint), "foreign") << "production has made it";
    EXPECT_EQ(classOf(there, image), "orphan") << "backup has made it, by the appliance's own time";
    EXPECT_EQ(classesOf(there, "copy"), std::set<std::string>{"orphan"});
    EXPECT_TRUE(bringInOrder("backup").empty());
    EXPECT_EQ(copies(), 2U);
}

TEST_F(Reconcile, WhatIsProvenIsDeletedWithItsImage)
{
    ASSERT_EQ(site.fictl("production", {"snapshot", "import", "nightly"}).status, 0);
    ASSERT_EQ(forget("production").status, 0);
    const json found = compare("production", 8);
    EXPECT_EQ(classOf(found, checkpoint), "orphan");
    EXPECT_EQ(classOf(found, image), "orphan");
    EXPECT_EQ(bringInOrder("production"), std::vector<std::string>{"delete checkpoint"});
    EXPECT_EQ(copies(), 0U);
    EXPECT_EQ(compare("production", 0).at("objects"), json::array());
    EXPECT_EQ(contentOf(data), content);
}

TEST_F(Reconcile, ACopyThatIsInUseIsNotTakenAway)
{
    const SRun imported = site.fictl("production", {"--output", "json", "snapshot", "import", "nightly"});
    ASSERT_EQ(imported.status, 0);
    const std::string copy = copyOf(imported);
    ASSERT_EQ(forget("production").status, 0);
    const std::string file = (site.folder() / "plan").string();
    ASSERT_EQ(site.fictl("production", {"reconcile", "--plan", file}).status, 0);
    {
        const std::ifstream user(copy);
        const SRun applied = site.fictl("production", {"--output", "json", "reconcile", "--apply", file});
        EXPECT_EQ(applied.status, 8);
        const json step = applied.json().at("applied").at("steps").at(0);
        EXPECT_EQ(step.at("result"), "failed");
        EXPECT_NE(step.at("reason").get<std::string>().find(" is in use: "), std::string::npos) << step;
        EXPECT_EQ(contentOf(copy), content);
        EXPECT_EQ(classOf(compare("production", 8), checkpoint), "orphan") << "as before";
    }
    const SRun applied = site.fictl("production", {"reconcile", "--apply", file});
    EXPECT_EQ(applied.status, 0) << applied.out << applied.err;
    EXPECT_EQ(copies(), 0U);
}

TEST_F(Reconcile, AProvenCopyIsAdoptedAsImported)
{
    const SRun imported = site.fictl("production", {"--output", "json", "snapshot", "import", "nightly"});
    ASSERT_EQ(forget("production").status, 0);
    const SRun adopted = adopt({});
    ASSERT_EQ(adopted.status, 0) << adopted.err;
    EXPECT_EQ(adopted.json().at("snapshot").at("state"), "imported");
    EXPECT_EQ(copyOf(adopted), copyOf(imported));
    EXPECT_EQ(compare("production", 0).at("counts").at("owned"), 5);
    EXPECT_EQ(site.fictl("production", {"snapshot", "release", "again"}).status, 0);
    EXPECT_EQ(site.fictl("production", {"snapshot", "delete", "again"}).status, 0);
}

TEST_F(Reconcile, WhatWasMadeByHandIsNeverTouched)
{
    const std::string own = "KSV_Check_Point_4711";
    ASSERT_EQ(site.lmsh("production", "vault", "create annotation \"" + own + "\" \"payroll\"\nset message x\ncommit\n")
                  .status,
              0);
    ASSERT_EQ(forget("production").status, 0);
    EXPECT_EQ(classOf(compare("production", 8), own), "foreign");
    EXPECT_EQ(bringInOrder("production"), std::vector<std::string>{"delete checkpoint"});
    EXPECT_EQ(copies(), 1U);
    EXPECT_EQ(classOf(compare("production", 0), own), "foreign");
}

TEST_F(Reconcile, ALostCatalogLosesNoPointInTime)
{
    loseCatalog("production");
    site.write("vault", "data", "what came later ");
    EXPECT_EQ(classOf(compare("production", 0), checkpoint), "foreign");
    EXPECT_EQ(adopt({}).status, 5);
    const SRun adopted = adopt({"--group", "payroll"});
    ASSERT_EQ(adopted.status, 0) << adopted.err;
    const SRun imported = site.fictl("production", {"--output", "json", "snapshot", "import", "again"});
    ASSERT_EQ(imported.status, 0) << imported.err;
    EXPECT_EQ(contentOf(copyOf(imported)), content);
    EXPECT_EQ(site.fictl("production", {"snapshot", "list"}).status, 0);
    EXPECT_EQ(site.fictl("production", {"snapshot", "release", "again"}).status, 0);
    EXPECT_EQ(site.fictl("production", {"snapshot", "delete", "again"}).status, 0);
    EXPECT_EQ(copies(), 0U);
}

TEST_F(Reconcile, AnAdoptedOneGoesToAnotherHost)
{
    loseCatalog("production");
    ASSERT_EQ(adopt({"--group", "payroll"}).status, 0);
    const auto paths = importOnBackup("again");
    EXPECT_EQ(contentOf(paths.at(data)), content);
    EXPECT_EQ(site.fictl("production", {"snapshot", "delete", "again"}).status, 5) << "the other host works with it";
    EXPECT_EQ(site.fictl("backup", {"snapshot", "delete", "again"}).status, 0);
}

TEST_F(Reconcile, AfterALostCatalogACopyOfAnotherHostKeepsItsCheckpoint)
{
    const auto paths = importOnBackup("nightly");
    loseCatalog("production");
    ASSERT_EQ(adopt({"--group", "payroll"}).status, 0);
    EXPECT_EQ(site.fictl("production", {"snapshot", "delete", "again"}).status, 5);
    EXPECT_EQ(contentOf(paths.at(data)), content);
}

TEST_F(Reconcile, YesterdaysCatalogKnowsWhatIsGoneAndNotWhatCameSince)
{
    const fs::path folder = site.root("production") / "var/lib/qz";
    fs::copy(folder, site.folder() / "yesterday");
    const SRun since = create("since", {data});
    const std::string later = since.json().at("snapshot").at("checkpoint");
    ASSERT_EQ(site.fictl("production", {"snapshot", "delete", "nightly"}).status, 0);
    fs::remove_all(folder);
    fs::rename(site.folder() / "yesterday", folder);
    fs::remove(folder / "fictl.db-shm");
    const json found = compare("production", 8);
    EXPECT_EQ(classOf(found, "nightly"), "stale");
    EXPECT_EQ(classOf(found, later), "foreign");
    EXPECT_EQ(bringInOrder("production"), std::vector<std::string>{"forget record"});
    EXPECT_EQ(copies(), 1U);
}

TEST_F(Reconcile, AnApplianceThatTellsOnlyAPartMakesNothingStaleOrAnOrphan)
{
    ASSERT_EQ(create("weekly", {data}).status, 0);
    ASSERT_EQ(forget("production").status, 0);
    using Words = std::vector<std::string>;
    for (const Words& fault : std::vector<Words>{{"error"},
                                                 {"garble", "--match", "cgroup"},
                                                 {"cut", "--at", "3", "--match", "list cgroups"},
                                                 {"cut", "--at", "0", "--match", "list cgroups"},
                                                 {"cut", "--at", "120", "--match", "show cgroup"},
                                                 {"kill-before", "--match", "show cgroup"}}) {
        Words words = {"fault", "arm", "--times", "0"};
        words.insert(words.end(), fault.begin(), fault.end());
        ASSERT_EQ(site.lmadm(words).status, 0);
        const std::string what = testing::PrintToString(fault);
        const json found = compare("production", 8);
        EXPECT_EQ(found.at("counts").at("orphan"), 0) << what;
        EXPECT_EQ(found.at("counts").at("stale"), 0) << what;
        EXPECT_EQ(classOf(found, "weekly"), "unknown") << what;
        EXPECT_NE(adopt({}).status, 0) << what;
        ASSERT_EQ(site.lmadm({"fault", "clear"}).status, 0);
    }
    EXPECT_EQ(classOf(compare("production", 8), checkpoint), "orphan");
    EXPECT_EQ(copies(), 2U);
}

TEST_F(Reconcile, ADownApplianceHidesNothingOfAnother)
{
    site.addGroup("second", "books", {"ledger"});
    site.setUpHosts();
    const std::string ledger = site.device("second", "ledger");
    ASSERT_EQ(create("books", {ledger}).status, 0);
    ASSERT_EQ(forget("production").status, 0);
    ASSERT_EQ(site.lmadm({"fault", "arm", "error", "--match", "second: ", "--times", "0"}).status, 0);
    const json found = compare("production", 8);
    EXPECT_EQ(classOf(found, "books"), "unknown");
    EXPECT_EQ(classOf(found, checkpoint), "orphan");
}

}  // namespace

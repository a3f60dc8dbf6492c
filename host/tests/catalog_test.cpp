#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "host/tests/catalog_fixture.h"

namespace {

TEST_F(CCatalogTest, AnEmptyCatalogListsNothing)
{
    EXPECT_EQ(fictl({"snapshot", "list"}).out, "NAME  STATE  CREATED  DEVICES  GROUPS\n");
    EXPECT_TRUE(fictlJson({"snapshot", "list"}).document()["snapshots"].empty());
}

TEST_F(CCatalogTest, WhoOnlyLooksMakesNoCatalog)
{
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 0);
    EXPECT_EQ(fictl({"snapshot", "show", "s"}).exit, 3);
    EXPECT_EQ(fictl({"catalog", "check"}).out, "there is no catalog yet; the first snapshot begins it\n");
    EXPECT_FALSE(std::filesystem::exists(m_root + "/var"));
}

TEST_F(CCatalogTest, ListShowsSnapshotsInNameOrder)
{
    ASSERT_EQ(fictl({"snapshot", "create", "b", "/dev/fake1", "/dev/fake4"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "create", "a", "/dev/fake1"}).exit, 0);
    const nlohmann::json list = fictlJson({"snapshot", "list"}).document()["snapshots"];
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0]["name"], "a");
    EXPECT_EQ(list[1]["device_count"], 2);
    EXPECT_EQ(list[1]["groups"][1]["group"], "g3");
    const std::string table = fictl({"snapshot", "list"}).out;
    EXPECT_NE(table.find("  2        ap1/g1,ap2/g3\n"), std::string::npos) << table;
}

TEST_F(CCatalogTest, TheCatalogIsForItsOwnerOnly)
{
    begin();
    struct stat status = {};
    ASSERT_EQ(stat((m_root + "/var/lib/qz").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    for (const auto& entry : std::filesystem::directory_iterator(m_root + "/var/lib/qz")) {
        ASSERT_EQ(stat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U) << entry.path();
    }
}

TEST_F(CCatalogTest, ACatalogOfAnotherLayoutIsRefused)
{
    begin();
    change("PRAGMA user_version = 5");
    const SRun run = fictlJson({"snapshot", "list"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_EQ(run.document()["error"]["code"], "catalog");
    EXPECT_NE(run.err.find("not a catalog of this fictl (layout 5, this fictl reads 4)"), std::string::npos) << run.err;
}

TEST_F(CCatalogTest, ACatalogFromBeforeItsIndexGetsItAndKeepsItsRecords)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const std::string before = fictl({"snapshot", "list"}).out;
    change(
        "DROP INDEX snapshot_by_checkpoint; DROP TABLE history; DROP TABLE history_object; DROP TABLE history_run; "
        "DROP TABLE label; ALTER TABLE snapshot DROP COLUMN creator; ALTER TABLE snapshot DROP COLUMN note; "
        "PRAGMA user_version = 2");
    EXPECT_EQ(fictl({"snapshot", "list"}).out, before);
    begin();
    EXPECT_EQ(fictl({"snapshot", "list"}).out, before);
    // Fails unless the index is there again.
    change("SELECT name FROM snapshot INDEXED BY snapshot_by_checkpoint WHERE checkpoint = ''");
}

TEST_F(CCatalogTest, ARowOfNoSnapshotIsNoSnapshotsDevice)
{
    ASSERT_EQ(fictl({"snapshot", "create", "b", "/dev/fake1"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "create", "d", "/dev/fake3"}).exit, 0);
    const std::string before = fictl({"snapshot", "list"}).out;
    for (const std::string name : {"a", "c", "e"}) {
        change(("INSERT INTO device SELECT '" + name +
                "', 0, source, node, target, made, import_path, appliance_type, appliance, cgroup, "
                "time_image, checkpoint, serial, import_serial, image_asked FROM device "
                "WHERE snapshot = 'b'"));
    }
    EXPECT_EQ(fictl({"snapshot", "list"}).out, before);
}

TEST_F(CCatalogTest, AnotherDatabaseIsRefusedAndLeftAlone)
{
    std::filesystem::create_directories(m_root + "/var/lib/qz");
    change("CREATE TABLE other (x)");
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
    change("INSERT INTO other VALUES (1)");
}

TEST_F(CCatalogTest, AFileThatIsNoDatabaseIsRefused)
{
    std::filesystem::create_directories(m_root + "/var/lib/qz");
    base_test::writeFile(catalog(), std::string(4096, 'x'));
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
}

TEST_F(CCatalogTest, NoFileInTheCatalogsPlaceIsFollowedOrWaitedFor)
{
    std::filesystem::create_directories(m_root + "/var/lib/qz");
    std::filesystem::create_symlink(m_root + "/elsewhere", catalog());
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
    EXPECT_FALSE(std::filesystem::exists(m_root + "/elsewhere"));
    std::filesystem::remove(catalog());
    ASSERT_EQ(mkfifo(catalog().c_str(), 0600), 0);
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
    std::filesystem::remove(catalog());
    std::filesystem::create_directory(catalog());
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
}

TEST_F(CCatalogTest, ACatalogWhoseFolderCannotBeMadeStopsCreateBeforeTheAppliance)
{
    // A file in the folder's place: nobody can create a catalog below it, whatever rights the user has.
    std::filesystem::create_directories(m_root + "/var/lib");
    base_test::writeFile(m_root + "/var/lib/qz", "");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_NE(run.err.find("/var/lib/qz"), std::string::npos) << run.err;
    EXPECT_TRUE(calls().empty());
}

TEST_F(CCatalogTest, AnIntentThatCannotBeWrittenStopsCreateBeforeMake)
{
    begin();
    change("CREATE TRIGGER full BEFORE INSERT ON device BEGIN SELECT RAISE(ABORT, 'disk is full'); END");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_NE(run.err.find("disk is full"), std::string::npos) << run.err;
    EXPECT_TRUE(objects().empty());
    EXPECT_EQ(state("s"), "");
    expectClean();
}

TEST_F(CCatalogTest, ARecordThatCannotBeSettledIsInterruptedAndCanBeDeleted)
{
    begin();
    change(
        "CREATE TRIGGER full BEFORE INSERT ON device WHEN NEW.made = 1 "
        "BEGIN SELECT RAISE(ABORT, 'disk is full'); END");
    EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 11);
    EXPECT_EQ(objects().size(), 1U);
    EXPECT_EQ(state("s"), "interrupted");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

}  // namespace

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "base/sqlite.h"
#include "host/tests/fictl_fixture.h"

namespace {

std::string catalogOf(const std::string& root)
{
    return root + "/var/lib/qz/fictl.db";
}

void execSql(const std::string& path, const char* sql)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    sqlite3_close(db);
}

std::string textOf(const std::string& path, const char* sql)
{
    const base::CSqliteDatabase database(path, SQLITE_OPEN_READONLY, std::chrono::seconds(1));
    base::CSqliteQuery row(database, sql);
    return row.next() ? row.text(0) : "no row";
}

TEST_F(CFictlTest, AnEmptyCatalogListsNothing)
{
    EXPECT_EQ(fictl({"snapshot", "list"}).out, "NAME  STATE  CREATED  DEVICES  GROUPS\n");
    EXPECT_TRUE(fictlJson({"snapshot", "list"}).document()["snapshots"].empty());
}

TEST_F(CFictlTest, ListShowsSnapshotsInNameOrder)
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

TEST_F(CFictlTest, TheCatalogIsForItsOwnerOnly)
{
    ASSERT_EQ(fictl({"snapshot", "list"}).exit, 0);
    struct stat status = {};
    ASSERT_EQ(stat((m_root + "/var/lib/qz").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    for (const auto& entry : std::filesystem::directory_iterator(m_root + "/var/lib/qz")) {
        ASSERT_EQ(stat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U) << entry.path();
    }
}

TEST_F(CFictlTest, ACatalogOfAnotherLayoutIsRefused)
{
    ASSERT_EQ(fictl({"snapshot", "list"}).exit, 0);
    execSql(catalogOf(m_root), "PRAGMA user_version = 3");
    const SRun run = fictlJson({"snapshot", "list"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_EQ(run.document()["error"]["code"], "catalog");
    EXPECT_NE(run.err.find("not a catalog of this fictl (layout 3, this fictl reads 2)"), std::string::npos) << run.err;
}

TEST_F(CFictlTest, ACatalogFromBeforeItsIndexGetsItAndKeepsItsRecords)
{
    ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
    const std::string before = fictl({"snapshot", "list"}).out;
    execSql(catalogOf(m_root), "DROP INDEX snapshot_by_checkpoint");
    EXPECT_EQ(fictl({"snapshot", "list"}).out, before);
    // Fails unless the index is there again.
    execSql(catalogOf(m_root), "SELECT name FROM snapshot INDEXED BY snapshot_by_checkpoint WHERE checkpoint = ''");
}

TEST_F(CFictlTest, ACatalogOfTheFirstLayoutIsBroughtUpToDate)
{
    ASSERT_EQ(fictl({"snapshot", "create", "made", "/dev/fake1", "/dev/fake4"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "create", "seen", "/dev/fake3"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "import", "seen"}).exit, 0);
    const std::string before = fictl({"snapshot", "list"}).out;
    execSql(catalogOf(m_root),
            "DROP INDEX snapshot_by_checkpoint;"
            "ALTER TABLE snapshot DROP COLUMN exported; ALTER TABLE snapshot DROP COLUMN pid_namespace;"
            "ALTER TABLE snapshot DROP COLUMN owner_lock; ALTER TABLE device DROP COLUMN import_serial;"
            "ALTER TABLE device DROP COLUMN image_asked; PRAGMA user_version = 1");
    EXPECT_EQ(fictl({"snapshot", "list"}).out, before);
    execSql(catalogOf(m_root), "SELECT name FROM snapshot INDEXED BY snapshot_by_checkpoint WHERE checkpoint = ''");
    EXPECT_EQ(textOf(catalogOf(m_root), "SELECT group_concat(name || exported, ' ') FROM snapshot"), "made1 seen1");
    EXPECT_EQ(textOf(catalogOf(m_root), "SELECT group_concat(snapshot || image_asked, ' ') FROM device"),
              "made0 made0 seen1");
}

TEST_F(CFictlTest, ARowOfNoSnapshotIsNoSnapshotsDevice)
{
    ASSERT_EQ(fictl({"snapshot", "create", "b", "/dev/fake1"}).exit, 0);
    ASSERT_EQ(fictl({"snapshot", "create", "d", "/dev/fake3"}).exit, 0);
    const std::string before = fictl({"snapshot", "list"}).out;
    for (const std::string name : {"a", "c", "e"}) {
        execSql(catalogOf(m_root), ("INSERT INTO device SELECT '" + name +
                                    "', 0, source, node, target, made, import_path, appliance_type, appliance, cgroup, "
                                    "time_image, checkpoint, serial, import_serial, image_asked FROM device "
                                    "WHERE snapshot = 'b'")
                                       .c_str());
    }
    EXPECT_EQ(fictl({"snapshot", "list"}).out, before);
}

TEST_F(CFictlTest, AnotherDatabaseIsRefusedAndLeftAlone)
{
    std::filesystem::create_directories(m_root + "/var/lib/qz");
    execSql(catalogOf(m_root), "CREATE TABLE other (x)");
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
    execSql(catalogOf(m_root), "INSERT INTO other VALUES (1)");
}

TEST_F(CFictlTest, AFileThatIsNoDatabaseIsRefused)
{
    std::filesystem::create_directories(m_root + "/var/lib/qz");
    base_test::writeFile(catalogOf(m_root), std::string(4096, 'x'));
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
}

TEST_F(CFictlTest, NoFileInTheCatalogsPlaceIsFollowedOrWaitedFor)
{
    std::filesystem::create_directories(m_root + "/var/lib/qz");
    std::filesystem::create_symlink(m_root + "/elsewhere", catalogOf(m_root));
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
    EXPECT_FALSE(std::filesystem::exists(m_root + "/elsewhere"));
    std::filesystem::remove(catalogOf(m_root));
    ASSERT_EQ(mkfifo(catalogOf(m_root).c_str(), 0600), 0);
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
    std::filesystem::remove(catalogOf(m_root));
    std::filesystem::create_directory(catalogOf(m_root));
    EXPECT_EQ(fictl({"snapshot", "list"}).exit, 11);
}

TEST_F(CFictlTest, ACatalogWhoseFolderCannotBeMadeStopsCreateBeforeTheAppliance)
{
    // A file in the folder's place: nobody can create a catalog below it, whatever rights the user has.
    std::filesystem::create_directories(m_root + "/var/lib");
    base_test::writeFile(m_root + "/var/lib/qz", "");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_NE(run.err.find("/var/lib/qz"), std::string::npos) << run.err;
    EXPECT_TRUE(calls().empty());
}

TEST_F(CFictlTest, AnIntentThatCannotBeWrittenStopsCreateBeforeMake)
{
    ASSERT_EQ(fictl({"snapshot", "list"}).exit, 0);
    execSql(catalogOf(m_root),
            "CREATE TRIGGER full BEFORE INSERT ON device BEGIN SELECT RAISE(ABORT, 'disk is full'); END");
    const SRun run = fictl({"snapshot", "create", "s", "/dev/fake1"});
    EXPECT_EQ(run.exit, 11);
    EXPECT_NE(run.err.find("disk is full"), std::string::npos) << run.err;
    EXPECT_TRUE(objects().empty());
    EXPECT_EQ(state("s"), "");
    expectClean();
}

TEST_F(CFictlTest, ARecordThatCannotBeSettledIsInterruptedAndCanBeDeleted)
{
    ASSERT_EQ(fictl({"snapshot", "list"}).exit, 0);
    execSql(catalogOf(m_root),
            "CREATE TRIGGER full BEFORE INSERT ON device WHEN NEW.made = 1 "
            "BEGIN SELECT RAISE(ABORT, 'disk is full'); END");
    EXPECT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 11);
    EXPECT_EQ(objects().size(), 1U);
    EXPECT_EQ(state("s"), "interrupted");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_TRUE(objects().empty());
}

}  // namespace

// Looking at the catalog where nothing can be written, or somebody else is writing.
#include "host/src/catalog/catalog_reading.h"

#include "host/tests/catalog_fixture.h"

namespace fs = std::filesystem;

namespace {

class CCatalogReadingTest : public CCatalogTest
{
  protected:
    void SetUp() override
    {
        CCatalogTest::SetUp();
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
        m_list = fictl({"snapshot", "list"}).out;
        for (const char* file : {"-wal", "-shm"}) {
            fs::remove(catalog() + file);
        }
    }

    // As a read-only file system does, for whatever user: SQLite cannot have its files beside the catalog.
    void refuseFiles() const { fs::create_symlink("nowhere", catalog() + "-shm"); }

    /// Has a change in the log that the file itself does not hold.
    void leaveLog() const
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(catalog().c_str(), &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db, "UPDATE snapshot SET state = 'failed'", nullptr, nullptr, nullptr), SQLITE_OK);
        fs::copy_file(catalog() + "-wal", m_root + "/log");
        fs::copy_file(catalog(), m_root + "/file");
        sqlite3_close(db);
        fs::rename(m_root + "/log", catalog() + "-wal");
        fs::rename(m_root + "/file", catalog());
    }

    void expectReadable() const
    {
        const SRun list = fictl({"snapshot", "list"});
        EXPECT_EQ(list.exit, 0) << list.err;
        EXPECT_EQ(list.out, m_list);
        EXPECT_EQ(state("s"), "complete");
    }

    std::string m_list;
};

TEST_F(CCatalogReadingTest, GoesOnWhileAnotherProcessHoldsTheLock)
{
    base::CSqliteDatabase other(catalog(), SQLITE_OPEN_READWRITE, std::chrono::seconds(1));
    const base::CSqliteTransaction held(other, base::CSqliteTransaction::EKind::WRITE);
    other.execute("UPDATE snapshot SET state = 'failed'");
    expectReadable();
}

TEST_F(CCatalogReadingTest, NeedsNoFilesOfItsOwn)
{
    refuseFiles();
    expectReadable();
    EXPECT_TRUE(fs::is_symlink(catalog() + "-shm"));
}

TEST_F(CCatalogReadingTest, NeverPassesOverALog)
{
    leaveLog();
    refuseFiles();
    EXPECT_EQ(state("s"), "failed");
    EXPECT_EQ(fictl({"catalog", "check"}).exit, 0);
    EXPECT_GT(fs::file_size(catalog() + "-wal"), 0U);
}

TEST_F(CCatalogReadingTest, BeginsAnewWhenTheCatalogChangesMeanwhile)
{
    refuseFiles();
    fictl::CCatalogReading reading(catalog());
    std::vector<std::string> seen;
    reading.run([&](const base::CSqliteDatabase& database) {
        base::CSqliteQuery row(database, "SELECT state FROM snapshot");
        seen.push_back(row.next() ? row.text(0) : "none");
        if (seen.size() > 1) return;
        fs::remove(catalog() + "-shm");
        EXPECT_EQ(fictl({"snapshot", "delete", "s", "--forget"}).exit, 0);
    });
    EXPECT_EQ(seen, (std::vector<std::string>{"complete", "none"}));
}

TEST_F(CCatalogReadingTest, WorksOnAReadOnlyFileSystem)
{
    for (const bool hasLog : {false, true}) {
        if (hasLog) leaveLog();
        const std::string script =
            "mount --bind \"$0\" \"$0\" && mount -o remount,bind,ro \"$0\" && "
            "! touch \"$0/probe\" 2>/dev/null && exec \"$1\" --output json snapshot show s";
        const SRun run = runProgram("/usr/bin/unshare", {"-rm", "sh", "-c", script, folder(), FICTL_PROGRAM});
        ASSERT_EQ(run.exit, 0) << run.err;
        EXPECT_EQ(run.document()["snapshot"]["state"], hasLog ? "failed" : "complete");
    }
}

TEST_F(CCatalogReadingTest, WorksOnAFullFileSystem)
{
    const std::string script =
        "mount -t tmpfs -o size=256k none \"$0/tmp\" && cp -a \"$0/var\" \"$0/tmp\" && "
        "! cat /dev/zero >\"$0/tmp/rest\" 2>/dev/null && OBZX_ROOT=\"$0/tmp\" exec \"$1\" snapshot list";
    const SRun run = runProgram("/usr/bin/unshare", {"-rm", "sh", "-c", script, m_root, FICTL_PROGRAM});
    ASSERT_EQ(run.exit, 0) << run.err;
    EXPECT_EQ(run.out, m_list);
}

}  // namespace

// A catalog of an older layout: what is read of it, how it is brought up to date, and what is kept of it.
#include <sys/stat.h>

#include "host/tests/catalog_fixture.h"

namespace fs = std::filesystem;

namespace {

/// What makes layout 3 of layout 4.
constexpr const char* WITHOUT_LABELS =
    "DROP TABLE label; ALTER TABLE snapshot DROP COLUMN creator; ALTER TABLE snapshot DROP COLUMN note;"
    "PRAGMA user_version = 3;";

class CCatalogLayoutTest : public CCatalogTest
{
  protected:
    void SetUp() override
    {
        CCatalogTest::SetUp();
        ASSERT_EQ(fictl({"snapshot", "create", "made", "/dev/fake1", "/dev/fake4"}).exit, 0);
        ASSERT_EQ(fictl({"snapshot", "create", "seen", "/dev/fake3"}).exit, 0);
        ASSERT_EQ(fictl({"snapshot", "import", "seen"}).exit, 0);
        m_before = fictl({"snapshot", "list"}).out;
        change(WITHOUT_LABELS);
        change(
            "DROP INDEX snapshot_by_checkpoint; DROP TABLE checkpoint_time;"
            "DROP TABLE history; DROP TABLE history_object; DROP TABLE history_run;"
            "ALTER TABLE snapshot DROP COLUMN exported; ALTER TABLE snapshot DROP COLUMN pid_namespace;"
            "ALTER TABLE snapshot DROP COLUMN owner_lock; ALTER TABLE device DROP COLUMN import_serial;"
            "ALTER TABLE device DROP COLUMN image_asked; PRAGMA user_version = 1");
    }

    SRun bringUpToDate() const { return fictl({"snapshot", "delete", "none"}); }
    std::string backup(const std::string& number = "") const { return catalog() + ".version-1" + number + ".bak"; }
    std::string told(const std::string& file) const
    {
        return "fictl: the catalog has the layout of this fictl now; what it was before is kept in " + file +
               "\nfictl: snapshot \"none\" is not in the catalog\n  next: fictl snapshot list\n";
    }
    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder())) {
            if (entry.path().extension() == ".bak") names.push_back(entry.path());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string m_before;
};

TEST_F(CCatalogLayoutTest, TheFirstOneIsReadAsItIs)
{
    EXPECT_EQ(fictl({"snapshot", "list"}).out, m_before);
    EXPECT_EQ(state("seen"), "imported");
    EXPECT_EQ(fictl({"catalog", "check"}).out, "catalog " + catalog() + " is sound: 2 records with 3 devices\n");
    EXPECT_EQ(fictl({"history"}).out, "nothing is known\n");
    EXPECT_EQ(textOf("PRAGMA user_version"), "1");
    EXPECT_TRUE(files().empty());
}

TEST_F(CCatalogLayoutTest, TheFirstOneIsBroughtUpToDate)
{
    EXPECT_EQ(bringUpToDate().exit, 3);
    EXPECT_EQ(fictl({"snapshot", "list"}).out, m_before);
    change("SELECT name FROM snapshot INDEXED BY snapshot_by_checkpoint WHERE checkpoint = ''");
    EXPECT_EQ(textOf("SELECT group_concat(name || exported, ' ') FROM snapshot"), "made1 seen1");
    EXPECT_EQ(textOf("SELECT group_concat(snapshot || image_asked, ' ') FROM device"), "made0 made0 seen1");
}

TEST_F(CCatalogLayoutTest, WhatItWasIsKeptForItsOwnerAndTold)
{
    EXPECT_EQ(bringUpToDate().err, told(backup()));
    EXPECT_EQ(files(), std::vector<std::string>{backup()});
    EXPECT_EQ(fs::status(backup()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(textOf(backup(), "PRAGMA user_version"), "1");
    EXPECT_EQ(textOf(backup(), "SELECT group_concat(name, ' ') FROM snapshot"), "made seen");
    EXPECT_EQ(bringUpToDate().err, "fictl: snapshot \"none\" is not in the catalog\n  next: fictl snapshot list\n")
        << "it is up to date";
}

TEST_F(CCatalogLayoutTest, WhatIsOnlyInTheLogIsKeptToo)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(catalog().c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "UPDATE snapshot SET message = 'late'", nullptr, nullptr, nullptr), SQLITE_OK);
    ASSERT_GT(fs::file_size(catalog() + "-wal"), 0U);
    bringUpToDate();
    sqlite3_close(db);
    EXPECT_EQ(textOf(backup(), "SELECT message FROM snapshot"), "late");
}

TEST_F(CCatalogLayoutTest, ACopyThatIsThereIsTakenWhenItIsTheSameAndLeftWhenItDiffers)
{
    base_test::writeFile(backup(), "of somebody else");
    EXPECT_EQ(bringUpToDate().err, told(backup("-2")));
    EXPECT_EQ(base_test::contentOf(backup()), "of somebody else");
    EXPECT_EQ(textOf(backup("-2"), "PRAGMA user_version"), "1");
    // The catalog as it was again: a try that was killed before its change.
    fs::copy_file(backup("-2"), catalog(), fs::copy_options::overwrite_existing);
    EXPECT_EQ(bringUpToDate().err, told(backup("-2")));
    EXPECT_EQ(files(), (std::vector<std::string>{backup("-2"), backup()}));
}

TEST_F(CCatalogLayoutTest, NothingIsChangedWithoutACopy)
{
    fs::create_directory(backup() + ".part");
    EXPECT_EQ(refusal({"snapshot", "delete", "made"}),
              "catalog " + catalog() +
                  ": its layout is an older one, and it is not changed without a copy: cannot create " + backup() +
                  ".part: Is a directory");
    EXPECT_EQ(textOf("PRAGMA user_version"), "1");
    EXPECT_EQ(fictl({"snapshot", "list"}).out, m_before);
}

/// A catalog of layout 2, which knew the times of checkpoints, and had no history.
class CSecondLayoutTest : public CCatalogTest
{
  protected:
    void SetUp() override
    {
        CCatalogTest::SetUp();
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
        m_before = fictl({"snapshot", "export", "s"}).out;
        change(WITHOUT_LABELS);
        change("DROP TABLE history; DROP TABLE history_object; DROP TABLE history_run; PRAGMA user_version = 2");
    }

    std::string m_before;
};

TEST_F(CSecondLayoutTest, ReadsAsItIsWithoutHistory)
{
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(fictl({"history"}).out, "nothing is known\n");
    EXPECT_EQ(fictl({"catalog", "check"}).out, "catalog " + catalog() + " is sound: 1 record with 1 device\n");
    EXPECT_EQ(textOf("PRAGMA user_version"), "2");
}

TEST_F(CSecondLayoutTest, IsBroughtUpToDateWholeAndKeptAsItWas)
{
    const SRun run = fictl({"snapshot", "export", "s"});
    const std::string backup = catalog() + ".version-2.bak";
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.err,
              "fictl: the catalog has the layout of this fictl now; what it was before is kept in " + backup + "\n");
    EXPECT_EQ(run.out, m_before);
    EXPECT_EQ(textOf("SELECT made_at FROM checkpoint_time"), "2026-01-31T12:00:00Z");
    EXPECT_EQ(textOf(backup, "PRAGMA user_version"), "2");
    EXPECT_EQ(textOf(backup, "SELECT name FROM snapshot"), "s");
    const nlohmann::json history = fictlJson({"history"}).document()["history"];
    ASSERT_EQ(history.size(), 1U);
    EXPECT_EQ(history[0]["snapshot"], "s");
}

TEST_F(CSecondLayoutTest, WithoutTimesIsBroughtUpToDateToo)
{
    change("DROP TABLE checkpoint_time");
    EXPECT_EQ(state("s"), "complete");
    EXPECT_EQ(fictl({"snapshot", "delete", "s"}).exit, 0);
    EXPECT_EQ(textOf("SELECT count(*) FROM checkpoint_time"), "0");
}

/// A catalog of layout 3, which knew neither labels and notes nor who made a snapshot.
class CThirdLayoutTest : public CCatalogTest
{
  protected:
    void SetUp() override
    {
        CCatalogTest::SetUp();
        ASSERT_EQ(fictl({"snapshot", "create", "s", "/dev/fake1"}).exit, 0);
        change(WITHOUT_LABELS);
    }

    nlohmann::json shown() const { return fictlJson({"snapshot", "show", "s"}).document()["snapshot"]; }
};

TEST_F(CThirdLayoutTest, ReadsAsItIsWithoutLabels)
{
    EXPECT_EQ(shown()["labels"], nlohmann::json::object());
    EXPECT_EQ(shown()["note"], nullptr);
    EXPECT_EQ(shown()["creator"], nullptr);
    EXPECT_EQ(shown()["devices"][0]["made_at"], "2026-01-31T12:00:00Z");
    EXPECT_EQ(fictlJson({"history"}).document()["history"].size(), 1U);
    EXPECT_EQ(fictl({"catalog", "check"}).out, "catalog " + catalog() + " is sound: 1 record with 1 device\n");
    EXPECT_EQ(textOf("PRAGMA user_version"), "3");
}

TEST_F(CThirdLayoutTest, IsBroughtUpToDateWholeAndKeptAsItWas)
{
    const SRun run = fictl({"snapshot", "label", "s", "tier=gold"});
    const std::string backup = catalog() + ".version-3.bak";
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.err,
              "fictl: the catalog has the layout of this fictl now; what it was before is kept in " + backup + "\n");
    EXPECT_EQ(shown()["labels"]["tier"], "gold");
    EXPECT_EQ(fictlJson({"history"}).document()["history"].size(), 2U);
    EXPECT_EQ(textOf(backup, "PRAGMA user_version"), "3");
    EXPECT_EQ(textOf(backup, "SELECT name FROM snapshot"), "s");
    EXPECT_EQ(textOf("PRAGMA user_version"), "4");
}

}  // namespace

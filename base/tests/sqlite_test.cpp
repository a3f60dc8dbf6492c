#include "base/sqlite.h"

#include <gtest/gtest.h>

#include <functional>

#include "base/tests/temporary_folder.h"
#include "base/tests/text_file.h"

using base::CSqliteDatabase;
using base::CSqliteQuery;
using base::CSqliteTransaction;
using base::ESqlite;

namespace {

constexpr int CREATE = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
constexpr std::chrono::milliseconds NO_PATIENCE{0};

class Sqlite : public testing::Test
{
  protected:
    Sqlite() { m_database.execute("CREATE TABLE t (number INTEGER, text TEXT)"); }

    int64_t rows() const
    {
        CSqliteQuery query(m_database, "SELECT count(*) FROM t");
        query.next();
        return query.integer(0);
    }

    base_test::CTemporaryFolder m_folder;
    CSqliteDatabase m_database{m_folder / "db", CREATE, NO_PATIENCE};
};

int codeOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const ESqlite& error) {
        return error.primaryCode();
    }
    return SQLITE_OK;
}

}  // namespace

TEST_F(Sqlite, GivesBackWhatWasBound)
{
    const std::string text = std::string("a\0b", 3);
    CSqliteQuery(m_database, "INSERT INTO t VALUES (?, ?)", int64_t{-7}, text).run();
    EXPECT_EQ(m_database.changes(), 1);
    EXPECT_EQ(m_database.lastId(), 1);
    CSqliteQuery query(m_database, "SELECT number, text FROM t WHERE number = ?");
    query.bind(-7);
    ASSERT_TRUE(query.next());
    EXPECT_EQ(query.integer(0), -7);
    EXPECT_EQ(query.text(1), text);
    EXPECT_FALSE(query.next());
}

TEST_F(Sqlite, AnEmptyTextIsNotNull)
{
    CSqliteQuery(m_database, "INSERT INTO t VALUES (1, ?)", std::string_view()).run();
    CSqliteQuery query(m_database, "SELECT text IS NULL FROM t");
    ASSERT_TRUE(query.next());
    EXPECT_EQ(query.integer(0), 0);
}

TEST_F(Sqlite, ATransactionThatIsNotCommittedIsUndone)
{
    {
        CSqliteTransaction transaction(m_database, CSqliteTransaction::EKind::WRITE);
        m_database.execute("INSERT INTO t VALUES (1, 'a')");
    }
    EXPECT_EQ(rows(), 0);
    {
        CSqliteTransaction transaction(m_database, CSqliteTransaction::EKind::WRITE);
        m_database.execute("INSERT INTO t VALUES (1, 'a')");
        transaction.commit();
    }
    EXPECT_EQ(rows(), 1);
}

TEST_F(Sqlite, AWriteTransactionKeepsOtherWritersOutFromItsStart)
{
    CSqliteDatabase other(m_folder / "db", CREATE, NO_PATIENCE);
    const CSqliteTransaction transaction(m_database, CSqliteTransaction::EKind::WRITE);
    EXPECT_EQ(codeOf([&] { other.execute("INSERT INTO t VALUES (1, 'a')"); }), SQLITE_BUSY);
}

TEST_F(Sqlite, WhatFailsTellsSQLitesOwnCodeAndWords)
{
    EXPECT_EQ(codeOf([&] { m_database.execute("SELECT text FROM nowhere"); }), SQLITE_ERROR);
    EXPECT_EQ(codeOf([&] { CSqliteQuery(m_database, "no statement"); }), SQLITE_ERROR);
    EXPECT_EQ(codeOf([&] { CSqliteQuery(m_database, "SELECT 1", 2); }), SQLITE_RANGE);
    EXPECT_EQ(codeOf([&] { CSqliteDatabase(m_folder / "none" / "db", CREATE, NO_PATIENCE); }), SQLITE_CANTOPEN);
    try {
        m_database.execute("SELECT text FROM nowhere");
    } catch (const ESqlite& error) {
        EXPECT_STREQ(error.what(), "no such table: nowhere");
    }
}

TEST_F(Sqlite, AnOwnersTranslationIsThrownInPlaceOfIt)
{
    struct SRefused
    {
        std::string file;
        int code;
    };
    const auto refuse = [](const std::string& file, const ESqlite& error) { throw SRefused{file, error.code()}; };
    try {
        CSqliteDatabase(m_folder.path(), CREATE, NO_PATIENCE, refuse);
        ADD_FAILURE();
    } catch (const SRefused& refused) {
        EXPECT_EQ(refused.file, m_folder.path().string());
    }
    CSqliteDatabase database(m_folder / "other", CREATE, NO_PATIENCE, refuse);
    EXPECT_THROW(database.execute("nonsense"), SRefused);
    EXPECT_THROW(CSqliteQuery(database, "nonsense"), SRefused);
}

TEST_F(Sqlite, AQueryBeginsAnewWithOtherValues)
{
    m_database.execute("INSERT INTO t VALUES (1, 'a'), (1, 'b'), (2, 'c')");
    CSqliteQuery query(m_database, "SELECT text FROM t WHERE number = ? AND text >= ? ORDER BY text", 1, "a");
    ASSERT_TRUE(query.next());
    EXPECT_EQ(query.text(0), "a");
    query.again(2, "b");
    ASSERT_TRUE(query.next());
    EXPECT_EQ(query.text(0), "c");
    EXPECT_FALSE(query.next());
}

TEST_F(Sqlite, TheContentIsThatOfAFileWithAllThatWasCommitted)
{
    m_database.execute("PRAGMA journal_mode = WAL; INSERT INTO t VALUES (1, 'only in the log')");
    base_test::writeFile(m_folder / "copy", m_database.content());
    const CSqliteDatabase copy(m_folder / "copy", SQLITE_OPEN_READONLY, NO_PATIENCE);
    CSqliteQuery query(copy, "SELECT text FROM t");
    ASSERT_TRUE(query.next());
    EXPECT_EQ(query.text(0), "only in the log");
}

#pragma once

#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "base/sqlite.h"
#include "host/tests/fictl_fixture.h"

/// The catalog of the test's host, and what somebody else does to it.
class CCatalogTest : public CFictlTest
{
  protected:
    std::string folder() const { return m_root + "/var/lib/qz"; }
    std::string catalog() const { return folder() + "/fictl.db"; }

    /// Has fictl make a catalog without records.
    void begin() const { ASSERT_EQ(fictl({"snapshot", "delete", "none"}).exit, 3); }

    void change(const std::string& sql) const
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(catalog().c_str(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
        sqlite3_close(db);
    }

    static std::string textOf(const std::string& file, const char* sql)
    {
        const base::CSqliteDatabase database(file, SQLITE_OPEN_READONLY, std::chrono::seconds(1));
        base::CSqliteQuery row(database, sql);
        return row.next() ? row.text(0) : "no row";
    }
    std::string textOf(const char* sql) const { return textOf(catalog(), sql); }

    /// The message of a command that ends with the exit code of the catalog.
    std::string refusal(const std::vector<std::string>& arguments) const
    {
        const SRun run = fictlJson(arguments);
        EXPECT_EQ(run.exit, 11) << run.out << run.err;
        return run.exit == 0 ? "" : run.message();
    }
};

#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace fictl {

/// A call of SQLite that failed.
class ESqlite : public std::runtime_error
{
  public:
    ESqlite(int code, const std::string& text) : std::runtime_error(text), m_code(code) {}
    ~ESqlite() override;
    ESqlite(const ESqlite&) = default;
    ESqlite& operator=(const ESqlite&) = default;
    int code() const { return m_code; }  ///< extended result code

  private:
    int m_code;
};

/// A database connection; every failing call throws ESqlite. Used by one thread.
class CSqliteDb
{
  public:
    CSqliteDb(const std::string& path, int flags);
    ~CSqliteDb();
    CSqliteDb(const CSqliteDb&) = delete;
    CSqliteDb& operator=(const CSqliteDb&) = delete;

    void exec(const char* sql);
    sqlite3* handle() const { return m_db; }

  private:
    sqlite3* m_db = nullptr;
};

/// One prepared statement: bind all values in order, step, read columns.
class CStatement
{
  public:
    CStatement(const CSqliteDb& db, const char* sql);
    ~CStatement();
    CStatement(const CStatement&) = delete;
    CStatement& operator=(const CStatement&) = delete;

    CStatement& bind(const std::string& text);
    CStatement& bind(int64_t number);
    bool step();            ///< true when there is a row
    void run() { step(); }  ///< for a statement without rows
    std::string text(int column) const;
    int64_t number(int column) const;

  private:
    void check(int code) const;
    sqlite3* m_db;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

/// Holds the write lock from the start and rolls back unless committed.
class CTransaction
{
  public:
    explicit CTransaction(CSqliteDb& db);
    ~CTransaction();
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;
    void commit();

  private:
    CSqliteDb& m_db;
    bool m_open = true;
};

}  // namespace fictl

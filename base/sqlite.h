#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace base {

/// A call of SQLite that failed.
class ESqlite : public std::runtime_error
{
  public:
    ESqlite(int code, const std::string& text) : std::runtime_error(text), m_code(code) {}
    ~ESqlite() override;
    ESqlite(const ESqlite&) = default;
    ESqlite& operator=(const ESqlite&) = default;
    /// Extended result code; its lowest byte is the primary one.
    int code() const noexcept { return m_code; }
    int primaryCode() const noexcept { return m_code & 0xFF; }

  private:
    int m_code;
};

/// One connection to a database file. Used by one thread. Other processes may use the same file; one that holds its
/// lock is waited for. Everything that fails throws ESqlite with SQLite's own words, or what the owner's translation
/// makes of it.
class CSqliteDatabase
{
  public:
    /// Throws in place of ESqlite; must not return.
    using CFailure = void (*)(const std::string& file, const ESqlite& error);

    /// @param flags as sqlite3_open_v2 takes them
    /// @param patience how long a lock of another process is waited for
    CSqliteDatabase(const std::string& file, int flags, std::chrono::milliseconds patience, CFailure failure = nullptr);
    ~CSqliteDatabase();
    CSqliteDatabase(const CSqliteDatabase&) = delete;
    CSqliteDatabase& operator=(const CSqliteDatabase&) = delete;

    /// Runs statements without parameters and results.
    void execute(const char* sql);
    int64_t lastId() const noexcept { return sqlite3_last_insert_rowid(m_handle); }
    /// Rows that the last statement inserted, updated or deleted.
    int changes() const noexcept { return sqlite3_changes(m_handle); }

    /// The whole database as the bytes of a file, as this connection sees it now: what is only in its log stands in it.
    std::string content() const;

    /// For what is not wrapped here.
    sqlite3* handle() const noexcept { return m_handle; }
    /// Throws what a result code of the handle stands for.
    [[noreturn]] void fail(int code) const;
    void check(int code) const
    {
        if (code != SQLITE_OK) fail(code);
    }

  private:
    const std::string m_file;
    const CFailure m_failure;
    sqlite3* m_handle = nullptr;
};

/// One statement with its parameters bound, in order, from the arguments: integers and texts, which are copied.
class CSqliteQuery
{
  public:
    template <class... Values>
    explicit CSqliteQuery(const CSqliteDatabase& database, const char* sql, const Values&... values)
        : CSqliteQuery(SPrepared{}, database, sql)  // whole by then, so that a value that is refused leaves nothing
    {
        (bind(values), ...);
    }
    ~CSqliteQuery() { sqlite3_finalize(m_statement); }
    CSqliteQuery(const CSqliteQuery&) = delete;
    CSqliteQuery& operator=(const CSqliteQuery&) = delete;

    /// Binds the next parameter.
    template <class Value>
    CSqliteQuery& bind(const Value& value)
    {
        if constexpr (std::is_integral_v<Value>) {
            bindInteger(static_cast<int64_t>(value));
        } else {
            bindText(value);
        }
        return *this;
    }

    /// Begins anew with other values, which spares preparing the statement again.
    template <class... Values>
    void again(const Values&... values)
    {
        sqlite3_reset(m_statement);  // tells the last run's failure once more
        m_bound = 0;
        (bind(values), ...);
    }
    /// Moves to the next row; false after the last one.
    bool next();
    /// Runs a statement whose rows do not matter.
    void run();
    int64_t integer(int column) const noexcept { return sqlite3_column_int64(m_statement, column); }
    /// A text or blob with all its bytes; empty for NULL. The view lasts until the statement moves or begins anew.
    std::string text(int column) const { return std::string(view(column)); }
    std::string_view view(int column) const;

  private:
    struct SPrepared
    {
    };
    CSqliteQuery(SPrepared, const CSqliteDatabase& database, const char* sql);

    void bindInteger(int64_t value);
    void bindText(std::string_view value);

    const CSqliteDatabase& m_database;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

/// All or nothing: what was not committed at the end of the object is undone. A READ transaction sees one state of the
/// database throughout; a WRITE one takes its lock at once, so that what it checks still holds when it writes.
class CSqliteTransaction
{
  public:
    enum class EKind : uint8_t
    {
        READ,
        WRITE,
    };

    CSqliteTransaction(CSqliteDatabase& database, EKind kind);
    ~CSqliteTransaction();
    CSqliteTransaction(const CSqliteTransaction&) = delete;
    CSqliteTransaction& operator=(const CSqliteTransaction&) = delete;

    /// Returns when the changes are as safe as the database's settings make them.
    void commit();

  private:
    CSqliteDatabase& m_database;
    bool m_isOpen = true;
};

}  // namespace base

#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <type_traits>

namespace lumora {

/// One connection to a SQLite database in WAL mode. Not for use by several threads at once. Other processes may use the
/// same database; a busy database is waited for. Failures are EApplianceError: storage for a full disk or failed I/O,
/// unusable for a file that is missing, damaged or not a database.
class CDatabase
{
  public:
    enum class EMode : uint8_t
    {
        EXISTING,
        CREATE
    };

    CDatabase(const std::filesystem::path& file, EMode mode);
    ~CDatabase();
    CDatabase(const CDatabase&) = delete;
    CDatabase& operator=(const CDatabase&) = delete;

    /// Runs statements without parameters and results.
    void execute(const char* sql);
    int64_t lastId() const noexcept;
    /// Rows that the last statement inserted, updated or deleted.
    int changes() const noexcept;

    /// Throws what an SQLite result code stands for.
    [[noreturn]] void fail(int code) const;
    sqlite3* handle() const noexcept { return m_handle; }

  private:
    sqlite3* m_handle = nullptr;
    std::string m_file;
};

/// One statement with its parameters bound, in order, from the arguments (integers and texts).
class CQuery
{
  public:
    template <class... Values>
    CQuery(CDatabase& database, const char* sql, const Values&... values) : CQuery(database, sql, nullptr)
    {
        int index = 0;
        (bind(++index, values), ...);
    }
    ~CQuery();
    CQuery(const CQuery&) = delete;
    CQuery& operator=(const CQuery&) = delete;

    /// Moves to the next row; false after the last one.
    bool next();
    /// Runs a statement whose rows do not matter.
    void run();
    int64_t integer(int column) const noexcept;
    std::string text(int column) const;

  private:
    CQuery(CDatabase& database, const char* sql, std::nullptr_t);

    void bindInteger(int index, int64_t value);
    void bindText(int index, std::string_view value);
    template <class Value>
    void bind(int index, const Value& value)
    {
        if constexpr (std::is_integral_v<Value>) {
            bindInteger(index, static_cast<int64_t>(value));
        } else {
            bindText(index, value);
        }
    }

    CDatabase& m_database;
    sqlite3_stmt* m_statement = nullptr;
};

/// All or nothing: what was not committed at the end of the object is undone. A read transaction sees one state of
/// the database throughout.
class CTransaction
{
  public:
    enum class EKind : uint8_t
    {
        READ,
        WRITE
    };

    CTransaction(CDatabase& database, EKind kind);
    ~CTransaction();
    CTransaction(const CTransaction&) = delete;
    CTransaction& operator=(const CTransaction&) = delete;

    /// Returns when the changes are on stable storage.
    void commit();

  private:
    CDatabase& m_database;
    bool m_open = true;
};

}  // namespace lumora

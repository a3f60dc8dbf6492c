#include "base/sqlite.h"

#include <memory>

namespace base {

ESqlite::~ESqlite() = default;

CSqliteDatabase::CSqliteDatabase(const std::string& file, int flags, std::chrono::milliseconds patience,
                                 CFailure failure)
    : m_file(file), m_failure(failure)
{
    const int code = sqlite3_open_v2(file.c_str(), &m_handle, flags, nullptr);
    if (code != SQLITE_OK) {
        const ESqlite error(code, m_handle == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(m_handle));
        sqlite3_close_v2(m_handle);
        if (m_failure != nullptr) m_failure(m_file, error);
        throw error;
    }
    sqlite3_extended_result_codes(m_handle, 1);
    sqlite3_busy_timeout(m_handle, static_cast<int>(patience.count()));
}

CSqliteDatabase::~CSqliteDatabase()
{
    sqlite3_close_v2(m_handle);
}

void CSqliteDatabase::execute(const char* sql)
{
    check(sqlite3_exec(m_handle, sql, nullptr, nullptr, nullptr));
}

std::string CSqliteDatabase::content() const
{
    sqlite3_int64 size = 0;
    const std::unique_ptr<unsigned char, decltype(&sqlite3_free)> bytes(sqlite3_serialize(m_handle, "main", &size, 0),
                                                                        &sqlite3_free);
    if (bytes == nullptr) fail(sqlite3_errcode(m_handle) == SQLITE_OK ? SQLITE_NOMEM : sqlite3_errcode(m_handle));
    return {reinterpret_cast<const char*>(bytes.get()), static_cast<size_t>(size)};
}

void CSqliteDatabase::fail(int code) const
{
    const ESqlite error(code, sqlite3_errmsg(m_handle));
    if (m_failure != nullptr) m_failure(m_file, error);
    throw error;
}

CSqliteQuery::CSqliteQuery(SPrepared, const CSqliteDatabase& database, const char* sql) : m_database(database)
{
    m_database.check(sqlite3_prepare_v2(database.handle(), sql, -1, &m_statement, nullptr));
}

bool CSqliteQuery::next()
{
    const int code = sqlite3_step(m_statement);
    if (code != SQLITE_ROW && code != SQLITE_DONE) m_database.fail(code);
    return code == SQLITE_ROW;
}

void CSqliteQuery::run()
{
    while (next()) {
    }
}

std::string_view CSqliteQuery::view(int column) const
{
    // Asking the statement for the bytes and again for their number would take twice as long. That its values are not
    // safe against other threads is no matter here.
    sqlite3_value* const value = sqlite3_column_value(m_statement, column);
    const void* const bytes = sqlite3_value_blob(value);
    if (bytes == nullptr) return {};
    return {static_cast<const char*>(bytes), static_cast<size_t>(sqlite3_value_bytes(value))};
}

void CSqliteQuery::bindInteger(int64_t value)
{
    m_database.check(sqlite3_bind_int64(m_statement, ++m_bound, value));
}

void CSqliteQuery::bindText(std::string_view value)
{
    // A null pointer would bind NULL in place of an empty text.
    m_database.check(sqlite3_bind_text64(m_statement, ++m_bound, value.empty() ? "" : value.data(), value.size(),
                                         SQLITE_TRANSIENT, SQLITE_UTF8));
}

CSqliteTransaction::CSqliteTransaction(CSqliteDatabase& database, EKind kind) : m_database(database)
{
    database.execute(kind == EKind::WRITE ? "BEGIN IMMEDIATE" : "BEGIN");
}

CSqliteTransaction::~CSqliteTransaction()
{
    // The call that failed may have rolled back by itself already; then this one fails and changes nothing.
    if (m_isOpen) sqlite3_exec(m_database.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void CSqliteTransaction::commit()
{
    m_database.execute("COMMIT");
    m_isOpen = false;
}

}  // namespace base

#include "host/src/catalog/sqlite_db.h"

namespace fictl {

namespace {

[[noreturn]] void fail(sqlite3* db, int code)
{
    throw ESqlite(code, db == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(db));
}

}  // namespace

ESqlite::~ESqlite() = default;

CSqliteDb::CSqliteDb(const std::string& path, int flags)
{
    const int code = sqlite3_open_v2(path.c_str(), &m_db, flags, nullptr);
    if (code != SQLITE_OK) {
        const std::string text = m_db == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(m_db);
        sqlite3_close_v2(m_db);
        throw ESqlite(code, text);
    }
    sqlite3_extended_result_codes(m_db, 1);
    // Another fictl holds the write lock for moments only.
    constexpr int PATIENCE_MS = 20000;
    sqlite3_busy_timeout(m_db, PATIENCE_MS);
}

CSqliteDb::~CSqliteDb()
{
    sqlite3_close_v2(m_db);
}

void CSqliteDb::exec(const char* sql)
{
    const int code = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) fail(m_db, code);
}

CStatement::CStatement(const CSqliteDb& db, const char* sql) : m_db(db.handle())
{
    check(sqlite3_prepare_v2(m_db, sql, -1, &m_statement, nullptr));
}

CStatement::~CStatement()
{
    sqlite3_finalize(m_statement);
}

void CStatement::check(int code) const
{
    if (code != SQLITE_OK) fail(m_db, code);
}

CStatement& CStatement::bind(const std::string& text)
{
    check(sqlite3_bind_text64(m_statement, ++m_bound, text.data(), text.size(), nullptr, SQLITE_UTF8));
    return *this;
}

CStatement& CStatement::bind(int64_t number)
{
    check(sqlite3_bind_int64(m_statement, ++m_bound, number));
    return *this;
}

bool CStatement::step()
{
    const int code = sqlite3_step(m_statement);
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) fail(m_db, code);
    return false;
}

std::string CStatement::text(int column) const
{
    const unsigned char* const text = sqlite3_column_text(m_statement, column);
    const auto length = static_cast<size_t>(sqlite3_column_bytes(m_statement, column));
    return text == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(text), length);
}

int64_t CStatement::number(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

CTransaction::CTransaction(CSqliteDb& db) : m_db(db)
{
    m_db.exec("BEGIN IMMEDIATE");
}

CTransaction::~CTransaction()
{
    if (!m_open) return;
    try {
        m_db.exec("ROLLBACK");
    } catch (const ESqlite&) {
        // The failed call may have rolled back by itself already.
        return;
    }
}

void CTransaction::commit()
{
    m_db.exec("COMMIT");
    m_open = false;
}

}  // namespace fictl

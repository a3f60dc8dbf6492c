#include "appliance/core/store/database.h"

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

// A waiting tool is better than a failed one: transactions are short, since no file is copied within one.
constexpr int BUSY_MILLISECONDS = 60000;

}  // namespace

CDatabase::CDatabase(const std::filesystem::path& file, EMode mode) : m_file(file.string())
{
    const int create = mode == EMode::CREATE ? SQLITE_OPEN_CREATE : 0;
    int code = sqlite3_open_v2(m_file.c_str(), &m_handle, SQLITE_OPEN_READWRITE | create, nullptr);
    try {
        if (code != SQLITE_OK) fail(code);
        sqlite3_extended_result_codes(m_handle, 1);
        sqlite3_busy_timeout(m_handle, BUSY_MILLISECONDS);
        // Copying the log back when the last tool leaves would make every tool of a quiet store pay for it.
        sqlite3_db_config(m_handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
    } catch (...) {
        sqlite3_close(m_handle);
        throw;
    }
}

CDatabase::~CDatabase()
{
    sqlite3_close(m_handle);
}

void CDatabase::execute(const char* sql)
{
    const int code = sqlite3_exec(m_handle, sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) fail(code);
}

int64_t CDatabase::lastId() const noexcept
{
    return sqlite3_last_insert_rowid(m_handle);
}

int CDatabase::changes() const noexcept
{
    return sqlite3_changes(m_handle);
}

void CDatabase::fail(int code) const
{
    const std::string reason = m_handle != nullptr ? sqlite3_errmsg(m_handle) : sqlite3_errstr(code);
    switch (code & 0xFF) {
        case SQLITE_FULL:
        case SQLITE_IOERR:
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_NOMEM:
            throw EApplianceError(EStatus::STORAGE, "cannot use " + m_file + ": " + reason);
        default:
            throw EApplianceError(EStatus::UNUSABLE, "store database " + m_file + " is unusable: " + reason);
    }
}

CQuery::CQuery(CDatabase& database, const char* sql, std::nullptr_t) : m_database(database)
{
    const int code = sqlite3_prepare_v2(database.handle(), sql, -1, &m_statement, nullptr);
    if (code != SQLITE_OK) database.fail(code);
}

CQuery::~CQuery()
{
    sqlite3_finalize(m_statement);
}

bool CQuery::next()
{
    const int code = sqlite3_step(m_statement);
    if (code != SQLITE_ROW && code != SQLITE_DONE) m_database.fail(code);
    return code == SQLITE_ROW;
}

void CQuery::run()
{
    while (next()) {
    }
}

int64_t CQuery::integer(int column) const noexcept
{
    return sqlite3_column_int64(m_statement, column);
}

std::string CQuery::text(int column) const
{
    const void* const bytes = sqlite3_column_blob(m_statement, column);
    const int size = sqlite3_column_bytes(m_statement, column);
    return bytes == nullptr ? std::string() : std::string(static_cast<const char*>(bytes), static_cast<size_t>(size));
}

void CQuery::bindInteger(int index, int64_t value)
{
    const int code = sqlite3_bind_int64(m_statement, index, value);
    if (code != SQLITE_OK) m_database.fail(code);
}

void CQuery::bindText(int index, std::string_view value)
{
    const int code = sqlite3_bind_text64(m_statement, index, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    if (code != SQLITE_OK) m_database.fail(code);
}

CTransaction::CTransaction(CDatabase& database, EKind kind) : m_database(database)
{
    // A write transaction takes its lock at once, so that what it checks still holds when it writes.
    database.execute(kind == EKind::WRITE ? "BEGIN IMMEDIATE" : "BEGIN");
}

CTransaction::~CTransaction()
{
    if (m_open) sqlite3_exec(m_database.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void CTransaction::commit()
{
    m_database.execute("COMMIT");
    m_open = false;
}

}  // namespace lumora

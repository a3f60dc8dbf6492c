#include "appliance/core/store/database.h"

#include <system_error>

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

// A waiting tool is better than a failed one: transactions are short, since no file is copied within one.
constexpr std::chrono::minutes PATIENCE{1};

// A file system of SQLite's may answer with a negative errno value, of which one byte is passed on.
std::string reasonOf(const base::ESqlite& error)
{
    constexpr int BYTE = 256;
    if (error.primaryCode() <= SQLITE_DONE) return error.what();
    return std::error_code(BYTE - error.primaryCode(), std::generic_category()).message();
}

[[noreturn]] void refuse(const std::string& file, const base::ESqlite& error)
{
    switch (error.primaryCode()) {
        case SQLITE_FULL:
        case SQLITE_IOERR:
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_NOMEM:
            throw EApplianceError(EStatus::STORAGE, "cannot use " + file + ": " + error.what());
        default:
            throw EApplianceError(EStatus::UNUSABLE, "store database " + file + " is unusable: " + reasonOf(error));
    }
}

int flagsOf(CDatabase::EMode mode)
{
    return SQLITE_OPEN_READWRITE | (mode == CDatabase::EMode::CREATE ? SQLITE_OPEN_CREATE : 0);
}

}  // namespace

CDatabase::CDatabase(const std::filesystem::path& file, EMode mode)
    : CSqliteDatabase(file.string(), flagsOf(mode), PATIENCE, refuse)
{
    // Copying the log back when the last tool leaves would make every tool of a quiet store pay for it.
    sqlite3_db_config(handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
}

CDatabase::CDatabase(const std::string& name, EMode mode)
    : CSqliteDatabase(name, flagsOf(mode) | SQLITE_OPEN_URI, PATIENCE, refuse)
{
    // Readers shut each other out, so what is read goes in one piece. A journal that is kept costs least; a log would
    // leave the database closed to all but one process.
    execute(
        "PRAGMA page_size = 65536; PRAGMA journal_mode = PERSIST; PRAGMA synchronous = FULL; "
        "PRAGMA temp_store = MEMORY; PRAGMA foreign_keys = ON");
}

int64_t CDatabase::version()
{
    CQuery query(*this, "PRAGMA user_version");
    query.next();
    return query.integer(0);
}

void CDatabase::settle()
{
    CTransaction transaction(*this, CTransaction::EKind::WRITE);
    execute(("PRAGMA user_version = " + std::to_string(version())).c_str());
    transaction.commit();
}

}  // namespace lumora

#include "host/src/catalog/catalog_reading.h"

#include <sys/stat.h>

#include <algorithm>

#include "host/src/catalog/catalog.h"
#include "host/src/catalog/catalog_layout.h"

namespace fictl {

namespace {

// Used by one thread at a time, so SQLite need not lock for each value that is asked of it.
constexpr int READ_ONLY = SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX;
constexpr int READ_ONLY_BY_URI = READ_ONLY | SQLITE_OPEN_URI;

// The path as SQLite takes it when it is to know more than the path.
std::string uriOf(const std::string& path, const char* parameters)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string uri = "file:";
    for (const char character : path) {
        const auto byte = static_cast<unsigned char>(character);
        if (character != '?' && character != '#' && character != '%') {
            uri += character;
        } else {
            uri += {'%', DIGITS[byte >> 4U], DIGITS[byte & 0x0fU]};
        }
    }
    return uri + "?" + parameters;
}

// What it says when it cannot make or map a file of its own beside the catalog.
bool isForWantOfFiles(const base::ESqlite& error)
{
    constexpr int CODES[] = {SQLITE_CANTOPEN, SQLITE_READONLY, SQLITE_IOERR, SQLITE_FULL};
    return std::ranges::find(CODES, error.primaryCode()) != std::end(CODES);
}

// The first statement that reads is the one that opens the log. A list that goes by the names comes to each page of a
// large catalog many times, so there is room for all of them.
void touch(base::CSqliteDatabase& database)
{
    base::CSqliteQuery(database, "SELECT count(*) FROM sqlite_schema").run();
    database.execute("PRAGMA cache_size = -65536");
}

}  // namespace

CCatalogReading::SMark CCatalogReading::SMark::of(const std::string& file)
{
    struct stat status = {};
    if (lstat(file.c_str(), &status) != 0) return {};
    return {static_cast<int64_t>(status.st_ino), status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

CCatalogReading::CCatalogReading(const std::string& path) : m_path(path)
{
    m_isLocked = openWithLocks();
    if (!m_isLocked) openWithoutLocks();
}

bool CCatalogReading::openWithLocks()
{
    try {
        m_database.emplace(m_path, READ_ONLY, CCatalog::PATIENCE);
        touch(*m_database);
    } catch (const base::ESqlite& error) {
        if (!isForWantOfFiles(error)) throw;
        return false;
    }
    readAsUpToDate(*m_database, m_path);
    return true;
}

void CCatalogReading::openWithoutLocks()
{
    m_marks = marks();
    if (m_marks.log.size == 0) {
        m_database.emplace(uriOf(m_path, "immutable=1"), READ_ONLY_BY_URI, CCatalog::PATIENCE);
    } else {
        m_database.emplace(uriOf(m_path, "vfs=unix-none"), READ_ONLY_BY_URI, CCatalog::PATIENCE);
        // Alone with the log it keeps its index of it in memory.
        m_database->execute("PRAGMA locking_mode = EXCLUSIVE");
    }
    touch(*m_database);
    readAsUpToDate(*m_database, m_path);
}

void CCatalogReading::runOnce(const Work& work)
{
    base::CSqliteTransaction transaction(*m_database, base::CSqliteTransaction::EKind::READ);
    work(*m_database);
    transaction.commit();
}

void CCatalogReading::run(const Work& work)
{
    if (m_isLocked) return runOnce(work);
    constexpr int TRIES = 10;
    for (int i = 0; i < TRIES; ++i) {
        try {
            runOnce(work);
            if (marks() == m_marks) return;
        } catch (const base::ESqlite&) {
            // Half of a change looks like damage.
            if (marks() == m_marks) throw;
        }
        openWithoutLocks();
    }
    throw base::ESqlite(SQLITE_BUSY, "it changes all the time, and cannot be locked");
}

}  // namespace fictl

#include "host/src/catalog/catalog_layout.h"

#include <sys/stat.h>

#include <cstdint>

#include "base/file_read.h"
#include "host/src/output/error.h"
#include "host/src/output/new_file.h"
#include "host/src/output/progress.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// Says that the file is a catalog of fictl ("fict") in this layout; another layout gets another version.
constexpr int64_t APPLICATION_ID = 0x66696374;
constexpr int64_t VERSION = 2;
static_assert(APPLICATION_ID == 1718182772, "written out in the schema");

enum class ELayout
{
    CURRENT,
    WITHOUT_INDEX,
    FIRST,
};

constexpr const char* SCHEMA = R"(
CREATE TABLE snapshot (
    name TEXT PRIMARY KEY, state TEXT NOT NULL, provider TEXT NOT NULL, checkpoint TEXT NOT NULL, created TEXT NOT NULL,
    origin TEXT NOT NULL, thaw TEXT NOT NULL, message TEXT NOT NULL,
    pid INTEGER NOT NULL, boot_id TEXT NOT NULL, start_time INTEGER NOT NULL,
    exported INTEGER NOT NULL DEFAULT 0, pid_namespace TEXT NOT NULL DEFAULT '',
    owner_lock INTEGER NOT NULL DEFAULT 0) STRICT;
CREATE TABLE device (
    snapshot TEXT NOT NULL REFERENCES snapshot(name) ON DELETE CASCADE, position INTEGER NOT NULL,
    source TEXT NOT NULL, node TEXT NOT NULL, target TEXT NOT NULL, made INTEGER NOT NULL, import_path TEXT NOT NULL,
    appliance_type TEXT NOT NULL, appliance TEXT NOT NULL, cgroup TEXT NOT NULL, time_image TEXT NOT NULL,
    checkpoint TEXT NOT NULL, serial TEXT NOT NULL,
    import_serial TEXT NOT NULL DEFAULT '', image_asked INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (snapshot, position)) STRICT;
PRAGMA application_id = 1718182772;
PRAGMA user_version = 2;
)";

// Layout 1 did not say which images were asked for, nor which records were exported: each counts as such where it may
// have been, an image where an import was begun.
constexpr const char* FROM_VERSION_1 = R"(
ALTER TABLE snapshot ADD COLUMN exported INTEGER NOT NULL DEFAULT 0;
ALTER TABLE snapshot ADD COLUMN pid_namespace TEXT NOT NULL DEFAULT '';
ALTER TABLE snapshot ADD COLUMN owner_lock INTEGER NOT NULL DEFAULT 0;
ALTER TABLE device ADD COLUMN import_serial TEXT NOT NULL DEFAULT '';
ALTER TABLE device ADD COLUMN image_asked INTEGER NOT NULL DEFAULT 0;
UPDATE snapshot SET exported = 1 WHERE origin = 'created' AND state NOT IN ('creating', 'partial', 'failed');
UPDATE device SET image_asked = 1 WHERE import_path <> '' OR snapshot IN
    (SELECT name FROM snapshot WHERE state NOT IN ('creating', 'partial', 'failed', 'complete'));
PRAGMA user_version = 2;
)";

// The same for one who only reads: views that stand before the tables.
constexpr const char* SHOWN_FROM_VERSION_1 = R"(
PRAGMA temp_store = MEMORY;
CREATE TEMP VIEW snapshot AS SELECT *,
    origin = 'created' AND state NOT IN ('creating', 'partial', 'failed') AS exported,
    '' AS pid_namespace, 0 AS owner_lock FROM main.snapshot;
CREATE TEMP VIEW device AS SELECT *, '' AS import_serial,
    import_path <> '' OR snapshot IN (SELECT name FROM main.snapshot
        WHERE state NOT IN ('creating', 'partial', 'failed', 'complete')) AS image_asked FROM main.device;
)";

// Whether a checkpoint's name is in use is asked before each creation. Layout 2 had no index for it at first; a fictl
// that does not know it needs nothing of it, and keeps it up to date all the same: the layout stays what it is.
constexpr const char* HAS_INDEX = "SELECT count(*) FROM sqlite_schema WHERE name = 'snapshot_by_checkpoint'";
constexpr const char* ADD_INDEX = "CREATE INDEX snapshot_by_checkpoint ON snapshot (checkpoint)";

int64_t numberOf(const base::CSqliteDatabase& database, const char* sql)
{
    base::CSqliteQuery query(database, sql);
    return query.next() ? query.integer(0) : 0;
}

ELayout layoutOf(const base::CSqliteDatabase& database, const std::string& path)
{
    const int64_t version = numberOf(database, "PRAGMA user_version");
    const bool isCatalog = numberOf(database, "PRAGMA application_id") == APPLICATION_ID;
    if (isCatalog && version == 1) return ELayout::FIRST;
    if (isCatalog && version == VERSION) {
        return numberOf(database, HAS_INDEX) == 1 ? ELayout::CURRENT : ELayout::WITHOUT_INDEX;
    }
    throw EFictl(EExit::CATALOG,
                 "catalog " + path + ": not a catalog of this fictl (layout " + std::to_string(version) +
                     ", this fictl reads " + std::to_string(VERSION) + ")",
                 "use the fictl that wrote it, or move the file away");
}

bool holds(const std::string& file, const std::string& content)
{
    const base::SFileText there = base::readFile(file, content.size());
    return there && there.text == content;
}

std::string backupName(const std::string& path, int number)
{
    return path + ".version-1" + (number == 1 ? "" : "-" + std::to_string(number)) + ".bak";
}

// Gives the name of the file that holds it.
std::string keepBackup(const std::string& path, const std::string& content)
{
    for (int number = 1;; ++number) {
        const std::string name = backupName(path, number);
        struct stat status = {};
        if (lstat(name.c_str(), &status) != 0) {
            CNewFile file(name, CNewFile::EBusy::WAIT);
            file.write(content);
            if (file.keep(false)) return name;
        }
        // An earlier try may have come no further.
        if (holds(name, content)) return name;
    }
}

std::string keepBackup(const base::CSqliteDatabase& database, const std::string& path)
{
    try {
        return keepBackup(path, database.content());
    } catch (const EFictl& error) {
        throw EFictl(
            EExit::CATALOG,
            "catalog " + path + ": its layout is an older one, and it is not changed without a copy: " + error.what(),
            "make room in its folder, then run the command again");
    }
}

}  // namespace

std::string emptyCatalog()
{
    base::CSqliteDatabase database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                                   std::chrono::milliseconds(0));
    database.execute(SCHEMA);
    database.execute(ADD_INDEX);
    std::string bytes = database.content();
    // The header's two bytes that say that changes go to a log first. As a change of its own, made later, this could be
    // cut in half, and somebody who may only read could not undo it.
    constexpr size_t WRITE_VERSION = 18;
    constexpr size_t READ_VERSION = 19;
    constexpr char WITH_LOG = 2;
    bytes.at(WRITE_VERSION) = WITH_LOG;
    bytes.at(READ_VERSION) = WITH_LOG;
    return bytes;
}

void bringUpToDate(base::CSqliteDatabase& database, const std::string& path)
{
    if (layoutOf(database, path) == ELayout::CURRENT) return;
    base::CSqliteTransaction transaction(database, base::CSqliteTransaction::EKind::WRITE);
    // Another process may have changed the tables meanwhile.
    const ELayout layout = layoutOf(database, path);
    if (layout == ELayout::CURRENT) return;
    std::string backup;
    if (layout == ELayout::FIRST) {
        backup = keepBackup(database, path);
        database.execute(FROM_VERSION_1);
    }
    database.execute(ADD_INDEX);
    transaction.commit();
    if (backup.empty()) return;
    CProgress::write("fictl: the catalog has the layout of this fictl now; what it was before is kept in " +
                     printable(backup) + "\n");
}

void readAsUpToDate(base::CSqliteDatabase& database, const std::string& path)
{
    if (layoutOf(database, path) == ELayout::FIRST) database.execute(SHOWN_FROM_VERSION_1);
}

}  // namespace fictl

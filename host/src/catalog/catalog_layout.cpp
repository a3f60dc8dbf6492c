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
constexpr int64_t VERSION = 4;
static_assert(APPLICATION_ID == 1718182772, "written out in the schema");

// Layouts that are brought up to date.
constexpr int64_t FIRST = 1;
constexpr int64_t SECOND = 2;

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
)";

// What layout 3 has beyond those tables. Of layout 2 there are catalogs with and without the first two.
constexpr const char* ADDED_BY_VERSION_3 = R"(
CREATE INDEX IF NOT EXISTS snapshot_by_checkpoint ON snapshot (checkpoint);
CREATE TABLE IF NOT EXISTS checkpoint_time (
    snapshot TEXT NOT NULL REFERENCES snapshot(name) ON DELETE CASCADE, appliance TEXT NOT NULL, cgroup TEXT NOT NULL,
    made_at TEXT NOT NULL,
    PRIMARY KEY (snapshot, appliance, cgroup)) STRICT;
CREATE TABLE history (
    id INTEGER PRIMARY KEY AUTOINCREMENT, started TEXT NOT NULL, host TEXT NOT NULL, user TEXT NOT NULL,
    sudo_user TEXT NOT NULL, command TEXT NOT NULL, snapshot TEXT NOT NULL,
    pid INTEGER NOT NULL, boot_id TEXT NOT NULL, start_time INTEGER NOT NULL, pid_namespace TEXT NOT NULL,
    owner_lock INTEGER NOT NULL,
    ended INTEGER NOT NULL DEFAULT 0, exit INTEGER NOT NULL DEFAULT 0, microseconds INTEGER NOT NULL DEFAULT 0,
    frozen INTEGER NOT NULL DEFAULT 0, message TEXT NOT NULL DEFAULT '', looks INTEGER NOT NULL DEFAULT 0,
    lost INTEGER NOT NULL DEFAULT 0, bytes INTEGER NOT NULL) STRICT;
CREATE TABLE history_object (
    entry INTEGER NOT NULL REFERENCES history(id) ON DELETE CASCADE, position INTEGER NOT NULL, verb TEXT NOT NULL,
    kind TEXT NOT NULL, appliance TEXT NOT NULL, cgroup TEXT NOT NULL, name TEXT NOT NULL, outcome TEXT NOT NULL,
    made_at TEXT NOT NULL,
    PRIMARY KEY (entry, position)) STRICT;
CREATE INDEX history_object_by_name ON history_object (name);
CREATE TABLE history_run (
    entry INTEGER NOT NULL REFERENCES history(id) ON DELETE CASCADE, position INTEGER NOT NULL, started TEXT NOT NULL,
    microseconds INTEGER NOT NULL, command TEXT NOT NULL, answer TEXT NOT NULL,
    PRIMARY KEY (entry, position)) STRICT;
CREATE TRIGGER history_is_kept BEFORE UPDATE ON history WHEN OLD.ended = 1
    BEGIN SELECT RAISE(ABORT, 'an entry of the history that is complete is not changed'); END;
)";

// What layout 4 has beyond that.
constexpr const char* ADDED_BY_VERSION_4 = R"(
ALTER TABLE snapshot ADD COLUMN creator TEXT NOT NULL DEFAULT '';
ALTER TABLE snapshot ADD COLUMN note TEXT NOT NULL DEFAULT '';
CREATE TABLE label (
    snapshot TEXT NOT NULL REFERENCES snapshot(name) ON DELETE CASCADE, label_key TEXT NOT NULL,
    label_value TEXT NOT NULL,
    PRIMARY KEY (snapshot, label_key)) STRICT;
PRAGMA user_version = 4;
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
)";

// The same for one who only reads: views that stand before the tables.
constexpr const char* SHOWN_FROM_VERSION_1 = R"(
CREATE TEMP VIEW snapshot AS SELECT *,
    origin = 'created' AND state NOT IN ('creating', 'partial', 'failed') AS exported,
    '' AS pid_namespace, 0 AS owner_lock, '' AS creator, '' AS note FROM main.snapshot;
CREATE TEMP VIEW device AS SELECT *, '' AS import_serial,
    import_path <> '' OR snapshot IN (SELECT name FROM main.snapshot
        WHERE state NOT IN ('creating', 'partial', 'failed', 'complete')) AS image_asked FROM main.device;
)";

constexpr const char* SHOWN_FROM_LATER_VERSIONS =
    "CREATE TEMP VIEW snapshot AS SELECT *, '' AS creator, '' AS note FROM main.snapshot";

// What an older layout does not have at all reads as empty.
constexpr const char* SHOWN_WITHOUT_LABELS = R"(
CREATE TEMP VIEW label AS SELECT '' AS snapshot, '' AS label_key, '' AS label_value WHERE 0;
)";
constexpr const char* SHOWN_WITHOUT_HISTORY = R"(
CREATE TEMP VIEW history AS SELECT 0 AS id, '' AS started, '' AS host, '' AS user, '' AS sudo_user, '' AS command,
    '' AS snapshot, 0 AS pid, '' AS boot_id, 0 AS start_time, '' AS pid_namespace, 0 AS owner_lock, 0 AS ended,
    0 AS exit, 0 AS microseconds, 0 AS frozen, '' AS message, 0 AS looks, 0 AS lost, 0 AS bytes WHERE 0;
CREATE TEMP VIEW history_object AS SELECT 0 AS entry, 0 AS position, '' AS verb, '' AS kind, '' AS appliance,
    '' AS cgroup, '' AS name, '' AS outcome, '' AS made_at WHERE 0;
CREATE TEMP VIEW history_run AS SELECT 0 AS entry, 0 AS position, '' AS started, 0 AS microseconds, '' AS command,
    '' AS answer WHERE 0;
)";
constexpr const char* SHOWN_WITHOUT_TIMES = R"(
CREATE TEMP VIEW checkpoint_time AS SELECT '' AS snapshot, '' AS appliance, '' AS cgroup, '' AS made_at WHERE 0;
)";
constexpr const char* HAS_TIMES =
    "SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name = 'checkpoint_time'";

int64_t numberOf(const base::CSqliteDatabase& database, const char* sql)
{
    base::CSqliteQuery query(database, sql);
    return query.next() ? query.integer(0) : 0;
}

int64_t layoutOf(const base::CSqliteDatabase& database, const std::string& path)
{
    const int64_t version = numberOf(database, "PRAGMA user_version");
    const bool isCatalog = numberOf(database, "PRAGMA application_id") == APPLICATION_ID;
    if (isCatalog && version >= FIRST && version <= VERSION) return version;
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

std::string backupName(const std::string& path, int64_t layout, int number)
{
    return path + ".version-" + std::to_string(layout) + (number == 1 ? "" : "-" + std::to_string(number)) + ".bak";
}

// Gives the name of the file that holds it.
std::string keepBackup(const std::string& path, int64_t layout, const std::string& content)
{
    for (int number = 1;; ++number) {
        std::string name = backupName(path, layout, number);
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

std::string keepBackup(const base::CSqliteDatabase& database, const std::string& path, int64_t layout)
{
    try {
        return keepBackup(path, layout, database.content());
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
    database.execute(ADDED_BY_VERSION_3);
    database.execute(ADDED_BY_VERSION_4);
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
    if (layoutOf(database, path) == VERSION) return;
    base::CSqliteTransaction transaction(database, base::CSqliteTransaction::EKind::WRITE);
    // Another process may have changed the tables meanwhile.
    const int64_t layout = layoutOf(database, path);
    if (layout == VERSION) return;
    const std::string backup = keepBackup(database, path, layout);
    if (layout == FIRST) database.execute(FROM_VERSION_1);
    if (layout <= SECOND) database.execute(ADDED_BY_VERSION_3);
    database.execute(ADDED_BY_VERSION_4);
    transaction.commit();
    CProgress::write("fictl: the catalog has the layout of this fictl now; what it was before is kept in " +
                     printable(backup) + "\n");
}

void readAsUpToDate(base::CSqliteDatabase& database, const std::string& path)
{
    const int64_t layout = layoutOf(database, path);
    if (layout == VERSION) return;
    database.execute("PRAGMA temp_store = MEMORY");
    database.execute(SHOWN_WITHOUT_LABELS);
    database.execute(layout == FIRST ? SHOWN_FROM_VERSION_1 : SHOWN_FROM_LATER_VERSIONS);
    if (layout <= SECOND) database.execute(SHOWN_WITHOUT_HISTORY);
    if (numberOf(database, HAS_TIMES) == 0) database.execute(SHOWN_WITHOUT_TIMES);
}

}  // namespace fictl

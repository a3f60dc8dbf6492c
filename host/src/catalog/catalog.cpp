#include "host/src/catalog/catalog.h"

#include <algorithm>

#include "host/src/catalog/catalog_place.h"
#include "host/src/catalog/checkpoint_time_table.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// Says that the file is a catalog of fictl ("fict") in this layout; another layout gets another version.
constexpr int64_t APPLICATION_ID = 0x66696374;
constexpr int64_t VERSION = 2;

constexpr auto WRITE = base::CSqliteTransaction::EKind::WRITE;

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
static_assert(APPLICATION_ID == 1718182772, "written out in the schema");

// Whether a checkpoint's name is in use is asked before each creation. Layout 2 had no index for it at first; a fictl
// that does not know it needs nothing of it, and keeps it up to date all the same: the layout stays what it is.
constexpr const char* HAS_INDEX = "SELECT count(*) FROM sqlite_schema WHERE name = 'snapshot_by_checkpoint'";
constexpr const char* ADD_INDEX = "CREATE INDEX snapshot_by_checkpoint ON snapshot (checkpoint)";

int64_t pragma(const base::CSqliteDatabase& database, const char* sql)
{
    base::CSqliteQuery query(database, sql);
    return query.next() ? query.integer(0) : 0;
}

// The first column of the first row; nothing without a row.
std::optional<std::string> firstText(base::CSqliteQuery row)
{
    if (!row.next()) return std::nullopt;
    return row.text(0);
}

constexpr const char* SNAPSHOT_COLUMNS =
    "SELECT name, state, provider, checkpoint, created, origin, thaw, message, pid, boot_id, start_time, exported, "
    "pid_namespace, owner_lock FROM snapshot ";

SSnapshot readSnapshot(const base::CSqliteQuery& row)
{
    SSnapshot snapshot;
    snapshot.name = row.text(0);
    snapshot.state = stateOf(row.text(1));
    snapshot.provider = row.text(2);
    snapshot.checkpoint = row.text(3);
    snapshot.created = row.text(4);
    snapshot.origin = row.text(5);
    snapshot.thaw = row.text(6);
    snapshot.message = row.text(7);
    snapshot.owner = {.pid = row.integer(8),
                      .bootId = row.text(9),
                      .startTime = row.integer(10),
                      .pidNamespace = row.text(12),
                      .lock = row.integer(13)};
    snapshot.exported = row.integer(11) != 0;
    return snapshot;
}

constexpr const char* DEVICE_COLUMNS =
    "SELECT source, node, target, made, import_path, appliance_type, appliance, cgroup, time_image, checkpoint, "
    "serial, import_serial, image_asked, snapshot FROM device ";
constexpr int SNAPSHOT_OF_DEVICE = 13;

SDevice readDevice(const base::CSqliteQuery& row)
{
    SDevice device;
    device.source = row.text(0);
    device.node = row.text(1);
    device.target = row.text(2);
    device.made = static_cast<EMade>(row.integer(3));
    device.importPath = row.text(4);
    device.state = {.applianceType = row.text(5),
                    .applianceName = row.text(6),
                    .consistencyGroup = row.text(7),
                    .timeImage = row.text(8),
                    .checkPointName = row.text(9),
                    .serialNo = row.text(10)};
    device.importSerial = row.text(11);
    device.imageAsked = row.integer(12) != 0;
    return device;
}

// The devices of snapshots in the order of their names, in one pass: a query for each would take longer to prepare than
// to run.
void readDevices(const base::CSqliteDatabase& database, std::vector<SSnapshot>& snapshots)
{
    base::CSqliteQuery row(database, (std::string(DEVICE_COLUMNS) + "ORDER BY snapshot, position").c_str());
    bool isThere = row.next();
    for (SSnapshot& snapshot : snapshots) {
        // A row of no snapshot is one that somebody else wrote.
        while (isThere && row.text(SNAPSHOT_OF_DEVICE) < snapshot.name) {
            isThere = row.next();
        }
        for (; isThere && row.text(SNAPSHOT_OF_DEVICE) == snapshot.name; isThere = row.next()) {
            snapshot.devices.push_back(readDevice(row));
        }
    }
}

std::string quoted(const std::string& name)
{
    return "snapshot \"" + printable(name) + "\"";
}

// An interrupted import or release can be repeated; what an interrupted creation or deletion left can only be deleted.
std::string howToGoOn(const SSnapshot& snapshot)
{
    const char* verb = "show ";
    if (snapshot.isInterrupted()) {
        switch (snapshot.state) {
            case EState::IMPORTING:
                verb = "import ";
                break;
            case EState::RELEASING:
                verb = "release ";
                break;
            default:
                verb = "delete ";
                break;
        }
    }
    return std::string("fictl snapshot ") + verb + snapshot.name;
}

}  // namespace

template <class Work>
auto CCatalog::guarded(const char* doing, Work work)
{
    try {
        return work();
    } catch (const base::ESqlite& error) {
        throw EFictl(EExit::CATALOG, "catalog " + m_path + ": cannot " + doing + ": " + error.what(),
                     "check the file, the rights on it and the free space beside it");
    } catch (const std::invalid_argument& error) {
        throw EFictl(EExit::CATALOG, "catalog " + m_path + ": damaged: " + error.what());
    }
}

CCatalog::CCatalog() : m_path(prepareCatalogFile()), m_lock(m_path + "-owners")
{
    guarded("open it", [this] {
        m_database.emplace(m_path, SQLITE_OPEN_READWRITE, PATIENCE);
        // FULL: an intent must be on disk before the appliance is asked for anything.
        m_database->execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
        prepareSchema();
    });
}

bool CCatalog::isPrepared() const
{
    return pragma(*m_database, "PRAGMA user_version") == VERSION &&
           pragma(*m_database, "PRAGMA application_id") == APPLICATION_ID && pragma(*m_database, HAS_INDEX) == 1;
}

void CCatalog::prepareSchema()
{
    if (isPrepared()) return;
    base::CSqliteTransaction transaction(*m_database, WRITE);
    // Another process may have created or changed the tables meanwhile.
    if (isPrepared()) return;
    const int64_t version = pragma(*m_database, "PRAGMA user_version");
    const int64_t id = pragma(*m_database, "PRAGMA application_id");
    const bool isEmpty = pragma(*m_database, "SELECT count(*) FROM sqlite_schema") == 0;
    if (version == 1 && id == APPLICATION_ID) {
        m_database->execute(FROM_VERSION_1);
    } else if (version == 0 && id == 0 && isEmpty) {
        m_database->execute(SCHEMA);
    } else if (version != VERSION || id != APPLICATION_ID) {
        throw EFictl(EExit::CATALOG,
                     "catalog " + m_path + ": not a catalog of this fictl (layout " + std::to_string(version) +
                         ", this fictl reads " + std::to_string(VERSION) + ")",
                     "use the fictl that wrote it, or move the file away");
    }
    m_database->execute(ADD_INDEX);
    transaction.commit();
}

std::vector<SSnapshot> CCatalog::list()
{
    return guarded("read", [this] {
        std::vector<SSnapshot> snapshots;
        // One transaction, so that records and devices belong together.
        base::CSqliteTransaction transaction(*m_database, base::CSqliteTransaction::EKind::READ);
        {
            base::CSqliteQuery row(*m_database, (std::string(SNAPSHOT_COLUMNS) + "ORDER BY name").c_str());
            while (row.next()) {
                snapshots.push_back(readSnapshot(row));
            }
        }
        readDevices(*m_database, snapshots);
        transaction.commit();
        return snapshots;
    });
}

std::optional<SSnapshot> CCatalog::find(const std::string& name)
{
    base::CSqliteQuery row(*m_database, (std::string(SNAPSHOT_COLUMNS) + "WHERE name = ?").c_str(), name);
    if (!row.next()) return std::nullopt;
    SSnapshot snapshot = readSnapshot(row);
    base::CSqliteQuery device(*m_database,
                              (std::string(DEVICE_COLUMNS) + "WHERE snapshot = ? ORDER BY position").c_str(), name);
    while (device.next()) {
        snapshot.devices.push_back(readDevice(device));
    }
    readCheckpointTimes(*m_database, snapshot);
    return snapshot;
}

bool CCatalog::has(const std::string& name)
{
    return guarded(
        "read", [&] { return base::CSqliteQuery(*m_database, "SELECT 1 FROM snapshot WHERE name = ?", name).next(); });
}

std::vector<std::string> CCatalog::checkpoints()
{
    return guarded("read", [this] {
        std::vector<std::string> names;
        for (base::CSqliteQuery row(*m_database, "SELECT DISTINCT checkpoint FROM snapshot"); row.next();) {
            names.push_back(row.text(0));
        }
        return names;
    });
}

SSnapshot CCatalog::get(const std::string& name)
{
    return guarded("read", [&] {
        std::optional<SSnapshot> snapshot = find(name);
        if (snapshot) return *std::move(snapshot);
        throw EFictl(EExit::NOT_FOUND, quoted(name) + " is not in the catalog", "fictl snapshot list");
    });
}

void CCatalog::write(const SSnapshot& snapshot)
{
    base::CSqliteQuery(*m_database, "DELETE FROM device WHERE snapshot = ?", snapshot.name).run();
    writeHead(snapshot);
    size_t position = 0;
    for (const SDevice& device : snapshot.devices) {
        writeDevice(snapshot.name, position++, device);
    }
    writeCheckpointTimes(*m_database, snapshot);
}

void CCatalog::writeHead(const SSnapshot& snapshot)
{
    // The devices refer to the row, so one that is there is changed and not replaced.
    base::CSqliteQuery row(*m_database,
                           "INSERT INTO snapshot (name, state, provider, checkpoint, created, origin, thaw, message, "
                           "pid, boot_id, start_time, exported, pid_namespace, owner_lock) "
                           "VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?) "
                           "ON CONFLICT (name) DO UPDATE SET state = excluded.state, thaw = excluded.thaw, "
                           "message = excluded.message, pid = excluded.pid, boot_id = excluded.boot_id, "
                           "start_time = excluded.start_time, exported = max(exported, excluded.exported), "
                           "pid_namespace = excluded.pid_namespace, owner_lock = excluded.owner_lock");
    row.bind(snapshot.name).bind(stateText(snapshot.state)).bind(snapshot.provider).bind(snapshot.checkpoint);
    row.bind(snapshot.created).bind(snapshot.origin).bind(snapshot.thaw).bind(snapshot.message);
    row.bind(snapshot.owner.pid).bind(snapshot.owner.bootId).bind(snapshot.owner.startTime);
    row.bind(snapshot.exported).bind(snapshot.owner.pidNamespace).bind(snapshot.owner.lock).run();
}

void CCatalog::writeDevice(const std::string& snapshot, size_t position, const SDevice& device)
{
    base::CSqliteQuery row(*m_database,
                           "INSERT OR REPLACE INTO device (snapshot, position, source, node, target, made, "
                           "import_path, appliance_type, appliance, cgroup, time_image, checkpoint, serial, "
                           "import_serial, image_asked) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
    row.bind(snapshot).bind(position).bind(device.source).bind(device.node).bind(device.target);
    row.bind(static_cast<int64_t>(device.made)).bind(device.importPath).bind(device.state.applianceType);
    row.bind(device.state.applianceName).bind(device.state.consistencyGroup).bind(device.state.timeImage);
    row.bind(device.state.checkPointName).bind(device.state.serialNo).bind(device.importSerial);
    row.bind(device.imageAsked).run();
}

void CCatalog::insert(const SSnapshot& snapshot)
{
    guarded("write", [&] {
        base::CSqliteTransaction transaction(*m_database, WRITE);
        if (const std::optional<SSnapshot> present = find(snapshot.name)) {
            throw EFictl(EExit::EXISTS,
                         quoted(snapshot.name) + " is in the catalog already (" + present->shownState() + ")",
                         howToGoOn(*present));
        }
        write(snapshot);
        transaction.commit();
    });
}

void CCatalog::update(const SSnapshot& snapshot)
{
    guarded("write", [&] {
        base::CSqliteTransaction transaction(*m_database, WRITE);
        write(snapshot);
        transaction.commit();
    });
}

void CCatalog::updateDevice(const SSnapshot& snapshot, size_t position)
{
    guarded("write", [&] {
        base::CSqliteTransaction transaction(*m_database, WRITE);
        writeHead(snapshot);
        writeDevice(snapshot.name, position, snapshot.devices.at(position));
        transaction.commit();
    });
}

void CCatalog::updateGroup(const SSnapshot& snapshot, const GroupKey& group)
{
    guarded("write", [&] {
        base::CSqliteTransaction transaction(*m_database, WRITE);
        writeHead(snapshot);
        for (size_t position = 0; position < snapshot.devices.size(); ++position) {
            const SDevice& device = snapshot.devices[position];
            if (device.group() == group) writeDevice(snapshot.name, position, device);
        }
        transaction.commit();
    });
}

void CCatalog::markExported(const std::string& name)
{
    guarded("write",
            [&] { base::CSqliteQuery(*m_database, "UPDATE snapshot SET exported = 1 WHERE name = ?", name).run(); });
}

void CCatalog::remove(const std::string& name)
{
    guarded("write", [&] {
        base::CSqliteTransaction transaction(*m_database, WRITE);
        base::CSqliteQuery(*m_database, "DELETE FROM snapshot WHERE name = ?", name).run();
        transaction.commit();
    });
}

SSnapshot CCatalog::take(const std::string& name, EState into, std::initializer_list<EState> allowed, const char* what)
{
    return guarded("write", [&] {
        base::CSqliteTransaction transaction(*m_database, WRITE);
        const std::optional<SSnapshot> before = find(name);
        if (!before) throw EFictl(EExit::NOT_FOUND, quoted(name) + " is not in the catalog", "fictl snapshot list");
        if (before->isHeld()) {
            throw EFictl(EExit::STATE,
                         quoted(name) + ": fictl process " + std::to_string(before->owner.pid) + " is at work on it (" +
                             before->shownState() + ")",
                         "wait for that process to end, then run the command again");
        }
        if (std::find(allowed.begin(), allowed.end(), before->state) == allowed.end()) {
            throw EFictl(EExit::STATE, quoted(name) + " is " + before->shownState() + ": it cannot be " + what,
                         howToGoOn(*before));
        }
        SSnapshot taken = *before;
        taken.state = into;
        taken.owner = thisProcess();
        write(taken);
        transaction.commit();
        return *before;
    });
}

std::optional<std::string> CCatalog::otherOwner(const std::string& name, const GroupKey& group,
                                                const std::string& checkpoint)
{
    return guarded("read", [&] {
        return firstText(base::CSqliteQuery(
            *m_database,
            "SELECT s.name FROM snapshot s JOIN device d ON d.snapshot = s.name WHERE s.name <> ? AND "
            "s.checkpoint = ? AND d.appliance = ? AND d.cgroup = ? AND d.made = 1 LIMIT 1",
            name, checkpoint, group.first, group.second));
    });
}

std::optional<std::string> CCatalog::carrierOf(const std::string& checkpoint)
{
    return guarded("read", [&] {
        return firstText(
            base::CSqliteQuery(*m_database, "SELECT name FROM snapshot WHERE checkpoint = ? LIMIT 1", checkpoint));
    });
}

}  // namespace fictl

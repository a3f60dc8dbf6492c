#include "host/src/catalog/catalog.h"

#include <algorithm>

#include "host/src/catalog/catalog_place.h"
#include "host/src/output/error.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// Says that the file is a catalog of fictl ("fict") in this layout; another layout gets another version.
constexpr int64_t APPLICATION_ID = 0x66696374;
constexpr int64_t VERSION = 2;

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

// What layout 2 has beside layout 1. Of an image that was asked for nothing was kept: where an import was begun, it may
// have been. Whether a record was exported is not known either; then it may have been.
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

int64_t pragma(const CSqliteDb& db, const char* sql)
{
    CStatement statement(db, sql);
    return statement.step() ? statement.number(0) : 0;
}

constexpr const char* SNAPSHOT_COLUMNS =
    "SELECT name, state, provider, checkpoint, created, origin, thaw, message, pid, boot_id, start_time, exported, "
    "pid_namespace, owner_lock FROM snapshot ";

SSnapshot readSnapshot(const CStatement& row)
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
    snapshot.owner = {row.number(8), row.text(9), row.number(10), row.text(12), row.number(13)};
    snapshot.exported = row.number(11) != 0;
    return snapshot;
}

void readDevices(const CSqliteDb& db, SSnapshot& snapshot)
{
    CStatement row(db,
                   "SELECT source, node, target, made, import_path, appliance_type, appliance, cgroup, time_image, "
                   "checkpoint, serial, import_serial, image_asked FROM device WHERE snapshot = ? ORDER BY position");
    row.bind(snapshot.name);
    while (row.step()) {
        SDevice device;
        device.source = row.text(0);
        device.node = row.text(1);
        device.target = row.text(2);
        device.made = static_cast<EMade>(row.number(3));
        device.importPath = row.text(4);
        device.state = {row.text(5), row.text(6), row.text(7), row.text(8), row.text(9), row.text(10)};
        device.importSerial = row.text(11);
        device.imageAsked = row.number(12) != 0;
        snapshot.devices.push_back(std::move(device));
    }
}

std::string quoted(const std::string& name)
{
    return "snapshot \"" + printable(name) + "\"";
}

// An interrupted command is taken up where it was left. Only what a killed creation left has no use any more.
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
    } catch (const ESqlite& error) {
        throw EFictl(EExit::CATALOG, "catalog " + m_path + ": cannot " + doing + ": " + error.what(),
                     "check the file, the rights on it and the free space beside it");
    } catch (const std::invalid_argument& error) {
        throw EFictl(EExit::CATALOG, "catalog " + m_path + ": damaged: " + error.what());
    }
}

CCatalog::CCatalog() : m_path(prepareCatalogFile()), m_lock(m_path + "-owners")
{
    guarded("open it", [this] {
        m_db.emplace(m_path, SQLITE_OPEN_READWRITE);
        // FULL: an intent must be on disk before the appliance is asked for anything.
        m_db->exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
        prepareSchema();
    });
}

void CCatalog::prepareSchema()
{
    if (pragma(*m_db, "PRAGMA user_version") == VERSION && pragma(*m_db, "PRAGMA application_id") == APPLICATION_ID) {
        return;
    }
    CTransaction transaction(*m_db);
    // Another process may have created or changed the tables meanwhile.
    const int64_t version = pragma(*m_db, "PRAGMA user_version");
    const int64_t id = pragma(*m_db, "PRAGMA application_id");
    if (version == VERSION && id == APPLICATION_ID) return;
    const bool isEmpty = pragma(*m_db, "SELECT count(*) FROM sqlite_schema") == 0;
    if (version == 1 && id == APPLICATION_ID) {
        m_db->exec(FROM_VERSION_1);
    } else if (version == 0 && id == 0 && isEmpty) {
        m_db->exec(SCHEMA);
    } else {
        throw EFictl(EExit::CATALOG,
                     "catalog " + m_path + ": not a catalog of this fictl (layout " + std::to_string(version) +
                         ", this fictl reads " + std::to_string(VERSION) + ")",
                     "use the fictl that wrote it, or move the file away");
    }
    transaction.commit();
}

std::vector<SSnapshot> CCatalog::list()
{
    return guarded("read", [this] {
        std::vector<SSnapshot> snapshots;
        // One read transaction, so that records and devices belong together.
        m_db->exec("BEGIN");
        {
            CStatement row(*m_db, (std::string(SNAPSHOT_COLUMNS) + "ORDER BY name").c_str());
            while (row.step()) {
                snapshots.push_back(readSnapshot(row));
            }
        }
        for (SSnapshot& snapshot : snapshots) {
            readDevices(*m_db, snapshot);
        }
        m_db->exec("COMMIT");
        return snapshots;
    });
}

std::optional<SSnapshot> CCatalog::find(const std::string& name)
{
    CStatement row(*m_db, (std::string(SNAPSHOT_COLUMNS) + "WHERE name = ?").c_str());
    row.bind(name);
    if (!row.step()) return std::nullopt;
    SSnapshot snapshot = readSnapshot(row);
    readDevices(*m_db, snapshot);
    return snapshot;
}

bool CCatalog::has(const std::string& name)
{
    return guarded("read", [&] { return find(name).has_value(); });
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
    CStatement(*m_db, "DELETE FROM device WHERE snapshot = ?").bind(snapshot.name).run();
    writeHead(snapshot);
    int64_t position = 0;
    for (const SDevice& device : snapshot.devices) {
        writeDevice(snapshot.name, position++, device);
    }
}

void CCatalog::writeHead(const SSnapshot& snapshot)
{
    // The devices refer to the row, so it is changed where it is there already.
    CStatement row(*m_db,
                   "INSERT INTO snapshot (name, state, provider, checkpoint, created, origin, thaw, message, pid, "
                   "boot_id, start_time, exported, pid_namespace, owner_lock) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?) "
                   "ON CONFLICT (name) DO UPDATE SET state = excluded.state, thaw = excluded.thaw, "
                   "message = excluded.message, pid = excluded.pid, boot_id = excluded.boot_id, "
                   "start_time = excluded.start_time, exported = max(exported, excluded.exported), "
                   "pid_namespace = excluded.pid_namespace, owner_lock = excluded.owner_lock");
    // The texts are bound by reference and must outlive the step.
    const std::string state = stateText(snapshot.state);
    row.bind(snapshot.name).bind(state).bind(snapshot.provider).bind(snapshot.checkpoint).bind(snapshot.created);
    row.bind(snapshot.origin).bind(snapshot.thaw).bind(snapshot.message);
    row.bind(snapshot.owner.pid).bind(snapshot.owner.bootId).bind(snapshot.owner.startTime);
    row.bind(int64_t{snapshot.exported}).bind(snapshot.owner.pidNamespace).bind(snapshot.owner.lock).run();
}

void CCatalog::writeDevice(const std::string& snapshot, int64_t position, const SDevice& device)
{
    CStatement entry(*m_db,
                     "INSERT OR REPLACE INTO device (snapshot, position, source, node, target, made, import_path, "
                     "appliance_type, appliance, cgroup, time_image, checkpoint, serial, import_serial, image_asked) "
                     "VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
    entry.bind(snapshot).bind(position).bind(device.source).bind(device.node).bind(device.target);
    entry.bind(static_cast<int64_t>(device.made)).bind(device.importPath).bind(device.state.applianceType);
    entry.bind(device.state.applianceName).bind(device.state.consistencyGroup).bind(device.state.timeImage);
    entry.bind(device.state.checkPointName).bind(device.state.serialNo).bind(device.importSerial);
    entry.bind(int64_t{device.imageAsked}).run();
}

void CCatalog::insert(const SSnapshot& snapshot)
{
    guarded("write", [&] {
        CTransaction transaction(*m_db);
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
        CTransaction transaction(*m_db);
        write(snapshot);
        transaction.commit();
    });
}

void CCatalog::updateDevices(const SSnapshot& snapshot, const std::vector<size_t>& positions)
{
    guarded("write", [&] {
        CTransaction transaction(*m_db);
        writeHead(snapshot);
        for (const size_t position : positions) {
            writeDevice(snapshot.name, static_cast<int64_t>(position), snapshot.devices.at(position));
        }
        transaction.commit();
    });
}

void CCatalog::markExported(const std::string& name)
{
    guarded("write", [&] { CStatement(*m_db, "UPDATE snapshot SET exported = 1 WHERE name = ?").bind(name).run(); });
}

void CCatalog::remove(const std::string& name)
{
    guarded("write", [&] {
        CTransaction transaction(*m_db);
        CStatement(*m_db, "DELETE FROM snapshot WHERE name = ?").bind(name).run();
        transaction.commit();
    });
}

SSnapshot CCatalog::take(const std::string& name, EState into, std::initializer_list<EState> allowed, const char* what)
{
    return guarded("write", [&] {
        CTransaction transaction(*m_db);
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
    return guarded("read", [&]() -> std::optional<std::string> {
        CStatement row(*m_db,
                       "SELECT s.name FROM snapshot s JOIN device d ON d.snapshot = s.name WHERE s.name <> ? AND "
                       "s.checkpoint = ? AND d.appliance = ? AND d.cgroup = ? AND d.made = 1 LIMIT 1");
        row.bind(name).bind(checkpoint).bind(group.first).bind(group.second);
        if (!row.step()) return std::nullopt;
        return row.text(0);
    });
}

std::optional<std::string> CCatalog::carrierOf(const std::string& checkpoint)
{
    return guarded("read", [&]() -> std::optional<std::string> {
        CStatement row(*m_db, "SELECT name FROM snapshot WHERE checkpoint = ? LIMIT 1");
        row.bind(checkpoint);
        if (!row.step()) return std::nullopt;
        return row.text(0);
    });
}

}  // namespace fictl

#include "host/src/catalog/catalog.h"

#include <algorithm>

#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_file.h"
#include "host/src/catalog/catalog_layout.h"
#include "host/src/catalog/checkpoint_time_table.h"
#include "host/src/catalog/command_history.h"
#include "host/src/catalog/label_table.h"

namespace fictl {

namespace {

constexpr auto WRITE = base::CSqliteTransaction::EKind::WRITE;

const std::vector<SHistoryObject> NOTHING_ASKED;

// The first column of the first row; nothing without a row.
std::optional<std::string> firstText(base::CSqliteQuery row)
{
    if (!row.next()) return std::nullopt;
    return row.text(0);
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
    return telling(m_path, doing, work);
}

// One transaction, with what the work says that the appliances are about to be asked for. A history that cannot be
// written undoes it all; it is then done without.
template <class Work>
void CCatalog::change(const std::string& snapshot, Work work)
{
    guarded("write", [&] {
        CCommandHistory* const history = CCommandHistory::current();
        if (history != nullptr) history->concern(snapshot);
        try {
            base::CSqliteTransaction transaction(*m_database, WRITE);
            const std::vector<SHistoryObject> asked = work();
            if (history != nullptr) history->enter(asked);
            transaction.commit();
            if (history != nullptr) history->entered();
            return;
        } catch (const EHistory& error) {
            history->giveUp(error.what());
        }
        base::CSqliteTransaction transaction(*m_database, WRITE);
        work();
        transaction.commit();
    });
}

CCatalog::CCatalog() : m_path(prepareCatalogFile()), m_lock(m_path + "-owners")
{
    guarded("open it", [this] {
        m_database = std::make_shared<base::CSqliteDatabase>(m_path, SQLITE_OPEN_READWRITE, PATIENCE);
        // FULL: an intent must be on disk before the appliance is asked for anything.
        m_database->execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
        bringUpToDate(*m_database, m_path);
    });
    if (CCommandHistory* const history = CCommandHistory::current()) history->attach(m_path, m_database);
}

bool CCatalog::has(const std::string& name)
{
    if (CCommandHistory* const history = CCommandHistory::current()) history->concern(name);
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
    if (CCommandHistory* const history = CCommandHistory::current()) history->concern(name);
    return guarded("read", [&] {
        std::optional<SSnapshot> snapshot = findRecord(*m_database, name);
        if (!snapshot) failNotFound(name);
        return *std::move(snapshot);
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
                           "pid, boot_id, start_time, exported, pid_namespace, owner_lock, creator, note) "
                           "VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?) "
                           "ON CONFLICT (name) DO UPDATE SET state = excluded.state, thaw = excluded.thaw, "
                           "message = excluded.message, pid = excluded.pid, boot_id = excluded.boot_id, "
                           "start_time = excluded.start_time, exported = max(exported, excluded.exported), "
                           "pid_namespace = excluded.pid_namespace, owner_lock = excluded.owner_lock");
    row.bind(snapshot.name).bind(stateText(snapshot.state)).bind(snapshot.provider).bind(snapshot.checkpoint);
    row.bind(snapshot.created).bind(snapshot.origin).bind(snapshot.thaw).bind(snapshot.message);
    row.bind(snapshot.owner.pid).bind(snapshot.owner.bootId).bind(snapshot.owner.startTime);
    row.bind(snapshot.exported).bind(snapshot.owner.pidNamespace).bind(snapshot.owner.lock);
    row.bind(snapshot.creator).bind(snapshot.note).run();
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
    change(snapshot.name, [&] {
        if (const std::optional<SSnapshot> present = findRecord(*m_database, snapshot.name)) {
            throw EFictl(EExit::EXISTS,
                         quotedSnapshot(snapshot.name) + " is in the catalog already (" + present->shownState() + ")",
                         howToGoOn(*present));
        }
        write(snapshot);
        writeLabels(*m_database, snapshot.name, snapshot.labels);
        return aboutToBeAsked(snapshot);
    });
}

void CCatalog::update(const SSnapshot& snapshot)
{
    change(snapshot.name, [&] {
        write(snapshot);
        return NOTHING_ASKED;
    });
}

void CCatalog::updateDevice(const SSnapshot& snapshot, size_t position)
{
    change(snapshot.name, [&] {
        writeHead(snapshot);
        writeDevice(snapshot.name, position, snapshot.devices.at(position));
        return NOTHING_ASKED;
    });
}

void CCatalog::updateGroup(const SSnapshot& snapshot, const GroupKey& group)
{
    change(snapshot.name, [&] {
        writeHead(snapshot);
        for (size_t position = 0; position < snapshot.devices.size(); ++position) {
            const SDevice& device = snapshot.devices[position];
            if (device.group() == group) writeDevice(snapshot.name, position, device);
        }
        return imageAboutToBeAsked(snapshot, group);
    });
}

void CCatalog::markExported(const std::string& name)
{
    change(name, [&] {
        base::CSqliteQuery(*m_database, "UPDATE snapshot SET exported = 1 WHERE name = ?", name).run();
        return NOTHING_ASKED;
    });
}

SSnapshot CCatalog::annotate(const std::string& name, const SAnnotationChange& annotation)
{
    std::optional<SSnapshot> record;
    change(name, [&] {
        if (!findRecord(*m_database, name)) failNotFound(name);
        changeAnnotation(*m_database, name, annotation);
        record = findRecord(*m_database, name);
        requireFewLabels(record->labels);
        return NOTHING_ASKED;
    });
    return *std::move(record);
}

void CCatalog::remove(const std::string& name)
{
    change(name, [&] {
        base::CSqliteQuery(*m_database, "DELETE FROM snapshot WHERE name = ?", name).run();
        return NOTHING_ASKED;
    });
}

SSnapshot CCatalog::drop(const std::string& name, std::initializer_list<EState> allowed, const char* what)
{
    std::optional<SSnapshot> dropped;
    change(name, [&] {
        dropped = requireFree(name, allowed, what);
        base::CSqliteQuery(*m_database, "DELETE FROM snapshot WHERE name = ?", name).run();
        return NOTHING_ASKED;
    });
    return *std::move(dropped);
}

void CCatalog::beginHistory()
{
    change("", [] { return NOTHING_ASKED; });
}

SSnapshot CCatalog::requireFree(const std::string& name, std::initializer_list<EState> allowed, const char* what)
{
    std::optional<SSnapshot> record = findRecord(*m_database, name);
    if (!record) failNotFound(name);
    requireNotHeld(*record);
    if (std::find(allowed.begin(), allowed.end(), record->state) == allowed.end()) {
        throw EFictl(EExit::STATE, quotedSnapshot(name) + " is " + record->shownState() + ": it cannot be " + what,
                     howToGoOn(*record));
    }
    return *std::move(record);
}

SSnapshot CCatalog::take(const std::string& name, EState into, std::initializer_list<EState> allowed, const char* what)
{
    std::optional<SSnapshot> before;
    change(name, [&] {
        before = requireFree(name, allowed, what);
        SSnapshot taken = *before;
        taken.state = into;
        taken.owner = thisProcess();
        write(taken);
        return aboutToBeAsked(taken);
    });
    return *std::move(before);
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

#include "host/src/catalog/record_rows.h"

#include "host/src/catalog/checkpoint_time_table.h"
#include "host/src/catalog/label_table.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* HEAD =
    "SELECT name, state, provider, checkpoint, created, origin, thaw, message, pid, boot_id, start_time, exported, "
    "pid_namespace, owner_lock, creator, note FROM snapshot ";

SSnapshot readHead(const base::CSqliteQuery& row)
{
    SSnapshot snapshot;
    snapshot.name = row.text(0);
    const std::optional<EState> state = stateOf(row.text(1));
    if (!state) throw EUnreadableRecord("state: no state is called \"" + printable(row.text(1)) + "\"");
    snapshot.state = *state;
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
    snapshot.creator = row.text(14);
    snapshot.note = row.text(15);
    return snapshot;
}

constexpr const char* DEVICES =
    "SELECT source, node, target, made, import_path, appliance_type, appliance, cgroup, time_image, checkpoint, "
    "serial, import_serial, image_asked, position, snapshot FROM device ";

// The same columns, of which those are empty that no list shows: they are most of the bytes.
constexpr const char* DEVICES_IN_LISTS =
    "SELECT '', '', '', made, import_path, '', appliance, cgroup, '', '', serial, '', image_asked, position, snapshot "
    "FROM device ";

constexpr const char* TIMES = "SELECT snapshot, appliance, cgroup, made_at FROM checkpoint_time ";

EMade madeOf(int64_t number)
{
    if (number < 0 || number > static_cast<int64_t>(EMade::UNKNOWN)) {
        throw EUnreadableRecord("made: " + std::to_string(number) + " is not 0, 1 or 2");
    }
    return static_cast<EMade>(number);
}

SDevice readDevice(const base::CSqliteQuery& row)
{
    SDevice device;
    device.source = row.text(0);
    device.node = row.text(1);
    device.target = row.text(2);
    device.made = madeOf(row.integer(3));
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

// A device is found again by its position.
SDevice readDeviceAt(const base::CSqliteQuery& row, size_t position)
{
    const std::string what = "device " + std::to_string(position) + ": ";
    if (!std::cmp_equal(row.integer(13), position)) {
        throw EUnreadableRecord(what + "there is none at this position, and one at " + std::to_string(row.integer(13)));
    }
    try {
        return readDevice(row);
    } catch (const EUnreadableRecord& error) {
        throw EUnreadableRecord(what + error.what());
    }
}

/// Rows of a table in order of the snapshots that they belong to, walked over once beside the snapshots themselves.
class CRowsBeside
{
  public:
    /// @param column in which the snapshot's name stands
    CRowsBeside(const base::CSqliteDatabase& database, const std::string& query, int column)
        : m_row(database, query.c_str()), m_column(column)
    {
        advance();
    }

    /// Uses the rows of one snapshot; asked for in order of the names' bytes.
    template <class Use>
    void of(const std::string& name, Use use)
    {
        while (m_isThere && m_name < name) {
            advance();
        }
        for (; m_isThere && m_name == name; advance()) {
            use(m_row);
        }
    }

  private:
    void advance()
    {
        m_isThere = m_row.next();
        if (m_isThere) m_name = m_row.text(m_column);
    }

    base::CSqliteQuery m_row;
    int m_column;
    std::string m_name;
    bool m_isThere = false;
};

/// Every table is read once, which takes a small part of the time that a look for each record takes.
class CAllRecords
{
  public:
    CAllRecords(const base::CSqliteDatabase& database, ERecordParts parts)
        : m_heads(database, (std::string(HEAD) + "ORDER BY name").c_str()),
          m_devices(database,
                    (isForLists(parts) ? DEVICES_IN_LISTS : DEVICES) + std::string("ORDER BY snapshot, position"), 14),
          m_times(database, TIMES + std::string(isForLists(parts) ? "WHERE FALSE" : "ORDER BY snapshot"), 0),
          m_labels(database, "SELECT snapshot, label_key, label_value FROM label ORDER BY snapshot", 0)
    {
    }

    std::vector<SUnreadable> read(CBaseRecordTaker& taker)
    {
        std::vector<SUnreadable> unreadable;
        taker.begin();
        while (m_heads.next()) {
            try {
                taker.take(readRecord());
            } catch (const EUnreadableRecord& error) {
                unreadable.push_back({m_heads.text(0), error.what()});
            }
        }
        return unreadable;
    }

  private:
    static bool isForLists(ERecordParts parts) { return parts == ERecordParts::OF_LISTS; }

    SSnapshot readRecord()
    {
        SSnapshot snapshot = readHead(m_heads);
        m_devices.of(snapshot.name, [&](const base::CSqliteQuery& row) {
            snapshot.devices.push_back(readDeviceAt(row, snapshot.devices.size()));
        });
        m_times.of(snapshot.name, [&](const base::CSqliteQuery& row) {
            for (SDevice* const device : snapshot.devicesOf({row.text(1), row.text(2)})) {
                device->madeAt = row.text(3);
            }
        });
        m_labels.of(snapshot.name,
                    [&](const base::CSqliteQuery& row) { snapshot.labels.emplace(row.text(1), row.text(2)); });
        return snapshot;
    }

    base::CSqliteQuery m_heads;
    CRowsBeside m_devices;
    CRowsBeside m_times;
    CRowsBeside m_labels;
};

// Where a part of the file is damaged, what can be read is read all the same.
std::vector<SUnreadable> readOneByOne(const base::CSqliteDatabase& database, CBaseRecordTaker& taker)
{
    std::vector<SUnreadable> unreadable;
    taker.begin();
    CRecordRows rows(database);
    for (base::CSqliteQuery names(database, "SELECT name FROM snapshot ORDER BY name"); names.next();) {
        const std::string name = names.text(0);
        try {
            if (std::optional<SSnapshot> snapshot = rows.find(name)) {
                taker.take(*std::move(snapshot));
            } else {
                unreadable.push_back({name, "its row cannot be found"});
            }
        } catch (const EUnreadableRecord& error) {
            unreadable.push_back({name, error.what()});
        } catch (const base::ESqlite& error) {
            unreadable.push_back({name, error.what()});
        }
    }
    return unreadable;
}

}  // namespace

std::vector<SUnreadable> readAllRecords(const base::CSqliteDatabase& database, CBaseRecordTaker& taker,
                                        ERecordParts parts)
{
    try {
        return CAllRecords(database, parts).read(taker);
    } catch (const base::ESqlite&) {
        return readOneByOne(database, taker);
    }
}

EUnreadableRecord::~EUnreadableRecord() = default;

CRecordRows::CRecordRows(const base::CSqliteDatabase& database)
    : m_database(database),
      m_head(database, (std::string(HEAD) + "WHERE name = ?").c_str()),
      m_devices(database, (std::string(DEVICES) + "WHERE snapshot = ? ORDER BY position").c_str())
{
}

std::optional<SSnapshot> CRecordRows::find(const std::string& name)
{
    m_head.again(name);
    if (!m_head.next()) return std::nullopt;
    SSnapshot snapshot = readHead(m_head);
    m_devices.again(name);
    while (m_devices.next()) {
        snapshot.devices.push_back(readDeviceAt(m_devices, snapshot.devices.size()));
    }
    readCheckpointTimes(m_database, snapshot);
    snapshot.labels = readLabels(m_database, name);
    return snapshot;
}

}  // namespace fictl

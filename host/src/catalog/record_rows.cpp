#include "host/src/catalog/record_rows.h"

#include "host/src/catalog/checkpoint_time_table.h"
#include "host/src/catalog/label_table.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

// The columns of what is read of a record, so that those of less stand before those of more.
std::string headQuery(ERecordParts parts)
{
    std::string columns = "name, state, created, pid, boot_id, start_time, pid_namespace, owner_lock";
    if (parts >= ERecordParts::OF_LISTS) columns += ", provider, checkpoint, origin, message, creator, note";
    if (parts >= ERecordParts::ALL) columns += ", thaw, exported";
    return "SELECT " + columns + " FROM snapshot ";
}

SSnapshot readHead(const base::CSqliteQuery& row, ERecordParts parts)
{
    SSnapshot snapshot;
    snapshot.name = row.text(0);
    const std::optional<EState> state = stateOf(row.text(1));
    if (!state) throw EUnreadableRecord("state: no state is called \"" + printable(row.text(1)) + "\"");
    snapshot.state = *state;
    snapshot.created = row.text(2);
    if (parts >= ERecordParts::ALL || isOfProcess(*state)) {
        snapshot.owner = {.pid = row.integer(3),
                          .bootId = row.text(4),
                          .startTime = row.integer(5),
                          .pidNamespace = row.text(6),
                          .lock = row.integer(7)};
    }
    if (parts < ERecordParts::OF_LISTS) return snapshot;
    snapshot.provider = row.text(8);
    snapshot.checkpoint = row.text(9);
    snapshot.origin = row.text(10);
    snapshot.message = row.text(11);
    snapshot.creator = row.text(12);
    snapshot.note = row.text(13);
    if (parts < ERecordParts::ALL) return snapshot;
    snapshot.thaw = row.text(14);
    snapshot.exported = row.integer(15) != 0;
    return snapshot;
}

std::string devicesQuery(ERecordParts parts)
{
    std::string columns = "snapshot, position, made, appliance, cgroup";
    if (parts >= ERecordParts::OF_LISTS) columns += ", serial, import_path";
    if (parts >= ERecordParts::ALL) {
        columns += ", source, node, target, appliance_type, time_image, checkpoint, import_serial, image_asked";
    }
    return "SELECT " + columns + " FROM device ";
}

EMade madeOf(int64_t number)
{
    if (number < 0 || number > static_cast<int64_t>(EMade::UNKNOWN)) {
        throw EUnreadableRecord("made: " + std::to_string(number) + " is not 0, 1 or 2");
    }
    return static_cast<EMade>(number);
}

SDevice readDevice(const base::CSqliteQuery& row, ERecordParts parts)
{
    SDevice device;
    device.made = madeOf(row.integer(2));
    device.state.applianceName = row.text(3);
    device.state.consistencyGroup = row.text(4);
    if (parts < ERecordParts::OF_LISTS) return device;
    device.state.serialNo = row.text(5);
    device.importPath = row.text(6);
    if (parts < ERecordParts::ALL) return device;
    device.source = row.text(7);
    device.node = row.text(8);
    device.target = row.text(9);
    device.state.applianceType = row.text(10);
    device.state.timeImage = row.text(11);
    device.state.checkPointName = row.text(12);
    device.importSerial = row.text(13);
    device.imageAsked = row.integer(14) != 0;
    return device;
}

// A device is found again by its position.
SDevice readDeviceAt(const base::CSqliteQuery& row, size_t position, ERecordParts parts)
{
    const auto what = [&] { return "device " + std::to_string(position) + ": "; };
    if (!std::cmp_equal(row.integer(1), position)) {
        throw EUnreadableRecord(what() + "there is none at this position, and one at " +
                                std::to_string(row.integer(1)));
    }
    try {
        return readDevice(row, parts);
    } catch (const EUnreadableRecord& error) {
        throw EUnreadableRecord(what() + error.what());
    }
}

constexpr const char* TIMES = "SELECT snapshot, appliance, cgroup, made_at FROM checkpoint_time ";
constexpr const char* LABELS = "SELECT snapshot, label_key, label_value FROM label ";

/// Rows of a table in order of the snapshots that they belong to, walked over once beside the snapshots themselves.
class CRowsBeside
{
  public:
    /// @param query gives the snapshot's name first
    CRowsBeside(const base::CSqliteDatabase& database, const std::string& query) : m_row(database, query.c_str())
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
        if (m_isThere) m_name = m_row.view(0);
    }

    base::CSqliteQuery m_row;
    std::string_view m_name;
    bool m_isThere = false;
};

/// Every table is read once, which takes a small part of the time that a look for each record takes.
class CAllRecords
{
  public:
    CAllRecords(const base::CSqliteDatabase& database, ERecordParts parts)
        : m_parts(parts),
          m_heads(database, (headQuery(parts) + "ORDER BY name").c_str()),
          m_devices(database, devicesQuery(parts) + "ORDER BY snapshot, position"),
          m_labels(database, LABELS + orderIf(parts >= ERecordParts::OF_LISTS)),
          m_times(database, TIMES + orderIf(parts >= ERecordParts::ALL))
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
    // A table that is not asked for gives no row.
    static std::string orderIf(bool isAskedFor) { return isAskedFor ? "ORDER BY snapshot" : "WHERE FALSE"; }

    SSnapshot readRecord()
    {
        SSnapshot snapshot = readHead(m_heads, m_parts);
        m_devices.of(snapshot.name, [&](const base::CSqliteQuery& row) {
            snapshot.devices.push_back(readDeviceAt(row, snapshot.devices.size(), m_parts));
        });
        m_labels.of(snapshot.name,
                    [&](const base::CSqliteQuery& row) { snapshot.labels.emplace(row.text(1), row.text(2)); });
        m_times.of(snapshot.name, [&](const base::CSqliteQuery& row) {
            for (SDevice* const device : snapshot.devicesOf({row.text(1), row.text(2)})) {
                device->madeAt = row.text(3);
            }
        });
        return snapshot;
    }

    const ERecordParts m_parts;
    base::CSqliteQuery m_heads;
    CRowsBeside m_devices;
    CRowsBeside m_labels;
    CRowsBeside m_times;
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
      m_head(database, (headQuery(ERecordParts::ALL) + "WHERE name = ?").c_str()),
      m_devices(database, (devicesQuery(ERecordParts::ALL) + "WHERE snapshot = ? ORDER BY position").c_str())
{
}

std::optional<SSnapshot> CRecordRows::find(const std::string& name)
{
    m_head.again(name);
    if (!m_head.next()) return std::nullopt;
    SSnapshot snapshot = readHead(m_head, ERecordParts::ALL);
    m_devices.again(name);
    while (m_devices.next()) {
        snapshot.devices.push_back(readDeviceAt(m_devices, snapshot.devices.size(), ERecordParts::ALL));
    }
    readCheckpointTimes(m_database, snapshot);
    snapshot.labels = readLabels(m_database, name);
    return snapshot;
}

}  // namespace fictl

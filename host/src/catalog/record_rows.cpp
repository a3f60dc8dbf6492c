#include "host/src/catalog/record_rows.h"

#include "host/src/catalog/checkpoint_time_table.h"
#include "host/src/catalog/label_table.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

constexpr const char* HEAD =
    "SELECT name, state, provider, checkpoint, created, origin, thaw, message, pid, boot_id, start_time, exported, "
    "pid_namespace, owner_lock, creator, note FROM snapshot WHERE name = ?";

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
    "serial, import_serial, image_asked, position FROM device WHERE snapshot = ? ORDER BY position";

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

}  // namespace

EUnreadableRecord::~EUnreadableRecord() = default;

CRecordRows::CRecordRows(const base::CSqliteDatabase& database)
    : m_database(database), m_head(database, HEAD), m_devices(database, DEVICES)
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

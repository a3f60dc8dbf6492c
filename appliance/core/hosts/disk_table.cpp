#include "appliance/core/hosts/disk_table.h"

#include <algorithm>
#include <utility>

namespace lumora {

namespace {

constexpr const char* NEW_GRANTS =
    "SELECT granted.time_image_id, host.id FROM granted JOIN host ON host.id = granted.host_id WHERE host.name = ? "
    "AND NOT EXISTS (SELECT 1 FROM discovered WHERE discovered.time_image_id = granted.time_image_id "
    "AND discovered.host_id = host.id)";

constexpr const char* PRESENTED_LUNS =
    "SELECT appliance.name, appliance.engine, lun.id, lun.name, lun.size, lun.serial FROM presentation JOIN lun ON "
    "lun.id = lun_id "
    "JOIN host ON host.id = host_id JOIN appliance ON appliance.id = lun.appliance_id WHERE host.name = ?";

// `discovered` holds granted images only, but the table is asked for both, so that a listing cannot show too much.
constexpr const char* IMAGE_LUNS =
    "SELECT appliance.name, appliance.engine, lun.id, lun.name, lun.size, time_image_lun.serial, time_image.folder, "
    "annotation.folder "
    "FROM discovered "
    "JOIN host ON host.id = discovered.host_id JOIN time_image ON time_image.id = discovered.time_image_id "
    "JOIN annotation ON annotation.id = time_image.annotation_id "
    "JOIN time_image_lun ON time_image_lun.time_image_id = time_image.id JOIN lun ON lun.id = time_image_lun.lun_id "
    "JOIN appliance ON appliance.id = lun.appliance_id WHERE host.name = ? AND EXISTS (SELECT 1 FROM granted "
    "WHERE granted.time_image_id = time_image.id AND granted.host_id = host.id)";

constexpr const char* APPLIANCES_OF_HOST =
    "SELECT appliance.name, appliance.engine FROM host JOIN appliance ON appliance.id = appliance_id "
    "WHERE host.name = ?";

SDisk readDisk(const CQuery& query)
{
    return {.device = {.volume = {.id = query.integer(2),
                                  .name = query.text(3),
                                  .size = static_cast<uint64_t>(query.integer(4))},
                       .image = "",
                       .path = "",
                       .content = ""},
            .serial = query.text(5),
            .appliance = query.text(0),
            .engine = query.text(1)};
}

bool isBefore(const SDisk& left, const SDisk& right)
{
    return left.device.path < right.device.path;
}

}  // namespace

bool CDiskTable::isHostKnown(const std::string& host)
{
    return CQuery(m_store.database(), "SELECT 1 FROM host WHERE name = ?", host).next();
}

SDiscovery CDiskTable::discover(const std::string& host)
{
    // A host looks more often than there is anything new; only a change needs the write lock.
    if (CQuery(m_store.database(), NEW_GRANTS, host).next()) {
        CTransaction transaction(m_store.database(), CTransaction::EKind::WRITE);
        CQuery(m_store.database(),
               (std::string("INSERT INTO discovered (time_image_id, host_id) ") + NEW_GRANTS).c_str(), host)
            .run();
        transaction.commit();
    }
    detachUnlisted(host);
    std::map<std::string, std::vector<SDisk>> byAppliance;
    const std::vector<SDisk> listed = listedDisks(host);
    for (const SDisk& disk : listed) {
        byAppliance[disk.appliance].push_back(disk);
    }
    for (const auto& [appliance, disks] : byAppliance) {
        std::vector<SDevice> devices;
        for (const SDisk& disk : disks) {
            devices.push_back(disk.device);
        }
        engineOf(disks.front().appliance, disks.front().engine).attach(devices);
    }
    return {listed.size()};
}

// What another machine deleted meanwhile, which cannot take it away from this one.
void CDiskTable::detachUnlisted(const std::string& host)
{
    const auto appliances = readRows(CQuery(m_store.database(), APPLIANCES_OF_HOST, host),
                                     [](const CQuery& row) { return std::pair(row.text(0), row.text(1)); });
    for (const auto& [appliance, kind] : appliances) {
        CBaseStorageEngine& engine = engineOf(appliance, kind);
        std::vector<SDevice> unlisted = engine.attached();
        std::erase_if(unlisted, [this](const SDevice& device) { return isListed(device); });
        if (!unlisted.empty()) engine.detach(unlisted);
    }
}

bool CDiskTable::isListed(const SDevice& device)
{
    if (device.image.empty()) {
        return CQuery(m_store.database(), "SELECT 1 FROM lun WHERE id = ?", device.volume.id).next();
    }
    return CQuery(m_store.database(), "SELECT 1 FROM time_image WHERE folder = ?", device.image).next();
}

std::vector<SDisk> CDiskTable::disks(const std::string& host)
{
    std::vector<SDisk> list = listedDisks(host);
    list.erase(std::remove_if(list.begin(), list.end(),
                              [this](const SDisk& disk) {
                                  return !engineOf(disk.appliance, disk.engine).isAttached(disk.device);
                              }),
               list.end());
    return list;
}

std::vector<SDisk> CDiskTable::listedDisks(const std::string& host)
{
    std::vector<SDisk> list;
    const CTransaction transaction(m_store.database(), CTransaction::EKind::READ);
    CQuery presented(m_store.database(), PRESENTED_LUNS, host);
    while (presented.next()) {
        SDisk disk = readDisk(presented);
        disk.device.path = m_store.layout().lun(disk.appliance, disk.device.volume.name);
        list.push_back(std::move(disk));
    }
    CQuery images(m_store.database(), IMAGE_LUNS, host);
    while (images.next()) {
        SDisk disk = readDisk(images);
        disk.device.image = images.text(6);
        disk.device.content = images.text(7);
        disk.device.path = m_store.layout().imageLun(disk.appliance, disk.device.image, disk.device.volume.name);
        list.push_back(std::move(disk));
    }
    std::sort(list.begin(), list.end(), isBefore);
    return list;
}

CBaseStorageEngine& CDiskTable::engineOf(const std::string& appliance, const std::string& kind)
{
    std::unique_ptr<CBaseStorageEngine>& engine = m_engines[appliance];
    if (!engine) engine = m_store.makeEngine(appliance, kind);
    return *engine;
}

}  // namespace lumora

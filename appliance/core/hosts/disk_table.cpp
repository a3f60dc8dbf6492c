#include "appliance/core/hosts/disk_table.h"

#include <algorithm>

#include "appliance/core/store/work_folder.h"

namespace lumora {

namespace {

constexpr const char* NEW_GRANTS =
    "SELECT granted.time_image_id, host.id FROM granted JOIN host ON host.id = granted.host_id WHERE host.name = ? "
    "AND NOT EXISTS (SELECT 1 FROM discovered WHERE discovered.time_image_id = granted.time_image_id "
    "AND discovered.host_id = host.id)";

constexpr const char* PRESENTED_LUNS =
    "SELECT appliance.name, lun.name, lun.serial, lun.size FROM presentation JOIN lun ON lun.id = lun_id "
    "JOIN host ON host.id = host_id JOIN appliance ON appliance.id = lun.appliance_id WHERE host.name = ?";

// `discovered` holds granted images only, but the table is asked for both, so that a listing cannot show too much.
constexpr const char* IMAGE_LUNS =
    "SELECT appliance.name, lun.name, time_image_lun.serial, lun.size, time_image.folder FROM discovered "
    "JOIN host ON host.id = discovered.host_id JOIN time_image ON time_image.id = discovered.time_image_id "
    "JOIN time_image_lun ON time_image_lun.time_image_id = time_image.id JOIN lun ON lun.id = time_image_lun.lun_id "
    "JOIN appliance ON appliance.id = lun.appliance_id WHERE host.name = ? AND EXISTS (SELECT 1 FROM granted "
    "WHERE granted.time_image_id = time_image.id AND granted.host_id = host.id)";

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
    return {disks(host).size()};
}

std::vector<SDisk> CDiskTable::disks(const std::string& host)
{
    std::vector<SDisk> list;
    const CTransaction transaction(m_store.database(), CTransaction::EKind::READ);
    CQuery presented(m_store.database(), PRESENTED_LUNS, host);
    while (presented.next()) {
        list.push_back({m_store.layout().lun(presented.text(0), presented.text(1)), presented.text(2),
                        static_cast<uint64_t>(presented.integer(3))});
    }
    CQuery images(m_store.database(), IMAGE_LUNS, host);
    while (images.next()) {
        const auto folder = areaFolder(m_store.layout().appliance(images.text(0)), EArea::IMAGES) / images.text(4);
        list.push_back(
            {m_engine.hostPath(folder, images.text(1)), images.text(2), static_cast<uint64_t>(images.integer(3))});
    }
    std::sort(list.begin(), list.end(), [](const SDisk& left, const SDisk& right) { return left.path < right.path; });
    return list;
}

}  // namespace lumora

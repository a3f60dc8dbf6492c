#include "appliance/core/catalog/inventory.h"
#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"

namespace lumora {

namespace {

constexpr const char* LUN_COLUMNS =
    "SELECT lun.id, lun.name, lun.serial, lun.size, cgroup.name, cgroup.id FROM lun JOIN cgroup ON cgroup.id = "
    "lun.cgroup_id ";

SLun readLun(const CQuery& query)
{
    return {query.integer(0), query.text(1),   query.text(2), static_cast<uint64_t>(query.integer(3)),
            query.text(4),    query.integer(5)};
}

std::string select(const char* condition)
{
    return std::string(LUN_COLUMNS) + condition;
}

}  // namespace

SLun CInventory::lun(const SAppliance& appliance, std::string_view name)
{
    CQuery query(m_database, select("WHERE lun.appliance_id = ? AND lun.name = ?").c_str(), appliance.id, name);
    if (!query.next()) throwMissing(EObject::LUN, name, onAppliance(appliance));
    return readLun(query);
}

std::vector<SLun> CInventory::luns(const SAppliance& appliance)
{
    CQuery query(m_database, select("WHERE lun.appliance_id = ? ORDER BY lun.name").c_str(), appliance.id);
    return readRows(query, readLun);
}

std::vector<SLun> CInventory::luns(const SGroup& group)
{
    CQuery query(m_database, select("WHERE lun.cgroup_id = ? ORDER BY lun.name").c_str(), group.id);
    return readRows(query, readLun);
}

std::vector<SLun> CInventory::lunsPresentedTo(const SHost& host)
{
    CQuery query(
        m_database,
        select("JOIN presentation ON presentation.lun_id = lun.id WHERE host_id = ? ORDER BY lun.name").c_str(),
        host.id);
    return readRows(query, readLun);
}

int64_t CInventory::insertLun(const SAppliance& appliance, const SGroup& group, const SLun& lun)
{
    checkName(EObject::LUN, lun.name);
    checkIsNew(EObject::LUN, "lun", appliance, lun.name);
    CQuery(m_database, "INSERT INTO lun (appliance_id, cgroup_id, name, serial, size) VALUES (?, ?, ?, ?, ?)",
           appliance.id, group.id, lun.name, lun.serial, lun.size)
        .run();
    return m_database.lastId();
}

void CInventory::removeLun(const SLun& lun)
{
    CQuery holder(m_database,
                  "SELECT annotation.name, cgroup.name FROM annotation_lun "
                  "JOIN annotation ON annotation.id = annotation_id JOIN cgroup ON cgroup.id = cgroup_id "
                  "WHERE lun_id = ? ORDER BY annotation.name",
                  lun.id);
    if (holder.next()) {
        throw EApplianceError(EStatus::IN_USE,
                              "LUN " + inQuotes(lun.name) + " is in use by annotation " + inQuotes(holder.text(0)) +
                                  " in group " + inQuotes(holder.text(1)),
                              EObject::LUN);
    }
    CQuery(m_database, "DELETE FROM presentation WHERE lun_id = ?", lun.id).run();
    CQuery(m_database, "DELETE FROM lun WHERE id = ?", lun.id).run();
}

void CInventory::present(const SAppliance& appliance, const std::string& lunName, const std::string& hostName)
{
    CTransaction transaction(m_database, CTransaction::EKind::WRITE);
    const SLun shown = lun(appliance, lunName);
    const SHost viewer = host(appliance, hostName);
    CQuery(m_database, "INSERT OR IGNORE INTO presentation (lun_id, host_id) VALUES (?, ?)", shown.id, viewer.id).run();
    transaction.commit();
}

void CInventory::unpresent(const SAppliance& appliance, const std::string& lunName, const std::string& hostName)
{
    CTransaction transaction(m_database, CTransaction::EKind::WRITE);
    const SLun shown = lun(appliance, lunName);
    const SHost viewer = host(appliance, hostName);
    CQuery(m_database, "DELETE FROM presentation WHERE lun_id = ? AND host_id = ?", shown.id, viewer.id).run();
    if (m_database.changes() == 0) {
        throw EApplianceError(EStatus::MISSING,
                              "a presentation of LUN " + inQuotes(lunName) + " to host " + inQuotes(hostName) +
                                  " does not exist " + onAppliance(appliance),
                              EObject::PERMISSION);
    }
    transaction.commit();
}

}  // namespace lumora

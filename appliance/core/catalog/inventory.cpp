#include "appliance/core/catalog/inventory.h"

#include <array>
#include <ctime>
#include <filesystem>
#include <set>
#include <system_error>

#include "appliance/core/conventions/error.h"
#include "appliance/core/conventions/names.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/range_lock.h"
#include "appliance/core/store/work_folder.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

constexpr const char* GROUP_COLUMNS =
    "SELECT id, name, (SELECT count(*) FROM lun WHERE cgroup_id = cgroup.id), "
    "(SELECT count(*) FROM annotation WHERE cgroup_id = cgroup.id), "
    "(SELECT count(*) FROM time_image WHERE cgroup_id = cgroup.id) FROM cgroup WHERE appliance_id = ? ";

SGroup readGroup(const CQuery& query)
{
    return {query.integer(0), query.text(1), query.integer(2), query.integer(3), query.integer(4)};
}

SAppliance readAppliance(const CQuery& query)
{
    return {query.integer(0), query.text(1), query.text(2), query.text(3)};
}

SHost readHost(const CQuery& query)
{
    return {query.integer(0), query.text(1)};
}

[[noreturn]] void throwInUse(EObject object, const std::string& name, const std::string& why)
{
    throw EApplianceError(EStatus::IN_USE, std::string(objectWord(object)) + " " + inQuotes(name) + " " + why, object);
}

bool isApplianceName(const std::string& name)
{
    try {
        checkName(EObject::APPLIANCE, name);
        return true;
    } catch (const EApplianceError&) {
        return false;
    }
}

const std::set<std::string> PARTS = {"annotations", "ceph", "dev",     "gate", "images",
                                     "owners",      "qsd",  "volumes", "work"};

// Whether a folder may be an appliance's, by its name and by all that it holds: nothing of somebody else's is removed.
bool isApplianceFolder(const fs::path& folder)
{
    if (!isApplianceName(folder.filename().string())) return false;
    std::error_code error;
    if (!fs::is_directory(fs::symlink_status(folder, error))) return false;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (PARTS.count(entry->path().filename().string()) == 0) return false;
    }
    return !error;
}

// The engines that have, or had, something of an appliance.
std::vector<std::string> enginesOf(const fs::path& folder)
{
    std::vector<std::string> engines;
    for (const SEngineKind& kind : engineKinds()) {
        if (isThere(folder / kind.name)) engines.emplace_back(kind.name);
    }
    return engines;
}

}  // namespace

std::string deviceName(const std::string& lun)
{
    return "/dev/lumora/" + lun;
}

std::string imageDeviceName(int64_t image, const std::string& lun)
{
    return "/dev/lumora/ti" + std::to_string(image) + "_" + lun;
}

std::string newSerial()
{
    uint64_t number = randomNumber();
    std::string serial = "LM";
    for (int digit = 0; digit < 14; ++digit, number >>= 4U) {
        serial += "0123456789ABCDEF"[number & 0x0FU];
    }
    return serial;
}

std::string timeStamp()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    ::gmtime_r(&now, &parts);
    std::array<char, 32> text = {};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string onAppliance(const SAppliance& appliance)
{
    return "on appliance " + inQuotes(appliance.name);
}

std::string inGroup(const SGroup& group)
{
    return "in group " + inQuotes(group.name);
}

bool CInventory::any(const char* sql, int64_t id)
{
    return CQuery(m_database, sql, id).next();
}

SAppliance CInventory::appliance(std::string_view name)
{
    CQuery query(m_database, "SELECT id, name, created, engine FROM appliance WHERE name = ?", name);
    if (!query.next()) throwMissing(EObject::APPLIANCE, name, "");
    return readAppliance(query);
}

std::vector<SAppliance> CInventory::appliances()
{
    return readRows(CQuery(m_database, "SELECT id, name, created, engine FROM appliance ORDER BY name"), readAppliance);
}

void CInventory::createAppliance(const std::string& name, const std::string& engine)
{
    checkName(EObject::APPLIANCE, name);
    checkEngineIsShared(m_store.engineSetup(), engine);
    const base::CFileDescriptor alone = lockByte(m_store.layout().createLock(), 0);
    collectFolders();
    CTransaction transaction(m_database, CTransaction::EKind::WRITE);
    if (isListed(name)) throwExists(EObject::APPLIANCE, name, "");
    const fs::path folder = m_store.layout().appliance(name);
    makeAreas(folder);
    m_store.makeEngine(name, engine)->prepare();
    syncFolder(folder);
    syncFolder(folder.parent_path());
    CQuery(m_database, "INSERT INTO appliance (name, created, engine) VALUES (?, ?, ?)", name, timeStamp(), engine)
        .run();
    transaction.commit();
}

void CInventory::setEngine(const SAppliance& appliance, const std::string& engine)
{
    CQuery(m_database, "UPDATE appliance SET engine = ? WHERE id = ?", engine, appliance.id).run();
}

void CInventory::deleteAppliance(const std::string& name)
{
    // Nobody makes the appliance anew before its folder is gone.
    const base::CFileDescriptor alone = lockByte(m_store.layout().createLock(), 0);
    SAppliance found;
    {
        CTransaction transaction(m_database, CTransaction::EKind::WRITE);
        found = appliance(name);
        if (any("SELECT 1 FROM cgroup WHERE appliance_id = ?", found.id)) {
            throwInUse(EObject::APPLIANCE, name, "still has groups");
        }
        if (any("SELECT 1 FROM host WHERE appliance_id = ?", found.id)) {
            throwInUse(EObject::APPLIANCE, name, "still has hosts");
        }
        CQuery(m_database, "DELETE FROM appliance WHERE id = ?", found.id).run();
        transaction.commit();
    }
    tidyUp([&] {
        const auto engine = m_store.makeEngine(name, found.engine);
        engine->stop();
        engine->remove();
        collectFolders();
    });
}

bool CInventory::isListed(const std::string& name)
{
    return CQuery(m_database, "SELECT 1 FROM appliance WHERE name = ?", name).next();
}

void CInventory::collectFolders()
{
    std::vector<fs::path> unlisted;
    std::error_code error;
    for (fs::directory_iterator entry(m_store.layout().base(), error), end; !error && entry != end;
         entry.increment(error)) {
        if (!isListed(entry->path().filename().string()) && isApplianceFolder(entry->path())) {
            unlisted.push_back(entry->path());
        }
    }
    if (unlisted.empty()) return;
    m_database.settle();
    for (const fs::path& folder : unlisted) {
        const std::string name = folder.filename().string();
        if (isListed(name)) continue;
        for (const std::string& kind : enginesOf(folder)) {
            const auto engine = m_store.makeEngine(name, kind);
            engine->stop();
            engine->remove();
        }
        std::error_code ignored;  // the next one tries again
        fs::remove_all(folder, ignored);
    }
}

void CInventory::checkIsNew(EObject object, const char* table, const SAppliance& appliance, const std::string& name)
{
    const std::string sql = std::string("SELECT 1 FROM ") + table + " WHERE appliance_id = ? AND name = ?";
    if (CQuery(m_database, sql.c_str(), appliance.id, name).next()) throwExists(object, name, onAppliance(appliance));
    if (object == EObject::HOST) checkIsNoCasePair(appliance, name);
}

// Hosts go by their names in the network, where case does not count: of two such hosts neither would know which it is.
void CInventory::checkIsNoCasePair(const SAppliance& appliance, const std::string& name)
{
    CQuery query(m_database, "SELECT id, name FROM host WHERE appliance_id = ? AND name = ? COLLATE NOCASE",
                 appliance.id, name);
    if (!query.next()) return;
    throw EApplianceError(EStatus::EXISTS,
                          "host " + inQuotes(name) + " differs from host " + inQuotes(readHost(query).name) + " " +
                              onAppliance(appliance) + " by case alone",
                          EObject::HOST);
}

void CInventory::createNamed(EObject object, const char* table, const SAppliance& appliance, const std::string& name)
{
    checkName(object, name);
    CTransaction transaction(m_database, CTransaction::EKind::WRITE);
    checkIsNew(object, table, appliance, name);
    const std::string sql = std::string("INSERT INTO ") + table + " (appliance_id, name) VALUES (?, ?)";
    CQuery(m_database, sql.c_str(), appliance.id, name).run();
    transaction.commit();
}

SHost CInventory::host(const SAppliance& appliance, std::string_view name)
{
    CQuery query(m_database, "SELECT id, name FROM host WHERE appliance_id = ? AND name = ?", appliance.id, name);
    if (!query.next()) throwMissing(EObject::HOST, name, onAppliance(appliance));
    return readHost(query);
}

std::vector<SHost> CInventory::hosts(const SAppliance& appliance)
{
    return readRows(CQuery(m_database, "SELECT id, name FROM host WHERE appliance_id = ? ORDER BY name", appliance.id),
                    readHost);
}

void CInventory::createHost(const SAppliance& appliance, const std::string& name)
{
    createNamed(EObject::HOST, "host", appliance, name);
}

void CInventory::deleteHost(const SAppliance& appliance, const std::string& name)
{
    CTransaction transaction(m_database, CTransaction::EKind::WRITE);
    const SHost found = host(appliance, name);
    if (any("SELECT 1 FROM presentation WHERE host_id = ?", found.id)) {
        throwInUse(EObject::HOST, name, "still has LUNs presented to it");
    }
    if (any("SELECT 1 FROM group_grant WHERE host_id = ?1 UNION SELECT 1 FROM time_image_grant WHERE host_id = ?1",
            found.id)) {
        throwInUse(EObject::HOST, name, "still has permission for groups or time images");
    }
    CQuery(m_database, "DELETE FROM host WHERE id = ?", found.id).run();
    transaction.commit();
}

SGroup CInventory::group(const SAppliance& appliance, std::string_view name)
{
    CQuery query(m_database, (std::string(GROUP_COLUMNS) + "AND name = ?").c_str(), appliance.id, name);
    if (!query.next()) throwMissing(EObject::GROUP, name, onAppliance(appliance));
    return readGroup(query);
}

std::vector<SGroup> CInventory::groups(const SAppliance& appliance)
{
    return readRows(CQuery(m_database, (std::string(GROUP_COLUMNS) + "ORDER BY name").c_str(), appliance.id),
                    readGroup);
}

void CInventory::createGroup(const SAppliance& appliance, const std::string& name)
{
    createNamed(EObject::GROUP, "cgroup", appliance, name);
}

void CInventory::deleteGroup(const SAppliance& appliance, const std::string& name)
{
    CTransaction transaction(m_database, CTransaction::EKind::WRITE);
    const SGroup found = group(appliance, name);
    if (found.luns + found.annotations + found.timeImages != 0) {
        throwInUse(EObject::GROUP, name,
                   "still has " + std::to_string(found.luns) + " LUNs, " + std::to_string(found.annotations) +
                       " annotations and " + std::to_string(found.timeImages) + " time images");
    }
    CQuery(m_database, "DELETE FROM group_grant WHERE cgroup_id = ?", found.id).run();
    CQuery(m_database, "DELETE FROM cgroup WHERE id = ?", found.id).run();
    transaction.commit();
    tidyUp([&] { collectGates(appliance); });
}

void CInventory::collectGates(const SAppliance& appliance)
{
    // Groups never get the number of one that is gone.
    std::error_code error;
    const fs::path gates = m_store.layout().gate(appliance.name, 0).parent_path();
    for (fs::directory_iterator entry(gates, error), end; !error && entry != end; entry.increment(error)) {
        const std::string number = entry->path().filename().string();
        std::error_code ignored;  // the next one tries again
        if (!CQuery(m_database, "SELECT 1 FROM cgroup WHERE id = ?", number).next()) fs::remove(entry->path(), ignored);
    }
}

}  // namespace lumora

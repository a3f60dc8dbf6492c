#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "appliance/core/conventions/error.h"
#include "appliance/core/store/store.h"

namespace lumora {

struct SAppliance
{
    int64_t id = 0;
    std::string name;
    std::string created;  ///< UTC, "2026-01-31T12:00:00Z"
    std::string engine;   ///< that keeps its content
};

struct SHost
{
    int64_t id = 0;
    std::string name;
};

struct SGroup
{
    int64_t id = 0;
    std::string name;
    int64_t luns = 0;  ///< counts
    int64_t annotations = 0;
    int64_t timeImages = 0;
};

struct SLun
{
    int64_t id = 0;
    std::string name;
    std::string serial;
    uint64_t size = 0;  ///< bytes
    std::string group;
    int64_t groupId = 0;
};

/// Names that the appliance shows for devices: free of the marks that its listings use.
std::string deviceName(const std::string& lun);
std::string imageDeviceName(int64_t image, const std::string& lun);

/// A new serial of a LUN: "LM" and 14 hexadecimal digits.
std::string newSerial();

/// Now, in UTC, to the second.
std::string timeStamp();

/// Appliances, hosts, groups and LUNs of a store. Look-ups by name throw status missing. Changes run inside a
/// transaction of the caller where they are one step of several, and make one of their own where said. Lists are in
/// name order.
class CInventory
{
  public:
    explicit CInventory(CStore& store) : m_store(store), m_database(store.database()) {}

    SAppliance appliance(std::string_view name);
    std::vector<SAppliance> appliances();
    /// Checks the name, makes the folders and lets the engine prepare them; status exists when it is there. Own
    /// transaction.
    void createAppliance(const std::string& name, const std::string& engine);
    /// Only the row; the caller has put the data in place.
    void setEngine(const SAppliance& appliance, const std::string& engine);
    /// Status in use while it has groups or hosts. Own transaction.
    void deleteAppliance(const std::string& name);

    SHost host(const SAppliance& appliance, std::string_view name);
    std::vector<SHost> hosts(const SAppliance& appliance);
    void createHost(const SAppliance& appliance, const std::string& name);  ///< own transaction
    /// Status in use while a LUN is presented or a group or time image is granted to it. Own transaction.
    void deleteHost(const SAppliance& appliance, const std::string& name);

    SGroup group(const SAppliance& appliance, std::string_view name);
    std::vector<SGroup> groups(const SAppliance& appliance);
    void createGroup(const SAppliance& appliance, const std::string& name);  ///< own transaction
    /// Status in use while it has LUNs, annotations or time images. Own transaction.
    void deleteGroup(const SAppliance& appliance, const std::string& name);

    SLun lun(const SAppliance& appliance, std::string_view name);
    std::vector<SLun> luns(const SAppliance& appliance);
    std::vector<SLun> luns(const SGroup& group);
    std::vector<SLun> lunsPresentedTo(const SHost& host);
    /// Only the row, whose number it returns; the caller puts the data in place. Status exists, or malformed for a bad
    /// name.
    int64_t insertLun(const SAppliance& appliance, const SGroup& group, const SLun& lun);
    /// Only the row, with its presentations. Status in use while an annotation holds content of it.
    void removeLun(const SLun& lun);
    /// Presenting twice is fine; taking back what was not given is status missing. Own transaction.
    void present(const SAppliance& appliance, const std::string& lun, const std::string& host);
    void unpresent(const SAppliance& appliance, const std::string& lun, const std::string& host);

  private:
    bool isListed(const std::string& appliance);
    // What commands that were disturbed, or had their effect only just, left of appliances and groups that are gone.
    // The first in the hands of whoever is alone in making and removing appliances.
    void collectFolders();
    void collectGates(const SAppliance& appliance);
    bool any(const char* sql, int64_t id);
    // The rows of hosts, groups and LUNs have a name that is unique on their appliance.
    void checkIsNew(EObject object, const char* table, const SAppliance& appliance, const std::string& name);
    void checkIsNoCasePair(const SAppliance& appliance, const std::string& name);
    void createNamed(EObject object, const char* table, const SAppliance& appliance, const std::string& name);

    CStore& m_store;
    CDatabase& m_database;
};

/// "on appliance "a"", "in group "g"": the tails of messages.
std::string onAppliance(const SAppliance& appliance);
std::string inGroup(const SGroup& group);

}  // namespace lumora

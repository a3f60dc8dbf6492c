#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "appliance/core/engines/engine.h"
#include "appliance/core/store/store.h"

namespace lumora {

/// One disk as a host sees it.
struct SDisk
{
    SDevice device;
    std::string serial;
    std::string appliance;
    std::string engine;  ///< of the appliance
};

struct SDiscovery
{
    size_t total = 0;  ///< disks the host has now
};

/// The disks of a host, over all appliances of the store that know its name, in path order. LUNs presented to the host
/// are always among them; a time image's LUNs are while the host is granted the image (or its group) and has
/// discovered since.
class CDiskTable
{
  public:
    explicit CDiskTable(CStore& store) : m_store(store) {}

    /// False when no appliance knows the host.
    bool isHostKnown(const std::string& host);
    /// Attaches what was granted since the last time, and what is attached no more. Detaches what was deleted by
    /// another machine.
    SDiscovery discover(const std::string& host);
    /// Those that can be used at their paths now.
    std::vector<SDisk> disks(const std::string& host);

  private:
    std::vector<SDisk> listedDisks(const std::string& host);
    void detachUnlisted(const std::string& host);
    bool isListed(const SDevice& device);
    CBaseStorageEngine& engineOf(const std::string& appliance, const std::string& kind);

    CStore& m_store;
    std::map<std::string, std::unique_ptr<CBaseStorageEngine>> m_engines;  // by appliance
};

}  // namespace lumora

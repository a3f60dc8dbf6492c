#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "appliance/core/engines/engine.h"
#include "appliance/core/store/store.h"

namespace lumora {

/// One disk as a host sees it.
struct SDisk
{
    std::filesystem::path path;  ///< holds "/dev/"
    std::string serial;
    uint64_t size = 0;  ///< bytes
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
    CDiskTable(CStore& store, const CBaseStorageEngine& engine) : m_store(store), m_engine(engine) {}

    /// False when no appliance knows the host.
    bool isHostKnown(const std::string& host);
    SDiscovery discover(const std::string& host);
    std::vector<SDisk> disks(const std::string& host);

  private:
    CStore& m_store;
    const CBaseStorageEngine& m_engine;
};

}  // namespace lumora

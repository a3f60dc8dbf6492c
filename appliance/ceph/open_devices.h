#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "appliance/core/engines/engine.h"

namespace lumora {

/// What the storage daemon of an appliance has open on this machine.
struct SOpenDevice
{
    std::string name;            ///< of its node and export
    std::string image;           ///< of the cluster
    std::string client;          ///< of the cluster, within the daemon; empty where it is not known
    int64_t volume = 0;          ///< number of the LUN
    std::string timeImage;       ///< its id; empty for the LUN itself
    std::filesystem::path path;  ///< where the host sees it
};

/// The list of them, a file each: who starts the daemon anew opens these again. In the hands of whoever has the
/// daemon's lock.
class COpenDevices
{
  public:
    explicit COpenDevices(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    void add(const SOpenDevice& device) const;
    void remove(const SOpenDevice& device) const;
    std::vector<SOpenDevice> list() const;

  private:
    const std::filesystem::path m_folder;
};

}  // namespace lumora

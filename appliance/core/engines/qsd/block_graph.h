#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "appliance/core/engines/daemon/daemon_engine.h"
#include "appliance/core/engines/qsd/layer_table.h"

namespace lumora {

/// Names and files of what a storage daemon has open for an appliance, and the commands that change it.
///
///   volumes/<volume>.<file>     a layer, qcow2 with the next lower one as its backing file; node "v<volume>.<file>"
///   images/<image>/<volume>     a time image's volume, qcow2 on top of a layer; node "i<image>.<volume>"
///
/// What is exported goes by "v<volume>" and "i<image>.<volume>".
class CBlockGraph
{
  public:
    /// `appliance` is its folder.
    CBlockGraph(CQmpClient& monitor, std::filesystem::path appliance)
        : m_monitor(monitor), m_appliance(std::move(appliance))
    {
    }

    static std::filesystem::path layerFile(const std::filesystem::path& appliance, int64_t volume, int64_t file);
    static std::filesystem::path imageFile(const std::filesystem::path& appliance, const SLayeredImage& image);
    static std::string exportName(int64_t volume);
    static std::string exportName(const SLayeredImage& image);
    static std::string exportName(const SDevice& device);

    /// Opens all layers of a volume, each by its file, and exports the active one.
    void openVolume(const SLayeredVolume& volume);
    /// Opens an image on top of the layer's file, which its volume has open, and exports it.
    void openImage(const SLayeredImage& image, int64_t layerFile);
    /// Fine when it is not open.
    void closeVolume(const SLayeredVolume& volume);
    void closeImage(const SLayeredImage& image);
    /// At one instant, begins the intended layer of each volume.
    void beginLayers(const std::vector<SLayeredVolume>& volumes);
    /// Merges the layer into the file of the one below, and waits until it is done. Whatever stands on the layer stands
    /// on that file then.
    void merge(const SLayeredVolume& volume, const SLayer& below, const SLayer& merged);

  private:
    CQmpClient::Json chainOf(const SLayeredVolume& volume) const;

    CQmpClient& m_monitor;
    const std::filesystem::path m_appliance;
};

}  // namespace lumora

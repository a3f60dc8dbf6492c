#pragma once

#include <functional>
#include <string>
#include <vector>

#include "appliance/core/engines/daemon/daemon_engine.h"
#include "appliance/core/engines/qsd/block_graph.h"
#include "appliance/core/engines/qsd/layer_table.h"

namespace lumora {

/// Content as qcow2 layers behind a storage daemon, which fixes all LUNs of a group at one instant for any writer. What
/// a host sees is an export of the daemon.
///
/// The catalog says which layers there are before the daemon is told (CLayerTable); whoever finds the daemon dead, or
/// unfinished, starts it anew and brings every volume to what the catalog says. Layers that no content and no image
/// shows are merged as soon as the content is dropped.
class CQsdEngine : public CBaseDaemonEngine
{
  public:
    /// `store` is the root of the store, `home` the appliance's folder in it, `catalog` the store's database, which
    /// outlives the engine. Status unusable for RBD.
    CQsdEngine(std::filesystem::path store, std::filesystem::path home, EAttach attach, base::CSqliteDatabase& catalog,
               const SHostKernel& kernel = {});

    void prepare() override;
    void makeData(const SVolume& volume, const std::optional<std::filesystem::path>& file,
                  const std::filesystem::path& work) override;
    void publishData(const SVolume& volume, const std::filesystem::path& work) override;
    void dropData(const SVolume& volume) override;
    bool hasStrayData(const CListedVolumes& listed) override;
    void dropStrayData(const CListedVolumes& listed) override;
    void fixContent(const std::vector<SVolume>& volumes, const std::filesystem::path& gate,
                    const std::filesystem::path& content) override;
    void makeImage(const std::vector<SVolume>& volumes, const std::filesystem::path& content,
                   const std::filesystem::path& image) override;
    void dropContent(const std::filesystem::path& content) override;
    void dropImage(const std::filesystem::path& image) override;

  private:
    void recover() override;
    void openAll(CQmpClient& monitor) override;
    void openDevice(CQmpClient& monitor, const SDevice& device) override;
    std::string exportName(const SDevice& device) const override { return CBlockGraph::exportName(device); }

    // All of these in the hands of whoever has the daemon's lock.
    void rollForward(const SLayeredVolume& volume);
    bool isBegun(const std::filesystem::path& file, const std::filesystem::path& below);
    void changeGraph(const std::function<void(CQmpClient& monitor, CBlockGraph& graph)>& step);
    void openMissing(CQmpClient& monitor, const std::vector<SVolume>& volumes);
    void beginLayers(CBlockGraph& graph, const std::string& content, const std::vector<SLayeredVolume>& volumes);
    void mergeUnneeded(int64_t volume);
    void removeVolume(int64_t id);

    std::vector<int64_t> strayVolumes(const std::vector<SVolume>& listed);
    std::vector<std::filesystem::path> strayFiles(const std::vector<SVolume>& listed);
    std::filesystem::path volumesFolder() const { return home() / "volumes"; }
    std::filesystem::path layerFile(int64_t volume, int64_t file) const
    {
        return CBlockGraph::layerFile(home(), volume, file);
    }

    CLayerTable m_table;
};

}  // namespace lumora

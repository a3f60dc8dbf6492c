#include "appliance/core/engines/qsd/block_graph.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

using Json = CQmpClient::Json;

std::string layerNode(int64_t volume, int64_t file)
{
    return "v" + std::to_string(volume) + "." + std::to_string(file);
}

std::string imageNode(const SLayeredImage& image)
{
    return "i" + image.image + "." + std::to_string(image.volume);
}

Json fileNode(const fs::path& file)
{
    return {{"driver", "file"}, {"filename", file.string()}};
}

}  // namespace

fs::path CBlockGraph::layerFile(const fs::path& appliance, int64_t volume, int64_t file)
{
    return appliance / "volumes" / (std::to_string(volume) + "." + std::to_string(file));
}

fs::path CBlockGraph::imageFile(const fs::path& appliance, const SLayeredImage& image)
{
    return appliance / "images" / image.image / std::to_string(image.volume);
}

std::string CBlockGraph::exportName(int64_t volume)
{
    return "v" + std::to_string(volume);
}

std::string CBlockGraph::exportName(const SLayeredImage& image)
{
    return imageNode(image);
}

std::string CBlockGraph::exportName(const SDevice& device)
{
    return device.image.empty() ? exportName(device.volume.id) : exportName({device.image, device.volume.id, 0});
}

// The format is always said: a layer that a crash cut short would be taken for raw data otherwise.
Json CBlockGraph::chainOf(const SLayeredVolume& volume) const
{
    Json node;
    for (const SLayer& layer : volume.layers) {
        Json above = {{"driver", "qcow2"},
                      {"node-name", layerNode(volume.id, layer.file)},
                      {"discard", "unmap"},
                      {"file", fileNode(layerFile(m_appliance, volume.id, layer.file))},
                      {"backing", std::move(node)}};
        node = std::move(above);
    }
    return node;
}

void CBlockGraph::openVolume(const SLayeredVolume& volume)
{
    m_monitor.execute("blockdev-add", chainOf(volume));
    addExport(m_monitor, exportName(volume.id), layerNode(volume.id, volume.active().file));
}

void CBlockGraph::openImage(const SLayeredImage& image, int64_t layerFile)
{
    m_monitor.execute("blockdev-add", {{"driver", "qcow2"},
                                       {"node-name", imageNode(image)},
                                       {"discard", "unmap"},
                                       {"file", fileNode(imageFile(m_appliance, image))},
                                       {"backing", layerNode(image.volume, layerFile)}});
    addExport(m_monitor, exportName(image), imageNode(image));
}

void CBlockGraph::closeVolume(const SLayeredVolume& volume)
{
    closeExport(m_monitor, exportName(volume.id), layerNode(volume.id, volume.active().file));
}

void CBlockGraph::closeImage(const SLayeredImage& image)
{
    closeExport(m_monitor, exportName(image), imageNode(image));
}

void CBlockGraph::beginLayers(const std::vector<SLayeredVolume>& volumes)
{
    Json actions = Json::array();
    for (const SLayeredVolume& volume : volumes) {
        actions.push_back({{"type", "blockdev-snapshot-sync"},
                           {"data",
                            {{"node-name", layerNode(volume.id, volume.active().file)},
                             {"snapshot-file", layerFile(m_appliance, volume.id, volume.intended).string()},
                             {"snapshot-node-name", layerNode(volume.id, volume.intended)},
                             {"format", "qcow2"}}}});
    }
    m_monitor.execute("transaction", {{"actions", actions}});
}

void CBlockGraph::merge(const SLayeredVolume& volume, const SLayer& below, const SLayer& merged)
{
    const std::string job = "merge-" + exportName(volume.id);
    m_monitor.execute("block-commit", {{"job-id", job},
                                       {"device", layerNode(volume.id, volume.active().file)},
                                       {"top-node", layerNode(volume.id, merged.file)},
                                       {"base-node", layerNode(volume.id, below.file)}});
    const Json ended =
        m_monitor.waitFor("BLOCK_JOB_COMPLETED", [&](const Json& data) { return data.value("device", "") == job; });
    if (ended.contains("error")) {
        throw EApplianceError(EStatus::STORAGE, "cannot merge layers of volume " + std::to_string(volume.id) + ": " +
                                                    ended.value("error", ""));
    }
}

}  // namespace lumora

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "appliance/core/engines/engine.h"
#include "base/sqlite.h"

namespace lumora {

/// A layer of a volume: what was written between two checkpoints, on top of the layers below. The view of a layer is
/// what the volume read as when the next one was begun.
struct SLayer
{
    int64_t number = 0;
    int64_t file = 0;  ///< that holds it; another number than its own once a layer below was merged with it
};

/// A volume with its layers, from the lowest to the one that is written to.
struct SLayeredVolume
{
    int64_t id = 0;
    std::vector<SLayer> layers;
    int64_t intended = 0;  ///< number of the layer that is being begun; 0 for none

    const SLayer& active() const { return layers.back(); }
};

/// A time image's volume, and the layer whose view it began with.
struct SLayeredImage
{
    std::string image;  ///< id of the time image
    int64_t volume = 0;
    int64_t layer = 0;
};

/// Layers, and who needs their views, in tables of the store's catalog. Only rows: the caller holds the lock of the
/// appliance's daemon and a transaction where one is needed, or has them made here where said.
class CLayerTable
{
  public:
    /// `appliance` is its name.
    CLayerTable(base::CSqliteDatabase& catalog, std::string appliance)
        : m_catalog(catalog), m_appliance(std::move(appliance))
    {
    }

    /// Makes the tables where the catalog has none yet.
    void prepare();

    std::vector<SLayeredVolume> volumes();
    SLayeredVolume volume(int64_t id);  ///< status missing when there is none
    void insertVolume(int64_t id);      ///< with layer 0 in file 0
    void removeVolume(int64_t id);

    /// Before layers are begun: the active layer of each volume is what the content shows. Returns the volumes with
    /// what is intended. Own transaction.
    std::vector<SLayeredVolume> intend(const std::string& content, const std::vector<SVolume>& volumes);
    /// The layers were begun, in files of their numbers. Own transaction.
    void fulfil(const std::vector<SLayeredVolume>& volumes);
    /// They were not, and the content is none. Own transaction.
    void takeBack(const std::string& content, const std::vector<SLayeredVolume>& volumes);
    /// The layer was merged into the file of the one below it, which is no more. Own transaction.
    void noteMerge(int64_t volume, const SLayer& below, const SLayer& merged);

    /// The layers by volume that show fixed content; empty for content that is unknown.
    std::map<int64_t, int64_t> content(const std::string& id);
    void removeContent(const std::string& id);  ///< own transaction
    std::vector<SLayeredImage> images();
    std::vector<SLayeredImage> image(const std::string& id);
    void insertImage(const std::vector<SLayeredImage>& image);  ///< own transaction
    void removeImage(const std::string& id);                    ///< own transaction
    /// Whether content or an image shows the view of the layer.
    bool isNeeded(int64_t volume, int64_t layer);

  private:
    base::CSqliteDatabase& m_catalog;
    const std::string m_appliance;
};

}  // namespace lumora

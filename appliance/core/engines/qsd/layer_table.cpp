#include "appliance/core/engines/qsd/layer_table.h"

#include "appliance/core/conventions/error.h"

namespace lumora {

namespace {

using CQuery = base::CSqliteQuery;
using CTransaction = base::CSqliteTransaction;

// Numbers of volumes are those of LUNs, which the store gives only once.
constexpr const char* TABLES = R"sql(
CREATE TABLE IF NOT EXISTS qsd_volume (id INTEGER PRIMARY KEY, appliance TEXT NOT NULL, intended INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS qsd_layer (volume INTEGER NOT NULL REFERENCES qsd_volume(id) ON DELETE CASCADE,
  number INTEGER NOT NULL, file INTEGER NOT NULL, PRIMARY KEY (volume, number)) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS qsd_content (content TEXT NOT NULL,
  volume INTEGER NOT NULL REFERENCES qsd_volume(id) ON DELETE CASCADE, layer INTEGER NOT NULL,
  PRIMARY KEY (content, volume)) WITHOUT ROWID;
CREATE INDEX IF NOT EXISTS qsd_content_layer ON qsd_content(volume, layer);
CREATE TABLE IF NOT EXISTS qsd_image (image TEXT NOT NULL,
  volume INTEGER NOT NULL REFERENCES qsd_volume(id) ON DELETE CASCADE, layer INTEGER NOT NULL,
  PRIMARY KEY (image, volume)) WITHOUT ROWID;
CREATE INDEX IF NOT EXISTS qsd_image_layer ON qsd_image(volume, layer);
)sql";

std::vector<SLayeredVolume> readVolumes(CQuery&& query)
{
    std::vector<SLayeredVolume> volumes;
    while (query.next()) {
        if (volumes.empty() || volumes.back().id != query.integer(0)) {
            volumes.push_back({query.integer(0), {}, query.integer(1)});
        }
        volumes.back().layers.push_back({query.integer(2), query.integer(3)});
    }
    return volumes;
}

std::vector<SLayeredImage> readImages(CQuery&& query)
{
    std::vector<SLayeredImage> images;
    while (query.next()) {
        images.push_back({query.text(0), query.integer(1), query.integer(2)});
    }
    return images;
}

}  // namespace

void CLayerTable::prepare()
{
    m_catalog.execute(TABLES);
}

std::vector<SLayeredVolume> CLayerTable::volumes()
{
    return readVolumes(CQuery(m_catalog,
                              "SELECT id, intended, number, file FROM qsd_volume JOIN qsd_layer ON volume = id "
                              "WHERE appliance = ? ORDER BY id, number",
                              m_appliance));
}

SLayeredVolume CLayerTable::volume(int64_t id)
{
    const std::vector<SLayeredVolume> found =
        readVolumes(CQuery(m_catalog,
                           "SELECT id, intended, number, file FROM qsd_volume JOIN qsd_layer ON volume = id "
                           "WHERE appliance = ? AND id = ? ORDER BY number",
                           m_appliance, id));
    if (found.empty()) {
        throw EApplianceError(EStatus::MISSING, "LUN number " + std::to_string(id) + " has no layers", EObject::LUN);
    }
    return found.front();
}

void CLayerTable::insertVolume(int64_t id)
{
    CQuery(m_catalog, "INSERT INTO qsd_volume (id, appliance, intended) VALUES (?, ?, 0)", id, m_appliance).run();
    CQuery(m_catalog, "INSERT INTO qsd_layer (volume, number, file) VALUES (?, 0, 0)", id).run();
}

void CLayerTable::removeVolume(int64_t id)
{
    CQuery(m_catalog, "DELETE FROM qsd_volume WHERE id = ?", id).run();
}

std::vector<SLayeredVolume> CLayerTable::intend(const std::string& content, const std::vector<SVolume>& volumes)
{
    std::vector<SLayeredVolume> intended;
    CTransaction transaction(m_catalog, CTransaction::EKind::WRITE);
    for (const SVolume& each : volumes) {
        intended.push_back(volume(each.id));
        SLayeredVolume& begun = intended.back();
        begun.intended = begun.active().number + 1;
        CQuery(m_catalog, "INSERT INTO qsd_content (content, volume, layer) VALUES (?, ?, ?)", content, begun.id,
               begun.active().number)
            .run();
        CQuery(m_catalog, "UPDATE qsd_volume SET intended = ? WHERE id = ?", begun.intended, begun.id).run();
    }
    transaction.commit();
    return intended;
}

void CLayerTable::fulfil(const std::vector<SLayeredVolume>& volumes)
{
    CTransaction transaction(m_catalog, CTransaction::EKind::WRITE);
    for (const SLayeredVolume& each : volumes) {
        CQuery(m_catalog, "INSERT INTO qsd_layer (volume, number, file) VALUES (?1, ?2, ?2)", each.id, each.intended)
            .run();
        CQuery(m_catalog, "UPDATE qsd_volume SET intended = 0 WHERE id = ?", each.id).run();
    }
    transaction.commit();
}

void CLayerTable::takeBack(const std::string& content, const std::vector<SLayeredVolume>& volumes)
{
    CTransaction transaction(m_catalog, CTransaction::EKind::WRITE);
    for (const SLayeredVolume& each : volumes) {
        CQuery(m_catalog, "DELETE FROM qsd_content WHERE content = ? AND volume = ?", content, each.id).run();
        CQuery(m_catalog, "UPDATE qsd_volume SET intended = 0 WHERE id = ?", each.id).run();
    }
    transaction.commit();
}

void CLayerTable::noteMerge(int64_t volume, const SLayer& below, const SLayer& merged)
{
    CTransaction transaction(m_catalog, CTransaction::EKind::WRITE);
    CQuery(m_catalog, "DELETE FROM qsd_layer WHERE volume = ? AND number = ?", volume, below.number).run();
    CQuery(m_catalog, "UPDATE qsd_layer SET file = ? WHERE volume = ? AND number = ?", below.file, volume,
           merged.number)
        .run();
    transaction.commit();
}

std::map<int64_t, int64_t> CLayerTable::content(const std::string& id)
{
    std::map<int64_t, int64_t> layers;
    CQuery query(m_catalog, "SELECT volume, layer FROM qsd_content WHERE content = ?", id);
    while (query.next()) {
        layers.emplace(query.integer(0), query.integer(1));
    }
    return layers;
}

void CLayerTable::removeContent(const std::string& id)
{
    CTransaction transaction(m_catalog, CTransaction::EKind::WRITE);
    CQuery(m_catalog, "DELETE FROM qsd_content WHERE content = ?", id).run();
    transaction.commit();
}

std::vector<SLayeredImage> CLayerTable::images()
{
    return readImages(CQuery(m_catalog,
                             "SELECT image, volume, layer FROM qsd_image JOIN qsd_volume ON id = volume "
                             "WHERE appliance = ? ORDER BY image, volume",
                             m_appliance));
}

std::vector<SLayeredImage> CLayerTable::image(const std::string& id)
{
    return readImages(
        CQuery(m_catalog, "SELECT image, volume, layer FROM qsd_image WHERE image = ? ORDER BY volume", id));
}

void CLayerTable::insertImage(const std::vector<SLayeredImage>& image)
{
    CTransaction transaction(m_catalog, CTransaction::EKind::WRITE);
    for (const SLayeredImage& each : image) {
        CQuery(m_catalog, "INSERT INTO qsd_image (image, volume, layer) VALUES (?, ?, ?)", each.image, each.volume,
               each.layer)
            .run();
    }
    transaction.commit();
}

void CLayerTable::removeImage(const std::string& id)
{
    CTransaction transaction(m_catalog, CTransaction::EKind::WRITE);
    CQuery(m_catalog, "DELETE FROM qsd_image WHERE image = ?", id).run();
    transaction.commit();
}

bool CLayerTable::isNeeded(int64_t volume, int64_t layer)
{
    return CQuery(m_catalog,
                  "SELECT 1 FROM qsd_content WHERE volume = ?1 AND layer = ?2 "
                  "UNION ALL SELECT 1 FROM qsd_image WHERE volume = ?1 AND layer = ?2",
                  volume, layer)
        .next();
}

}  // namespace lumora

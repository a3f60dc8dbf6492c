#include "appliance/core/engines/qsd/qsd_engine.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <set>
#include <system_error>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/daemon/programs.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/gate.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

using Json = CQmpClient::Json;

constexpr std::chrono::minutes PATIENCE{1};
constexpr std::chrono::hours COPY_PATIENCE{24};
constexpr int TRIES = 3;
constexpr uint64_t SECTOR = 512;
constexpr const char* BASE = "base";  // file of a LUN that is being made

void syncNewFile(const fs::path& file)
{
    syncFile(openFile(file, O_RDONLY).get(), file);
    syncFolder(file.parent_path());
}

void removeFile(const fs::path& file)
{
    if (::unlink(file.c_str()) != 0 && errno != ENOENT) throwStorage("remove", file.string(), errno);
}

// A layer without content on top of another file.
void makeOverlay(const fs::path& file, const fs::path& below, const fs::path& log)
{
    removeFile(file);
    runProgram({"qemu-img", "create", "-q", "-f", "qcow2", "-F", "qcow2", "-b", below.string(), file.string()}, log,
               PATIENCE);
    syncNewFile(file);
}

int64_t fileOf(const SLayeredVolume& volume, int64_t number)
{
    for (const SLayer& layer : volume.layers) {
        if (layer.number == number) return layer.file;
    }
    throw EApplianceError(EStatus::UNUSABLE, "volume " + std::to_string(volume.id) + " has no layer " +
                                                 std::to_string(number) + " any more");
}

}  // namespace

CQsdEngine::CQsdEngine(fs::path store, fs::path home, EAttach attach, base::CSqliteDatabase& catalog,
                       const SHostKernel& kernel)
    : CBaseDaemonEngine(std::move(store), home, "qsd", attach, kernel), m_table(catalog, home.filename().string())
{
    refuseRbd("qsd", attach);
}

void CQsdEngine::prepare()
{
    prepareDaemon();
    makeFolder(volumesFolder());
    m_table.prepare();
}

void CQsdEngine::recover()
{
    for (const SLayeredVolume& volume : m_table.volumes()) {
        if (volume.intended != 0) rollForward(volume);
    }
}

// The daemon may have begun the layer and taken writes to it, or not have got so far: then the layer is begun now.
// Either way the view of the layer below stays what it was when the daemon was told.
void CQsdEngine::rollForward(const SLayeredVolume& volume)
{
    const fs::path file = layerFile(volume.id, volume.intended);
    const fs::path below = layerFile(volume.id, volume.active().file);
    if (!isBegun(file, below)) makeOverlay(file, below, daemon().log());
    m_table.fulfil({volume});
}

// What cannot be told is an error: a layer that was begun may hold writes that were acknowledged.
bool CQsdEngine::isBegun(const fs::path& file, const fs::path& below)
{
    if (!isThere(file)) return false;
    const fs::path told = home() / "qsd/info";
    removeFile(told);
    try {
        runProgram({"qemu-img", "info", "-f", "qcow2", "--output=json", file.string()}, told, PATIENCE);
    } catch (const EApplianceError& error) {
        if (std::string(error.what()).find("Image is not in qcow2 format") != std::string::npos) return false;
        throw;
    }
    const Json info = Json::parse(readSmallFile(told, size_t{1} << 20U), nullptr, false);
    const std::string backing = info.is_object() ? info.value("backing-filename", "") : "unknown";
    if (backing.empty()) return false;  // it gets its backing file last, before it takes writes
    if (fs::path(backing).filename() == below.filename()) return true;
    throw EApplianceError(EStatus::STORAGE,
                          "layer " + file.string() + " stands on " + backing + ", not on " + below.string());
}

void CQsdEngine::openAll(CQmpClient& monitor)
{
    CBlockGraph graph(monitor, home());
    std::map<std::pair<int64_t, int64_t>, int64_t> files;  // of volume and layer
    for (const SLayeredVolume& volume : m_table.volumes()) {
        try {
            graph.openVolume(volume);
        } catch (const EQmpRefusal&) {
            continue;  // one that is damaged keeps none of the others from being used; openMissing() says what it has
        }
        for (const SLayer& layer : volume.layers) {
            files[{volume.id, layer.number}] = layer.file;
        }
    }
    for (const SLayeredImage& image : m_table.images()) {
        const auto file = files.find({image.volume, image.layer});
        if (file == files.end()) continue;
        try {
            graph.openImage(image, file->second);
        } catch (const EQmpRefusal&) {
            continue;
        }
    }
}

void CQsdEngine::changeGraph(const std::function<void(CQmpClient& monitor, CBlockGraph& graph)>& step)
{
    change([&](CQmpClient& monitor) {
        CBlockGraph graph(monitor, home());
        step(monitor, graph);
    });
}

// Volumes that were listed since the daemon was started.
void CQsdEngine::openMissing(CQmpClient& monitor, const std::vector<SVolume>& volumes)
{
    const std::set<std::string> open = exportsOf(monitor);
    for (const SVolume& volume : volumes) {
        if (open.count(CBlockGraph::exportName(volume.id)) != 0) continue;
        CBlockGraph(monitor, home()).openVolume(m_table.volume(volume.id));
    }
}

// An image that is not open was deleted meanwhile: those that there are were opened when they were made, or after them.
void CQsdEngine::openDevice(CQmpClient& monitor, const SDevice& device)
{
    if (device.image.empty()) openMissing(monitor, {device.volume});
}

void CQsdEngine::makeData(const SVolume& volume, const std::optional<fs::path>& file, const fs::path& work)
{
    const fs::path data = work / BASE;
    const std::string size = std::to_string(volume.size);
    if (volume.size % SECTOR != 0) {
        throw EApplianceError(EStatus::MALFORMED, "LUN " + inQuotes(volume.name) + " of " + size +
                                                      " bytes is not made of whole sectors of " +
                                                      std::to_string(SECTOR) + " bytes");
    }
    if (file) {
        const fs::path content = fs::absolute(*file);
        runProgram({"qemu-img", "convert", "-q", "-f", "raw", "-O", "qcow2", content.string(), data.string()},
                   daemon().log(), COPY_PATIENCE);
        runProgram({"qemu-img", "resize", "-q", "-f", "qcow2", data.string(), size}, daemon().log(), PATIENCE);
    } else {
        runProgram({"qemu-img", "create", "-q", "-f", "qcow2", data.string(), size}, daemon().log(), PATIENCE);
    }
    syncNewFile(data);
}

void CQsdEngine::publishData(const SVolume& volume, const fs::path& work)
{
    m_table.insertVolume(volume.id);
    const fs::path data = layerFile(volume.id, 0);
    if (::rename((work / BASE).c_str(), data.c_str()) != 0) throwStorage("create", data.string(), errno);
    syncFolder(volumesFolder());
}

void CQsdEngine::dropData(const SVolume& volume)
{
    const base::CFileDescriptor alone = daemon().lock();
    takeBack(home() / "dev" / volume.name);
    removeVolume(volume.id);
}

void CQsdEngine::removeVolume(int64_t id)
{
    const SLayeredVolume volume = m_table.volume(id);
    changeGraph([&](CQmpClient&, CBlockGraph& graph) { graph.closeVolume(volume); });
    m_table.removeVolume(id);
    for (const SLayer& layer : volume.layers) {
        removeFile(layerFile(id, layer.file));
    }
}

bool CQsdEngine::hasStrayData(const CListedVolumes& listed)
{
    const std::vector<SVolume> volumes = listed();
    return !strayVolumes(volumes).empty() || !strayFiles(volumes).empty();
}

void CQsdEngine::dropStrayData(const CListedVolumes& listed)
{
    const base::CFileDescriptor alone = daemon().lock();
    const std::vector<SVolume> volumes = listed();
    for (const int64_t id : strayVolumes(volumes)) {
        removeVolume(id);
    }
    for (const fs::path& file : strayFiles(volumes)) {
        if (file.parent_path() == home() / "dev") {
            takeBack(file);
        } else {
            removeFile(file);
        }
    }
}

std::vector<int64_t> CQsdEngine::strayVolumes(const std::vector<SVolume>& listed)
{
    std::vector<int64_t> stray;
    for (const SLayeredVolume& volume : m_table.volumes()) {
        const bool isListed =
            std::any_of(listed.begin(), listed.end(), [&](const SVolume& each) { return each.id == volume.id; });
        if (!isListed) stray.push_back(volume.id);
    }
    return stray;
}

// Files of volumes that the tables do not know, and what is left at the paths of LUNs which are no more.
std::vector<fs::path> CQsdEngine::strayFiles(const std::vector<SVolume>& listed)
{
    std::vector<fs::path> stray = strayDevices(home() / "dev", listed);
    std::set<fs::path> known;
    for (const SLayeredVolume& volume : m_table.volumes()) {
        for (const SLayer& layer : volume.layers) {
            known.insert(layerFile(volume.id, layer.file));
        }
        if (volume.intended != 0) known.insert(layerFile(volume.id, volume.intended));
    }
    std::error_code error;
    for (fs::directory_iterator entry(volumesFolder(), error), end; !error && entry != end; entry.increment(error)) {
        if (known.count(entry->path()) == 0) stray.push_back(entry->path());
    }
    return stray;
}

void CQsdEngine::fixContent(const std::vector<SVolume>& volumes, const fs::path& gate, const fs::path& content)
{
    const std::string id = content.filename().string();
    const base::CFileDescriptor alone = daemon().lock();
    bool isIntended = false;
    for (int tries = 1; !isIntended; ++tries) {
        try {
            changeGraph([&](CQmpClient& monitor, CBlockGraph& graph) {
                openMissing(monitor, volumes);
                const std::vector<SLayeredVolume> intended = m_table.intend(id, volumes);
                isIntended = true;
                const CGate closed(gate);
                beginLayers(graph, id, intended);
            });
        } catch (const EQmpRefusal&) {
            throw;
        } catch (const EApplianceError&) {
            // The daemon ended over it. If anything was intended, its successor brings all volumes to these layers: at
            // the instant at which the last one took no more writes, or at the one at which it had begun them.
            if (!isIntended && tries == TRIES) throw;
            makeReady();
        }
    }
}

void CQsdEngine::beginLayers(CBlockGraph& graph, const std::string& content, const std::vector<SLayeredVolume>& volumes)
{
    try {
        graph.beginLayers(volumes);
    } catch (const EQmpRefusal&) {
        m_table.takeBack(content, volumes);
        throw;
    }
    syncFolder(volumesFolder());
    m_table.fulfil(volumes);
}

void CQsdEngine::makeImage(const std::vector<SVolume>& volumes, const fs::path& content, const fs::path& image)
{
    const std::string id = image.filename().string();
    const base::CFileDescriptor alone = daemon().lock();
    const std::map<int64_t, int64_t> layers = m_table.content(content.filename().string());
    std::vector<SLayeredImage> made;
    std::vector<int64_t> files;
    for (const SVolume& volume : volumes) {
        const auto layer = layers.find(volume.id);
        if (layer == layers.end()) throwStorage("read", (content / volume.name).string(), ENOENT);
        made.push_back({id, volume.id, layer->second});
        files.push_back(fileOf(m_table.volume(volume.id), layer->second));
        makeOverlay(CBlockGraph::imageFile(home(), made.back()), layerFile(volume.id, files.back()), daemon().log());
    }
    m_table.insertImage(made);
    changeGraph([&](CQmpClient& monitor, CBlockGraph& graph) {
        openMissing(monitor, volumes);
        for (size_t i = 0; i < made.size(); ++i) {
            graph.openImage(made[i], files[i]);
        }
    });
    syncFolder(image.parent_path());
}

void CQsdEngine::dropContent(const fs::path& content)
{
    const std::string id = content.filename().string();
    const base::CFileDescriptor alone = daemon().lock();
    const std::map<int64_t, int64_t> layers = m_table.content(id);
    if (!layers.empty()) m_table.removeContent(id);
    for (const auto& [volume, layer] : layers) {
        mergeUnneeded(volume);
    }
    dropFolder(content);
}

// The view of a layer that nobody needs goes as the layer above is merged into its file. Nothing is merged into what is
// written to: of a layer that is active now, the next checkpoint makes one that can be merged.
void CQsdEngine::mergeUnneeded(int64_t id)
{
    for (size_t i = 0;;) {
        const SLayeredVolume volume = m_table.volume(id);
        if (i + 2 >= volume.layers.size()) return;
        const SLayer below = volume.layers[i];
        const SLayer merged = volume.layers[i + 1];
        if (m_table.isNeeded(id, below.number)) {
            ++i;
            continue;
        }
        changeGraph([&](CQmpClient& monitor, CBlockGraph& graph) {
            openMissing(monitor, {{id, "", 0}});
            graph.merge(volume, below, merged);
            m_table.noteMerge(id, below, merged);
        });
        removeFile(layerFile(id, merged.file));
    }
}

void CQsdEngine::dropImage(const fs::path& image)
{
    const std::string id = image.filename().string();
    const base::CFileDescriptor alone = daemon().lock();
    takeBackImage(image);
    const std::vector<SLayeredImage> volumes = m_table.image(id);
    if (!volumes.empty()) {
        changeGraph([&](CQmpClient&, CBlockGraph& graph) {
            for (const SLayeredImage& volume : volumes) {
                graph.closeImage(volume);
            }
        });
        m_table.removeImage(id);
    }
    dropFolder(image);
}

}  // namespace lumora

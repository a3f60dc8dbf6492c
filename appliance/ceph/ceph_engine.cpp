#include "appliance/ceph/ceph_engine.h"

#include <rbd/librbd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <system_error>

#include "appliance/ceph/ceph_error.h"
#include "appliance/ceph/ceph_id.h"
#include "appliance/ceph/volume_names.h"
#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/daemon/programs.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/gate.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

using Json = CQmpClient::Json;
using CQuery = base::CSqliteQuery;
using CTransaction = base::CSqliteTransaction;

// Longer than a cluster takes to find that a storage node is gone.
constexpr unsigned PATIENCE = 60;
constexpr std::chrono::hours COPY_PATIENCE{24};
constexpr uint64_t SECTOR = 512;
constexpr const char* WORK = "w-";
constexpr const char* DROPPED = "x-";

constexpr const char* TABLE =
    "CREATE TABLE IF NOT EXISTS ceph_appliance (appliance TEXT PRIMARY KEY, space TEXT NOT NULL) WITHOUT ROWID";

// A name and value for a list that is separated by commas.
std::string option(const std::string& name, const std::string& value)
{
    std::string text = name + "=";
    for (const char c : value) {
        text += c == ',' ? ",," : std::string(1, c);
    }
    return text;
}

// The client that was not there before; none where it cannot be told from another machine's that came meanwhile.
std::string newOne(const std::vector<std::string>& before, std::vector<std::string> now)
{
    std::erase_if(now, [&](const std::string& client) {
        return std::find(before.begin(), before.end(), client) != before.end();
    });
    return now.size() == 1 ? now.front() : std::string();
}

template <class Step>
void unlessMissing(Step step)
{
    try {
        step();
    } catch (const EApplianceError& error) {
        if (error.status() != EStatus::MISSING) throw;
    }
}

}  // namespace

struct CCephEngine::SConnection
{
    SConnection(const SCephSettings& settings, const std::string& space)
        : cluster({settings.cluster.configuration, settings.cluster.user, settings.cluster.clients, PATIENCE}),
          pool(cluster, settings.pool, space),
          images(pool),
          groups(pool),
          imports(pool),
          notes(pool)
    {
    }

    CCephCluster cluster;
    CCephPool pool;
    CCephImages images;
    CCephGroups groups;
    CCephImports imports;
    CContentNotes notes;
};

CCephEngine::CCephEngine(const SEngineSetup& setup, const fs::path& home, SHostKernel kernel)
    : CBaseDaemonEngine(setup.store, home, "ceph", attachOfExports(setup), kernel),
      m_kernel(std::move(kernel)),
      m_settings(readCephSettings(setup)),
      m_catalog(*setup.catalog),
      m_appliance(home.filename().string()),
      m_open(home / "ceph/open")
{
}

CCephEngine::~CCephEngine() = default;

CCephEngine::SConnection& CCephEngine::connection()
{
    if (m_connection == nullptr) m_connection = std::make_unique<SConnection>(m_settings, space());
    return *m_connection;
}

std::string CCephEngine::space() const
{
    if (!m_space.empty()) return m_space;
    CQuery query(m_catalog, "SELECT space FROM ceph_appliance WHERE appliance = ?", m_appliance);
    if (query.next()) return m_space = query.text(0);
    throw EApplianceError(EStatus::MISSING, "appliance " + inQuotes(m_appliance) + " has no namespace on the cluster",
                          EObject::APPLIANCE);
}

void CCephEngine::prepare()
{
    prepareDaemon();
    if (m_settings.attach == EAttach::RBD) checkPrograms("engine \"ceph\"", {"rbd"});
    m_catalog.execute(TABLE);
    const std::string space = "cdp-" + std::to_string(randomNumber());
    CQuery(m_catalog, "INSERT OR IGNORE INTO ceph_appliance (appliance, space) VALUES (?, ?)", m_appliance, space)
        .run();
    SConnection& there = connection();
    const CCephPool whole(there.cluster, m_settings.pool);
    const int code = ::rbd_namespace_create(whole.handle(), there.pool.space().c_str());
    if (code != -EEXIST) checkCeph(code, "make", "a namespace in pool " + inQuotes(whole.name()));
}

void CCephEngine::remove()
{
    if (!CQuery(m_catalog, "SELECT 1 FROM sqlite_master WHERE name = 'ceph_appliance'").next()) return;
    if (!CQuery(m_catalog, "SELECT 1 FROM ceph_appliance WHERE appliance = ?", m_appliance).next()) return;
    SConnection& there = connection();
    std::vector<std::string> names = there.images.names();
    // Those of time images have two points in their names, and stand on the others.
    std::stable_partition(names.begin(), names.end(), [](const auto& name) { return name.find('.') != name.npos; });
    for (const std::string& name : names) {
        if (name.find('.') != std::string::npos) {
            there.imports.drop(name);
        } else {
            removeVolume(name);
        }
    }
    for (const std::string& group : there.groups.names()) {
        there.groups.remove(group);
    }
    const CCephPool whole(there.cluster, m_settings.pool);
    const int code = ::rbd_namespace_remove(whole.handle(), there.pool.space().c_str());
    if (code != -ENOENT) checkCeph(code, "remove", "namespace " + inQuotes(there.pool.space()));
    CQuery(m_catalog, "DELETE FROM ceph_appliance WHERE appliance = ?", m_appliance).run();
    m_connection.reset();
    m_space.clear();
}

std::string CCephEngine::workName(const fs::path& work) const
{
    std::string name = work.lexically_relative(home() / "work").string();
    std::replace(name.begin(), name.end(), '/', '-');
    return WORK + name;
}

void CCephEngine::makeData(const SVolume& volume, const std::optional<fs::path>& file, const fs::path& work)
{
    if (volume.size % SECTOR != 0) {
        throw EApplianceError(EStatus::MALFORMED,
                              "LUN " + inQuotes(volume.name) + " of " + std::to_string(volume.size) +
                                  " bytes is not made of whole sectors of " + std::to_string(SECTOR) + " bytes");
    }
    SConnection& there = connection();
    const std::string name = workName(work);
    there.images.make(name, volume.size);
    if (!file) return;
    const std::string target = "driver=raw," + option("file.driver", "rbd") + "," +
                               option("file.pool", there.pool.name()) + "," +
                               option("file.namespace", there.pool.space()) + "," + option("file.image", name) + "," +
                               option("file.conf", m_settings.cluster.configuration.string()) + "," +
                               option("file.user", m_settings.cluster.user);
    runProgram(
        {"qemu-img", "convert", "-q", "-n", "-f", "raw", "--target-image-opts", fs::absolute(*file).string(), target},
        daemon().log(), COPY_PATIENCE);
}

void CCephEngine::dropWork(const fs::path& work)
{
    const std::string name = workName(work);
    for (const std::string& image : connection().images.names()) {
        if (image == name || image.starts_with(name + "-")) connection().images.remove(image);
    }
    CBaseDaemonEngine::dropWork(work);
}

void CCephEngine::publishData(const SVolume& volume, const fs::path& work)
{
    SConnection& there = connection();
    try {
        there.groups.make(groupOf(volume.group));
    } catch (const EApplianceError& error) {
        if (error.status() != EStatus::EXISTS) throw;
    }
    there.images.rename(workName(work), nameOf(volume.id));
    there.groups.add(groupOf(volume.group), nameOf(volume.id));
}

void CCephEngine::dropData(const SVolume& volume)
{
    detachThose([&](const SOpenDevice& device) { return device.timeImage.empty() && device.volume == volume.id; });
    takeBack(home() / "dev" / volume.name);
    unmapThose([&](const std::string& image) { return image == nameOf(volume.id); });
    removeVolume(nameOf(volume.id));
}

// An image that is attached elsewhere, or that a content holds, stays; so does its group, which a new LUN finds again.
void CCephEngine::removeVolume(const std::string& image)
{
    SConnection& there = connection();
    unlessMissing([&] {
        const std::string group = there.images.groupOf(image);
        if (!group.empty()) {
            refuseAttached(there.images, image, "remove", imageInWords(image, there.pool.name()));
            there.groups.take(group, image);
        }
        there.images.remove(image);
    });
}

bool CCephEngine::hasStrayData(const CListedVolumes& listed)
{
    const std::vector<std::string> images = connection().images.names();
    const std::vector<SVolume> volumes = listed();
    const bool isDropped =
        std::any_of(images.begin(), images.end(), [](const auto& image) { return image.starts_with(DROPPED); });
    return isDropped || !strayImages(volumes).empty() || !strayDevices(home() / "dev", volumes).empty();
}

// Another machine puts its data in place and lists it in one transaction, so that in a transaction there is none which
// is not listed only yet.
void CCephEngine::dropStrayData(const CListedVolumes& listed)
{
    SConnection& there = connection();
    std::vector<SVolume> volumes;
    {
        const CTransaction alone(m_catalog, CTransaction::EKind::WRITE);
        volumes = listed();
        for (const std::string& image : strayImages(volumes)) {
            // An earlier one of the number may still be attached somewhere: then this one waits for its turn.
            tidyUp([&] { there.images.rename(image, DROPPED + image.substr(1)); });
        }
    }
    for (const std::string& image : there.images.names()) {
        if (image.starts_with(DROPPED)) tidyUp([&] { removeVolume(image); });
    }
    const base::CFileDescriptor alone = daemon().lock();
    for (const fs::path& mount : strayDevices(home() / "dev", volumes)) {
        takeBack(mount);
    }
}

std::vector<std::string> CCephEngine::strayImages(const std::vector<SVolume>& listed)
{
    std::set<int64_t> numbers;
    for (const SVolume& volume : listed) {
        numbers.insert(volume.id);
    }
    std::vector<std::string> stray;
    for (const std::string& image : connection().images.names()) {
        const std::optional<int64_t> volume = volumeOf(image);
        if (volume && numbers.count(*volume) == 0) stray.push_back(image);
    }
    return stray;
}

// The note says what there may be before there is anything. A content has one part for all volumes, unless the caller
// fixes them one by one.
void CCephEngine::fixContent(const std::vector<SVolume>& volumes, const fs::path& gate, const fs::path& content)
{
    const std::string id = content.filename().string();
    SConnection& there = connection();
    if (!m_open.list().empty() && !daemon().isReady()) {
        const base::CFileDescriptor alone = daemon().lock();
        makeReady();  // a daemon that was killed holds the locks of its images until it is shut out
    }
    SContentNote note = there.notes.read(id);
    note.group = groupOf(volumes.front().group);
    const std::string part = id + "-" + std::to_string(volumes.front().id);
    const std::vector<std::string> members = there.groups.members(note.group);
    for (const SVolume& volume : volumes) {
        const std::string name = nameOf(volume.id);
        if (std::find(members.begin(), members.end(), name) == members.end()) {
            throw EApplianceError(EStatus::STORAGE, imageInWords(name, there.pool.name()) + " is not in its group");
        }
        note.parts[name] = part;
    }
    there.notes.write(id, note);
    const CGate closed(gate);
    there.groups.fixContent(note.group, part);
}

void CCephEngine::makeImage(const std::vector<SVolume>& volumes, const fs::path& content, const fs::path& image)
{
    SConnection& there = connection();
    const SContentNote note = there.notes.read(content.filename().string());
    for (const SVolume& volume : volumes) {
        const auto part = note.parts.find(nameOf(volume.id));
        if (part == note.parts.end()) throwStorage("read", (content / volume.name).string(), ENOENT);
        there.imports.make(note.group, part->second, image.filename().string(), part->first);
    }
}

void CCephEngine::dropContent(const fs::path& content)
{
    SConnection& there = connection();
    const std::string id = content.filename().string();
    const SContentNote note = there.notes.read(id);
    std::set<std::string> parts;
    for (const auto& [volume, part] : note.parts) {
        parts.insert(part);
    }
    for (const std::string& part : parts) {
        unlessMissing([&] { there.groups.dropContent(note.group, part); });
    }
    there.notes.remove(id);
    dropFolder(content);
}

void CCephEngine::dropImage(const fs::path& image)
{
    const std::string id = image.filename().string();
    detachThose([&](const SOpenDevice& device) { return device.timeImage == id; });
    takeBackImage(image);
    for (const std::string& name : connection().imports.of(id)) {
        unlessMissing([&] { connection().imports.drop(name); });
    }
    dropFolder(image);
}

void CCephEngine::stop()
{
    CBaseDaemonEngine::stop();
    unmapThose([](const std::string& /*image*/) { return true; });
    if (m_open.list().empty()) return;
    // Of a daemon that did not close them.
    const base::CFileDescriptor alone = daemon().lock();
    recover();
    for (const SOpenDevice& device : m_open.list()) {
        m_open.remove(device);
    }
}

void CCephEngine::recover()
{
    if (!m_open.list().empty()) fenceGone(connection().cluster, m_settings.catalog);
}

void CCephEngine::openAll(CQmpClient& monitor)
{
    for (const SOpenDevice& device : m_open.list()) {
        try {
            open(monitor, device);
        } catch (const EQmpRefusal&) {
            continue;  // it is gone
        }
    }
}

void CCephEngine::closeAll(CQmpClient& monitor)
{
    for (const SOpenDevice& device : m_open.list()) {
        close(monitor, device);
    }
}

std::string CCephEngine::exportName(const SDevice& device) const
{
    return device.image.empty() ? nameOf(device.volume.id)
                                : "i" + device.image + "." + std::to_string(device.volume.id);
}

// Empty for one that is not there any more.
std::string CCephEngine::imageOf(const SDevice& device)
{
    std::string volume = nameOf(device.volume.id);
    if (device.image.empty()) return volume;
    const SContentNote note = connection().notes.read(device.content);
    const auto part = note.parts.find(volume);
    return part == note.parts.end() ? "" : importName(part->second, device.image, volume);
}

void CCephEngine::openDevice(CQmpClient& monitor, const SDevice& device)
{
    const std::string image = imageOf(device);
    if (!image.empty()) {
        open(monitor, {exportName(device), image, "", device.volume.id, device.image, device.path});
    }
}

// What is written down before it is opened is closed by whoever is told to, whatever comes in between.
void CCephEngine::open(CQmpClient& monitor, SOpenDevice device)
{
    SConnection& there = connection();
    std::vector<std::string> before;
    try {
        before = there.images.attachedBy(device.image);
    } catch (const EApplianceError& error) {
        if (error.status() != EStatus::MISSING) throw;
        m_open.remove(device);
        return;
    }
    m_open.add(device);
    addImage(monitor, device);
    device.client = newOne(before, there.images.attachedBy(device.image));
    if (!device.client.empty()) there.cluster.records().add(device.client, daemon().process());
    m_open.add(device);
    addExport(monitor, device.name, device.name);
}

void CCephEngine::addImage(CQmpClient& monitor, const SOpenDevice& device)
{
    const CCephPool& pool = connection().pool;
    try {
        monitor.execute("blockdev-add", {{"driver", "rbd"},
                                         {"node-name", device.name},
                                         {"pool", pool.name()},
                                         {"namespace", pool.space()},
                                         {"image", device.image},
                                         {"conf", m_settings.cluster.configuration.string()},
                                         {"user", m_settings.cluster.user},
                                         {"discard", "unmap"}});
    } catch (const EQmpRefusal& refusal) {
        if (std::string(refusal.what()).find("Unknown driver") == std::string::npos) throw;
        throw EApplianceError(
            EStatus::UNUSABLE,
            "engine \"ceph\" needs the storage daemon's driver rbd: install the package qemu-block-extra");
    }
}

void CCephEngine::close(CQmpClient& monitor, const SOpenDevice& device) const
{
    closeExport(monitor, device.name, device.name);
    if (!device.client.empty()) CClientRecords(m_settings.cluster.clients).remove(device.client);
    m_open.remove(device);
}

std::vector<SDevice> CCephEngine::attached()
{
    std::vector<SDevice> devices;
    for (const SOpenDevice& device : m_open.list()) {
        devices.push_back({{device.volume, "", 0, 0}, device.timeImage, device.path, ""});
    }
    for (const std::string& image : mappedImages()) {
        const std::optional<int64_t> volume = volumeOf(image);
        if (volume) devices.push_back({{*volume, "", 0, 0}, "", {}, ""});
    }
    return devices;
}

void CCephEngine::detach(const std::vector<SDevice>& devices)
{
    std::set<std::string> names;
    for (const SDevice& device : devices) {
        names.insert(exportName(device));
    }
    detachThose([&](const SOpenDevice& device) { return names.count(device.name) != 0; });
    unmapThose([&](const std::string& image) { return names.count(image) != 0; });
}

void CCephEngine::detachThose(const std::function<bool(const SOpenDevice& device)>& isMeant)
{
    if (!daemon().isThere()) return;
    const base::CFileDescriptor alone = daemon().lock();
    std::vector<SOpenDevice> devices = m_open.list();
    std::erase_if(devices, [&](const SOpenDevice& device) { return !isMeant(device); });
    if (devices.empty()) return;
    for (const SOpenDevice& device : devices) {
        takeBack(device.path);
    }
    change([&](CQmpClient& monitor) {
        for (const SOpenDevice& device : devices) {
            close(monitor, device);
        }
    });
}

}  // namespace lumora

#include "appliance/core/engines/daemon/daemon_engine.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <system_error>
#include <thread>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/daemon/programs.h"
#include "base/process_stat.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

using Json = CQmpClient::Json;

constexpr std::chrono::milliseconds TRY_AGAIN{500};

}  // namespace

CBaseDaemonEngine::CBaseDaemonEngine(fs::path store, fs::path home, std::string name, EAttach attach,
                                     const SHostKernel& kernel)
    : m_store(std::move(store)),
      m_home(std::move(home)),
      m_name(std::move(name)),
      m_daemon(m_home / m_name),
      m_attachments(attachOf(attach, kernel, ::geteuid() == 0), {m_daemon.folder(), m_daemon.exports(), m_daemon.log()},
                    kernel)
{
}

void CBaseDaemonEngine::prepareDaemon() const
{
    checkPrograms("engine " + inQuotes(m_name), {"qemu-storage-daemon", "qemu-img"});
    checkPrograms("engine " + inQuotes(m_name), m_attachments.programs());
    m_daemon.prepare();
}

void CBaseDaemonEngine::stop()
{
    if (!m_daemon.isThere()) return;
    takeAllBack();
    // It looks at the folder once more before it ends, and somebody may be about to remove that.
    m_daemon.waitForKeeper();
}

void CBaseDaemonEngine::takeAllBack()
{
    const base::CFileDescriptor alone = m_daemon.lock();
    takeBackBelow(m_home / "dev");
    std::error_code error;
    for (fs::directory_iterator image(m_home / "images", error), end; !error && image != end; image.increment(error)) {
        takeBackImage(image->path());
    }
    for (const fs::path& path : m_attachments.writtenDown()) {
        takeBack(path);
    }
    m_daemon.markStopped();
    if (m_daemon.isReady()) {
        tidyUp([this] {
            CQmpClient monitor = m_daemon.connect();
            closeAll(monitor);
        });
    }
    m_daemon.end();
}

void CBaseDaemonEngine::takeBackBelow(const fs::path& folder)
{
    std::error_code error;
    for (fs::directory_iterator device(folder, error), end; !error && device != end; device.increment(error)) {
        takeBack(device->path());
    }
}

bool CBaseDaemonEngine::keep(EKeep what)
{
    if (what == EKeep::UNLESS_STOPPED && m_daemon.isStopped()) return true;
    const base::CFileDescriptor keeper = m_daemon.lockAsKeeper();
    if (!keeper) return true;
    if (what == EKeep::ALSO_STOPPED) m_daemon.takeStopBack();
    while (m_daemon.isThere()) {
        try {
            const base::CFileDescriptor alone = m_daemon.lock();
            if (m_daemon.isStopped()) return true;
            makeReady();
        } catch (const EApplianceError& error) {
            // It may have been killed while it was started: whoever waits for it needs it all the same.
            std::fprintf(stderr, "%s\n", error.what());
            std::this_thread::sleep_for(TRY_AGAIN);
            continue;
        }
        m_daemon.waitForEnd();
    }
    return true;
}

// Who keeps the daemon running when no service does: readers and writers wait while it is away, and no tool may come
// by.
void CBaseDaemonEngine::startKeeper()
{
    if (m_daemon.isKept()) return;
    const fs::path program = base::thisProgram().parent_path() / "lmadm";
    if (::access(program.c_str(), X_OK) != 0) return;
    startProgram({program.string(), "--store", m_store.string(), "appliance", "keep", "--unless-stopped",
                  m_home.filename().string()},
                 m_daemon.log());
}

void CBaseDaemonEngine::makeReady()
{
    if (m_daemon.isReady()) return;
    m_daemon.end();
    recover();
    m_daemon.start();
    {
        CQmpClient monitor = m_daemon.connect();
        openAll(monitor);
    }
    m_daemon.markReady();
}

CQmpClient CBaseDaemonEngine::connect()
{
    makeReady();
    try {
        return m_daemon.connect();
    } catch (const EApplianceError&) {
        // It has ended, or it hangs, and what it acknowledged is safe: one that hangs is ended too.
        m_daemon.end();
    }
    makeReady();
    return m_daemon.connect();
}

void CBaseDaemonEngine::change(const CStep& step)
{
    CQmpClient monitor = connect();
    m_daemon.markUnready();
    try {
        step(monitor);
    } catch (const EQmpRefusal&) {
        m_daemon.markReady();  // what it refuses it has not begun
        throw;
    }
    m_daemon.markReady();
}

void CBaseDaemonEngine::attach(const std::vector<SDevice>& devices)
{
    const auto isDone = [this](const SDevice& device) { return isAttached(device); };
    if (m_daemon.isReady() && std::all_of(devices.begin(), devices.end(), isDone)) return;
    if (!m_daemon.isThere()) prepareDaemon();  // the first device on a machine that joins others
    const base::CFileDescriptor alone = m_daemon.lock();
    std::set<std::string> open;
    {
        CQmpClient monitor = connect();
        open = exportsOf(monitor);
    }
    std::optional<EQmpRefusal> refusal;
    std::vector<SHostDevice> missing;
    for (const SDevice& device : devices) {
        const std::string name = exportName(device);
        if (open.count(name) != 0 && isAttached(device)) continue;
        bool isOpen = open.count(name) != 0;
        try {
            if (!isOpen) {
                change([&](CQmpClient& monitor) {
                    openDevice(monitor, device);
                    isOpen = exportsOf(monitor).count(name) != 0;
                });
            }
        } catch (const EQmpRefusal& error) {
            refusal = error;  // of one that is damaged, which keeps no other from its host
        }
        if (isOpen && !isAttached(device)) {
            missing.push_back(hostDevice(device));
        }
    }
    m_attachments.attachAll(missing);
    startKeeper();
    if (refusal) throw *refusal;
}

bool CBaseDaemonEngine::isAttached(const SDevice& device) const
{
    return m_attachments.isAttached(hostDevice(device));
}

SHostDevice CBaseDaemonEngine::hostDevice(const SDevice& device) const
{
    return {device.path, exportName(device), device.volume.size};
}

std::set<std::string> exportsOf(CQmpClient& monitor)
{
    std::set<std::string> names;
    for (const Json& each : monitor.execute("query-block-exports")) {
        names.insert(each.value("id", ""));
    }
    return names;
}

void addExport(CQmpClient& monitor, const std::string& name, const std::string& node)
{
    monitor.execute("block-export-add", {{"type", "nbd"},
                                         {"id", name},
                                         {"node-name", node},
                                         {"name", name},
                                         {"writable", true},
                                         {"writethrough", true}});
}

void closeExport(CQmpClient& monitor, const std::string& name, const std::string& node)
{
    if (exportsOf(monitor).count(name) != 0) {
        monitor.execute("block-export-del", {{"id", name}, {"mode", "hard"}});
        monitor.waitFor("BLOCK_EXPORT_DELETED", [&](const Json& data) { return data.value("id", "") == name; });
    }
    for (const Json& open : monitor.execute("query-named-block-nodes", {{"flat", true}})) {
        if (open.value("node-name", "") == node) {
            monitor.execute("blockdev-del", {{"node-name", node}});
            return;
        }
    }
}

}  // namespace lumora

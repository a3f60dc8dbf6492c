#include "appliance/core/engines/daemon/storage_daemon.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <thread>

#include "appliance/core/engines/daemon/programs.h"
#include "appliance/core/files/file_io.h"
#include "appliance/core/files/range_lock.h"
#include "base/file_read.h"
#include "base/poll_until.h"
#include "base/process_stat.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds PATIENCE{30};
constexpr std::chrono::seconds GRACE{5};
constexpr std::chrono::milliseconds LOOK_AGAIN{2};
constexpr size_t SMALL_FILE = 4096;

std::string readLine(const fs::path& file)
{
    const base::SFileText read = base::readFile(file.string(), SMALL_FILE);
    return read.text.substr(0, read.text.find('\n'));
}

bool isGone(pid_t pid)
{
    const std::optional<base::SProcessStat> stat = base::readProcessStat(pid);
    return stat && stat->isGone();
}

// A process by its number and its start, which no other process shares.
std::string identityOf(pid_t pid)
{
    const std::optional<base::SProcessStat> stat = base::readProcessStat(pid);
    if (!stat || stat->isGone()) return "";
    return std::to_string(pid) + " " + std::to_string(stat->startTime);
}

void waitUntilGone(pid_t pid, Clock::time_point end)
{
    while (!isGone(pid) && Clock::now() < end) {
        std::this_thread::sleep_for(LOOK_AGAIN);
    }
}

}  // namespace

void CStorageDaemon::prepare() const
{
    const fs::path longest = exports();
    if (longest.string().size() >= sizeof(sockaddr_un::sun_path)) {
        throw EApplianceError(EStatus::UNUSABLE, "the path " + longest.string() + " has more than " +
                                                     std::to_string(sizeof(sockaddr_un::sun_path) - 1) +
                                                     " bytes, too many for a socket: choose a shorter store folder");
    }
    makeFolder(m_folder);
}

bool CStorageDaemon::isThere() const
{
    return lumora::isThere(m_folder);
}

base::CFileDescriptor CStorageDaemon::lock() const
{
    return lockByte(m_folder / "lock", 0);
}

bool CStorageDaemon::isReady() const
{
    const std::string marked = readLine(ready());
    const std::optional<pid_t> process = findProcess();
    return process && !marked.empty() && marked == identityOf(*process);
}

void CStorageDaemon::markReady() const
{
    const fs::path file = m_folder / "ready.new";
    const std::string text = identityOf(process()) + "\n";
    const base::CFileDescriptor made = openFile(file, O_WRONLY | O_CREAT | O_TRUNC);
    writeAt(made.get(), text, 0, file);
    if (::rename(file.c_str(), ready().c_str()) != 0) throwStorage("replace", ready().string(), errno);
}

void CStorageDaemon::markUnready() const
{
    if (::unlink(ready().c_str()) != 0 && errno != ENOENT) throwStorage("remove", ready().string(), errno);
}

void CStorageDaemon::start() const
{
    end();
    ::unlink(pidFile().c_str());
    takeStopBack();
    // It answers on both sockets once the program that was started has ended and left it running.
    runProgram({"qemu-storage-daemon", "--daemonize", "--pidfile", pidFile().string(), "--chardev",
                "socket,id=monitor,server=on,wait=off,path=" + monitor().string(), "--monitor", "chardev=monitor",
                "--nbd-server", "addr.type=unix,addr.path=" + exports().string()},
               log(), PATIENCE);
}

void CStorageDaemon::end() const
{
    markUnready();
    const std::optional<pid_t> process = findProcess();
    if (!process) return;
    ::kill(*process, SIGTERM);
    waitUntilGone(*process, Clock::now() + GRACE);
    if (isGone(*process)) return;
    ::kill(*process, SIGKILL);
    waitUntilGone(*process, Clock::now() + GRACE);
    if (!isGone(*process)) {
        throw EApplianceError(EStatus::STORAGE,
                              "the storage daemon, process " + std::to_string(*process) + ", does not end");
    }
}

CQmpClient CStorageDaemon::connect() const
{
    return {monitor(), PATIENCE};
}

pid_t CStorageDaemon::process() const
{
    const std::optional<pid_t> found = findProcess();
    if (found) return *found;
    throw EApplianceError(EStatus::STORAGE, "the storage daemon has ended: " + lastLineOf(log()));
}

void CStorageDaemon::waitForEnd() const
{
    const std::optional<pid_t> process = findProcess();
    if (!process) return;
    const base::CFileDescriptor watched(static_cast<int>(::syscall(SYS_pidfd_open, *process, 0)));
    while (!isGone(*process)) {
        pollfd ended = {watched.get(), POLLIN, 0};
        base::pollUntil({&ended, 1}, Clock::now() + PATIENCE);
    }
}

void CStorageDaemon::markStopped() const
{
    openFile(stopped(), O_WRONLY | O_CREAT);
}

void CStorageDaemon::takeStopBack() const
{
    if (::unlink(stopped().c_str()) != 0 && errno != ENOENT) throwStorage("remove", stopped().string(), errno);
}

bool CStorageDaemon::isStopped() const
{
    return lumora::isThere(stopped());
}

base::CFileDescriptor CStorageDaemon::lockAsKeeper() const
{
    const fs::path file = m_folder / "keeper";
    base::CFileDescriptor keeper = openFile(file, O_RDWR | O_CREAT);
    if (!tryLockRange(keeper.get(), ERangeLock::EXCLUSIVE, 0, 1, file)) keeper.reset();
    return keeper;
}

bool CStorageDaemon::isKept() const
{
    const fs::path file = m_folder / "keeper";
    const base::CFileDescriptor keeper(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    return keeper && !isRangeFree(keeper.get(), 0, 1, file);
}

void CStorageDaemon::waitForKeeper() const
{
    for (const Clock::time_point end = Clock::now() + GRACE; isKept() && Clock::now() < end;) {
        std::this_thread::sleep_for(LOOK_AGAIN);
    }
}

// The process of the pid file, if it is still the daemon and not a later process of that number.
std::optional<pid_t> CStorageDaemon::findProcess() const
{
    const std::string line = readLine(pidFile());
    pid_t pid = 0;
    const auto [rest, error] = std::from_chars(line.data(), line.data() + line.size(), pid);
    if (error != std::errc() || pid <= 0 || isGone(pid)) return std::nullopt;
    const base::SFileText words = base::readFile("/proc/" + std::to_string(pid) + "/cmdline", size_t{1} << 16U);
    if (words.text.find(pidFile().string()) == std::string::npos) return std::nullopt;
    return pid;
}

}  // namespace lumora

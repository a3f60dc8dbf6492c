#include "appliance/core/engines/daemon/file_attachment.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include "appliance/core/conventions/error.h"
#include "appliance/core/engines/daemon/programs.h"
#include "appliance/core/files/file_io.h"

namespace lumora {
namespace fs = std::filesystem;
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds PATIENCE{30};
constexpr std::chrono::milliseconds LOOK_AGAIN{2};

// Whether something is mounted at the path: a look at a mount whose program is gone fails. A link is no mount.
bool isCovered(const fs::path& path)
{
    struct stat file = {};
    struct stat folder = {};
    if (::lstat(path.c_str(), &file) != 0) return errno == ENOTCONN;
    return !S_ISLNK(file.st_mode) && ::stat(path.parent_path().c_str(), &folder) == 0 && file.st_dev != folder.st_dev;
}

}  // namespace

struct CFileAttachment::SStarted
{
    const SHostDevice& device;
    base::CFileDescriptor below;  // the file that the mount hides
    pid_t pid = -1;
};

std::vector<std::string> CFileAttachment::programs() const
{
    return {"nbdfuse", "nbdkit", "fusermount3"};
}

bool CFileAttachment::isAttached(const SHostDevice& device) const
{
    struct stat file = {};
    return isCovered(device.path) && ::stat(device.path.c_str(), &file) == 0 && S_ISREG(file.st_mode) &&
           static_cast<uint64_t>(file.st_size) == device.size;
}

void CFileAttachment::attachAll(const std::vector<SHostDevice>& devices) const
{
    std::vector<SStarted> started;
    started.reserve(devices.size());
    for (const SHostDevice& device : devices) {
        started.push_back(startMount(device));
    }
    for (const SStarted& each : started) {
        waitForMount(each);
    }
}

CFileAttachment::SStarted CFileAttachment::startMount(const SHostDevice& device) const
{
    detach(device.path);  // a mount whose program is gone
    makeFolder(device.path.parent_path());
    ::unlink(device.path.c_str());  // it has no rights to open it with
    SStarted started = {device, openFile(device.path, O_WRONLY | O_CREAT | O_EXCL, 0200), -1};
    // The filter's first try again comes after a second, and no later one takes longer.
    started.pid = startProgram({"nbdfuse", device.path.string(), "--command", "nbdkit", "-s", "--exit-with-parent",
                                "--filter=retry", "nbd", "socket=" + m_place.socket.string(), "export=" + device.name,
                                "retries=600", "retry-delay=1", "retry-exponential=no"},
                               m_place.log);
    return started;
}

void CFileAttachment::waitForMount(const SStarted& started) const
{
    const Clock::time_point end = Clock::now() + PATIENCE;
    while (!isAttached(started.device)) {
        const bool hasEnded = ::waitpid(started.pid, nullptr, WNOHANG) == started.pid;
        if (hasEnded || Clock::now() >= end) {
            if (!hasEnded) ::kill(-started.pid, SIGKILL);
            throw EApplianceError(EStatus::STORAGE,
                                  "cannot attach " + started.device.path.string() + ": " +
                                      (hasEnded ? lastLineOf(m_place.log) : "its export does not show in time"));
        }
        std::this_thread::sleep_for(LOOK_AGAIN);
    }
    if (::fchmod(started.below.get(), 0) != 0) throwStorage("write", started.device.path.string(), errno);
}

void CFileAttachment::detach(const fs::path& path) const
{
    if (isCovered(path)) runProgram({"fusermount3", "-u", "-z", path.string()}, m_place.log, PATIENCE);
    struct stat below = {};
    if (::lstat(path.c_str(), &below) != 0) {
        if (errno == ENOENT) return;
        throwStorage("look at", path.string(), errno);
    }
    if (!S_ISREG(below.st_mode) || below.st_size != 0) return;
    if (::unlink(path.c_str()) != 0) throwStorage("remove", path.string(), errno);
}

}  // namespace lumora

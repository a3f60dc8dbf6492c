#include "appliance/core/engines/daemon/nbd_mount.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
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

// Whether something is mounted at the path: a look at a mount whose program is gone fails.
bool isCovered(const fs::path& path)
{
    struct stat file = {};
    struct stat folder = {};
    if (::stat(path.c_str(), &file) != 0) return errno == ENOTCONN;
    return ::stat(path.parent_path().c_str(), &folder) == 0 && file.st_dev != folder.st_dev;
}

struct SStarted
{
    const SNbdMount& mount;
    base::CFileDescriptor below;  // the file that the mount hides
    pid_t pid = -1;
};

SStarted startMount(const SNbdMount& mount, const fs::path& log)
{
    if (isCovered(mount.path)) unmount(mount.path, log);
    makeFolder(mount.path.parent_path());
    ::unlink(mount.path.c_str());  // it has no rights to open it with
    SStarted started = {mount, openFile(mount.path, O_WRONLY | O_CREAT | O_EXCL, 0200), -1};
    // The filter's first try again comes after a second, and no later one takes longer.
    started.pid = startProgram({"nbdfuse", mount.path.string(), "--command", "nbdkit", "-s", "--exit-with-parent",
                                "--filter=retry", "nbd", "socket=" + mount.socket.string(),
                                "export=" + mount.exportName, "retries=600", "retry-delay=1", "retry-exponential=no"},
                               log);
    return started;
}

void waitForMount(const SStarted& started, const fs::path& log)
{
    const Clock::time_point end = Clock::now() + PATIENCE;
    while (!isMounted(started.mount.path, started.mount.size)) {
        const bool hasEnded = ::waitpid(started.pid, nullptr, WNOHANG) == started.pid;
        if (hasEnded || Clock::now() >= end) {
            if (!hasEnded) ::kill(-started.pid, SIGKILL);
            throw EApplianceError(EStatus::STORAGE,
                                  "cannot attach " + started.mount.path.string() + ": " +
                                      (hasEnded ? lastLineOf(log) : "its export does not show in time"));
        }
        std::this_thread::sleep_for(LOOK_AGAIN);
    }
    if (::fchmod(started.below.get(), 0) != 0) throwStorage("write", started.mount.path.string(), errno);
}

}  // namespace

bool isMounted(const fs::path& path, uint64_t size)
{
    struct stat file = {};
    return isCovered(path) && ::stat(path.c_str(), &file) == 0 && S_ISREG(file.st_mode) &&
           static_cast<uint64_t>(file.st_size) == size;
}

void mountAll(const std::vector<SNbdMount>& mounts, const fs::path& log)
{
    std::vector<SStarted> started;
    started.reserve(mounts.size());
    for (const SNbdMount& mount : mounts) {
        started.push_back(startMount(mount, log));
    }
    for (const SStarted& each : started) {
        waitForMount(each, log);
    }
}

void unmount(const fs::path& path, const fs::path& log)
{
    if (isCovered(path)) runProgram({"fusermount3", "-u", "-z", path.string()}, log, PATIENCE);
    struct stat below = {};
    if (::stat(path.c_str(), &below) != 0 && errno == ENOENT) return;
    if (below.st_size == 0 && ::unlink(path.c_str()) != 0) throwStorage("remove", path.string(), errno);
}

}  // namespace lumora

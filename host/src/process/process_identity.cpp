#include "host/src/process/process_identity.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace fictl {

namespace {

std::string bootId()
{
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string id;
    std::getline(file, id);
    return id;
}

struct SProcStat
{
    char state = 'X';
    int64_t startTime = -1;
};

// The program name in /proc/<pid>/stat stands in parentheses and may hold blanks and parentheses itself, so the fields
// are counted from the last closing one. State is field 3, the start time field 22.
SProcStat readStat(int64_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t close = line.rfind(')');
    if (close == std::string::npos) return {};
    std::istringstream fields(line.substr(close + 1));
    SProcStat stat;
    fields >> stat.state;
    std::string skipped;
    constexpr int BETWEEN = 18;
    for (int i = 0; i < BETWEEN; ++i) {
        fields >> skipped;
    }
    if (!(fields >> stat.startTime)) return {};
    return stat;
}

std::string pidNamespace()
{
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/ns/pid", ignored).string();
}

// Locks of this kind belong to the process, so no child inherits one, and they are gone when it is. Closing any
// descriptor of the file would give them back too: there is only this one.
int g_owners = -1;
int64_t g_lock = 0;
int g_holders = 0;

struct flock byteLock(int64_t byte)
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

int64_t randomByte()
{
    constexpr int64_t MOST = (int64_t{1} << 62U) - 1;
    int64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) return 0;
    return number & MOST;
}

enum class EHeld
{
    NO,
    YES,
    UNKNOWN,
};

EHeld isHeld(int64_t byte)
{
    if (g_owners < 0 || byte == 0) return EHeld::UNKNOWN;
    if (byte == g_lock) return EHeld::YES;
    struct flock lock = byteLock(byte);
    if (fcntl(g_owners, F_GETLK, &lock) != 0) return EHeld::UNKNOWN;
    return lock.l_type == F_UNLCK ? EHeld::NO : EHeld::YES;
}

}  // namespace

COwnerLock::COwnerLock(const std::string& file)
{
    if (g_holders++ > 0) return;
    constexpr mode_t OWNER_ONLY = 0600;
    g_owners = open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, OWNER_ONLY);
    if (g_owners < 0) return;
    constexpr int TRIES = 8;  // another process may hold the byte of the first
    for (int i = 0; i < TRIES && g_lock == 0; ++i) {
        const int64_t byte = randomByte();
        struct flock lock = byteLock(byte);
        if (byte != 0 && fcntl(g_owners, F_SETLK, &lock) == 0) g_lock = byte;
    }
}

COwnerLock::~COwnerLock()
{
    if (--g_holders > 0) return;
    if (g_owners >= 0) close(g_owners);
    g_owners = -1;
    g_lock = 0;
}

SProcessIdentity thisProcess()
{
    return {getpid(), bootId(), readStat(getpid()).startTime, pidNamespace(), g_lock};
}

bool isAlive(const SProcessIdentity& process)
{
    if (process.pid <= 0) return false;
    const EHeld held = isHeld(process.lock);
    if (held == EHeld::YES) return true;
    if (process.bootId != bootId()) return false;
    if (!process.pidNamespace.empty() && process.pidNamespace != pidNamespace()) return held == EHeld::UNKNOWN;
    const SProcStat stat = readStat(process.pid);
    return stat.startTime == process.startTime && stat.startTime >= 0 && stat.state != 'Z' && stat.state != 'X';
}

}  // namespace fictl

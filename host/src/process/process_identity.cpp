#include "host/src/process/process_identity.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <optional>
#include <utility>

#include "base/process_stat.h"

namespace fictl {

namespace {

// A process as it is now; nothing for a number that no process can have.
std::optional<base::SProcessStat> statOf(int64_t pid)
{
    return std::in_range<pid_t>(pid) ? base::readProcessStat(static_cast<pid_t>(pid)) : std::nullopt;
}

// Locks of this kind belong to the process, so no child inherits one, and they are gone when it is. Closing any
// descriptor of the file would give them back too: there is only this one.
constexpr int FLAGS = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
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

COwnerLock::COwnerLock(const std::string& file, EUse use)
{
    ++g_holders;
    if (use == EUse::LOOK) {
        if (g_owners < 0) g_owners = open(file.c_str(), O_RDONLY | FLAGS);
        return;
    }
    if (g_lock != 0) return;
    if (g_owners >= 0) close(g_owners);  // was opened for a look
    constexpr mode_t OWNER_ONLY = 0600;
    g_owners = open(file.c_str(), O_RDWR | O_CREAT | FLAGS, OWNER_ONLY);
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
    const std::optional<base::SProcessStat> stat = statOf(getpid());
    return {.pid = getpid(),
            .bootId = base::bootId(),
            .startTime = stat ? static_cast<int64_t>(stat->startTime) : SProcessIdentity::UNKNOWN_START,
            .pidNamespace = base::pidNamespace(),
            .lock = g_lock};
}

bool isAlive(const SProcessIdentity& process)
{
    if (process.pid <= 0) return false;
    const EHeld held = isHeld(process.lock);
    if (held == EHeld::YES) return true;
    if (process.bootId != base::bootId()) return false;
    if (!process.pidNamespace.empty() && process.pidNamespace != base::pidNamespace()) return held == EHeld::UNKNOWN;
    const std::optional<base::SProcessStat> stat = statOf(process.pid);
    return stat && !stat->isGone() && std::cmp_equal(stat->startTime, process.startTime);
}

}  // namespace fictl

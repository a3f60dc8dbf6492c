#pragma once

#include <cstdint>
#include <string>

namespace fictl {

/**
 * Names one process for good. A process id alone is used again, also after a restart of the host, and containers that
 * share a catalog each count from 1; what tells a living owner everywhere is the lock that it holds.
 */
struct SProcessIdentity
{
    static constexpr int64_t UNKNOWN_START = -1;  ///< of no living process

    int64_t pid = 0;
    std::string bootId;        ///< changes with every start of the host
    int64_t startTime = 0;     ///< clock ticks since that start
    std::string pidNamespace;  ///< in which the process id counts; empty in a record of an older fictl
    int64_t lock = 0;          ///< byte of the owners' file that the process holds; 0: none

    bool operator==(const SProcessIdentity&) const = default;
};

/**
 * Holds this process's lock in the file in which every living fictl that works on a catalog locks a byte of its own.
 * The system gives the lock back however the process ends. Where it cannot be had, the identity has no lock and the
 * other members have to do. Several at a time share one lock; used by one thread.
 */
class COwnerLock
{
  public:
    enum class EUse
    {
        OWN,   ///< takes a lock
        LOOK,  ///< only lets isAlive see the locks of others; makes no file
    };

    explicit COwnerLock(const std::string& file, EUse use = EUse::OWN);
    ~COwnerLock();
    COwnerLock(const COwnerLock&) = delete;
    COwnerLock& operator=(const COwnerLock&) = delete;
};

/// This process as it is now, with the lock that it holds; to be asked for while a COwnerLock lives.
SProcessIdentity thisProcess();
/// False once the process is gone, also when another one has its id now. A process that is dead but not yet reaped is
/// gone. One of another process-id namespace of this host that holds no lock cannot be seen and counts as alive.
bool isAlive(const SProcessIdentity& process);

}  // namespace fictl

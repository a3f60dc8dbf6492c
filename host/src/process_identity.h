#pragma once

#include <cstdint>
#include <string>

namespace fictl {

/// Names one process of this host for good: a process id alone is used again, also after a restart of the host.
struct SProcessIdentity
{
    int64_t pid = 0;
    std::string bootId;     ///< changes with every start of the host
    int64_t startTime = 0;  ///< clock ticks since that start

    bool operator==(const SProcessIdentity&) const = default;
};

SProcessIdentity thisProcess();
/// False once the process is gone, also when another one has its id now. A process that is dead but not yet reaped is
/// gone.
bool isAlive(const SProcessIdentity& process);

}  // namespace fictl

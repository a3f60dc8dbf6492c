#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace base {

/// What tells one process from every other of this start of the machine: an id alone is used again. From
/// /proc/PID/stat, fields 3 and 22.
struct SProcessStat
{
    char state = 'X';        ///< as ps shows it; 'Z' dead but not yet waited for, 'X' gone
    uint64_t startTime = 0;  ///< clock ticks since the start of the machine

    bool isGone() const { return state == 'Z' || state == 'X'; }
};

/// A process as it is now. One that is gone for certain has state 'X'; nothing when it cannot be told: the program may
/// be out of descriptors, or may not see the process.
/// @throw std::bad_alloc
std::optional<SProcessStat> readProcessStat(pid_t pid);

/// Identity of this start of the machine (/proc/sys/kernel/random/boot_id, without its newline); empty when it cannot
/// be told.
std::string bootId();

/// The process-id namespace that this process's children are counted in, such as "pid:[4026531836]"; empty when it
/// cannot be told.
std::string pidNamespace();

/// The program that runs in this process, without symbolic links; empty, with errno set, when it cannot be told.
std::filesystem::path thisProgram();

}  // namespace base

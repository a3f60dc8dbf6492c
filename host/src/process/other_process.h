#pragma once

#include <cstdint>
#include <vector>

namespace fictl {

/// Thrown by a command that another process has carried out in its place: that one wrote the result.
struct SEndedElsewhere
{
    int exit;
};

/// How often a command may go on in another process.
constexpr int MOST_PROCESSES = 8;

/**
 * Carries this process's command line out again in a child whose process id is none of those taken, and returns the
 * child's exit code. A stop of this process stops the child. No provider may be running. Throws EFictl (EXISTS) when no
 * such child could be had, or when this is the last process that may be tried.
 * @param taken in ascending order
 */
int runInAnotherProcess(const std::vector<int64_t>& taken);

}  // namespace fictl

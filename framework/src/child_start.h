#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace obzx_pdk_4_4 {

/// All that a child needs between its start and its program. Every pointer list ends with a null and belongs to the
/// caller.
struct SChildStart
{
    std::vector<std::string> programs;  ///< paths to try in turn, as a search path gives them
    const char* const* arguments = nullptr;
    const char* const* environment = nullptr;
    const char* directory = nullptr;  ///< null: the host's
    int input = -1;
    int output = -1;  ///< for standard output and standard error
};

/**
 * Starts a program in a process group of its own, with input and output as its only descriptors, no signal blocked and
 * every signal at its default. The child borrows the host's memory until its program runs, so the cost does not grow
 * with it. The program is killed as soon as the thread that started it ends, however that ends: what nobody waits for
 * any more must not go on changing things. 0 and the child's id, or the errno value of what failed.
 */
int startChild(const SChildStart& start, pid_t& pid);

}  // namespace obzx_pdk_4_4

#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace fictl {

/// What is to be started.
struct SChildStart
{
    std::string program;                   ///< its path
    std::vector<std::string> words;        ///< its arguments, the name that it goes by first
    std::vector<std::string> environment;  ///< lines NAME=VALUE on top of this process's own
    int output;                            ///< descriptor that becomes its standard output
    int errors;                            ///< descriptor that becomes its standard error
};

/**
 * Starts a program as the leader of a process group of its own, with an empty standard input, default signal handling
 * and no descriptor but its three. 0 and its process id, or the errno value of what failed.
 */
int startChild(const SChildStart& start, pid_t& pid);

/// The environment of this process with lines added or in place of those of the same names, a null last; refers to the
/// texts of both.
std::vector<char*> environmentWith(const std::vector<std::string>& added);

/// Pointers to the texts, a null last.
std::vector<char*> pointersTo(const std::vector<std::string>& texts);

}  // namespace fictl

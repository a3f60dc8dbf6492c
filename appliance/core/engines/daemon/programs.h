#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace lumora {

bool isOnSearchPath(const std::string& program);

/// Status unusable, with the package to install, when a program that `who` needs is not on the search path.
void checkPrograms(const std::string& who, const std::vector<std::string>& programs);

/// Starts a program of the search path that outlives this process: in a process group of its own, nothing to read, both
/// outputs appended to `log`. Returns its id; who goes on waits for it or leaves it to the system. Status storage when
/// it cannot be started.
pid_t startProgram(const std::vector<std::string>& words, const std::filesystem::path& log);

/// Runs a program to its end. Status storage, with the last line that it wrote to `log`, when it fails or takes longer
/// than `patience`; it is killed then.
void runProgram(const std::vector<std::string>& words, const std::filesystem::path& log,
                std::chrono::milliseconds patience);

/// The last line of a log, without what the program begins its lines with; empty when there is none.
std::string lastLineOf(const std::filesystem::path& log);

}  // namespace lumora

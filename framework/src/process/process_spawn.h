#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "framework/src/process/input_text.h"

namespace obzx_pdk_4_4 {

/// What is to be run. No text holds a NUL.
struct SSpawnRequest
{
    std::vector<std::string> words;        ///< program and arguments; a program without "/" is looked up in PATH
    std::string inputFile;                 ///< empty: nothing to read
    std::string directory;                 ///< empty: the host's
    std::string environment;               ///< "NAME=value" on top of the host's environment; empty: nothing
    SInputText* inputText = nullptr;       ///< receives what the program can read; null: nobody asks
    std::function<bool()> isGivenUp = {};  ///< as that of base::SChildStart
};

/// A program that was started as the leader of its own process group.
struct SSpawned
{
    pid_t pid = -1;
    base::CFileDescriptor output;  ///< standard output and standard error; reads do not wait
};

/// Starts a program. 0, or the errno value of what failed (ECANCELED: it was given up), in which case nothing is left
/// behind.
int spawnProcess(const SSpawnRequest& request, SSpawned& spawned);

}  // namespace obzx_pdk_4_4

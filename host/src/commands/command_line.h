#pragma once

#include <chrono>
#include <string>

#include "host/src/commands/command.h"

namespace fictl {

/// What a command line asks for.
struct SCommandLine
{
    std::string output = "table";  ///< form of standard output: table or json
    std::string provider{};
    std::chrono::seconds timeout{0};
    bool isVerbose = false;
    CommandRun run{};  ///< the command; also for --help and --version, which run as one
};

/// Reads a command line. Throws EFictl (USAGE); output then holds the form that was asked for, as far as it was
/// understood.
void readCommandLine(int argc, char** argv, SCommandLine& line);

}  // namespace fictl

#pragma once

#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "host/src/commands/command.h"

namespace fictl {

/// What a command line asks for.
struct SCommandLine
{
    std::string output = "table";  ///< form of standard output
    std::string provider{};
    std::chrono::seconds timeout{0};
    bool isVerbose = false;
    std::string record{};              ///< file for the conversation with the appliances; empty: none
    bool isDryRun = false;             ///< the command is only to tell what it would do
    bool isChange = false;             ///< the command changes something
    std::set<std::string> secrets{};   ///< options whose values are not repeated
    std::set<std::string> newFiles{};  ///< options whose values are files to write
    CommandRun run{};                  ///< the command; also for --help and --version, which run as one
};

/// Reads a command line. Throws EFictl (USAGE); output then holds the form that was asked for, as far as it was
/// understood.
void readCommandLine(int argc, char** argv, SCommandLine& line);

/// What the last word of an unfinished command line may be.
struct SCompletion
{
    std::vector<std::string> candidates{};  ///< commands, options, or the values that an option takes
    bool isSnapshot = false;                ///< the name of a snapshot of the catalog
};

/// @param words behind "fictl"; not empty, the last one may be
SCompletion completionOf(const std::vector<std::string>& words);

/// The words of a command line as a shell would take them, "..." in place of the value of each option that is secret,
/// and each file to write by its whole path.
std::string shownCommandLine(int argc, char** argv, const SCommandLine& line);

/// The words of a command line without --record, "true" for the value of each option that is secret.
std::vector<std::string> harmlessWords(int argc, char** argv, const std::set<std::string>& secrets);

/// The values of the options that are secret.
std::vector<std::string> secretValues(int argc, char** argv, const std::set<std::string>& secrets);

}  // namespace fictl

#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "host/src/provider_check/check_result.h"

namespace fictl {

/// What a check is made with.
struct SCheckOrder
{
    std::string library;
    std::string second{};  ///< see SCheckSurroundings
    std::string device = "/dev/fictl-check";
    std::string root{};  ///< folder that stands for the root directory; empty: a new one without configuration
    size_t rounds = 50;
    std::chrono::seconds limit{60};  ///< of one check
};

/**
 * Makes a check in a process of its own, another fictl: what the provider does to its process ends there. A check that
 * a signal ends, that ends its process or that is not done in time has failed; the calls that were under way are told.
 * Files are made below the folder only, unless the order names a root. Throws EFictl (IO).
 */
SCheckResult makeCheck(const SProviderCheck& check, const SCheckOrder& order, const std::filesystem::path& folder);

/// Whether this process was started by makeCheck.
bool isCheckProcess(int argc, char* const* argv);
/// The work of such a process; returns its exit code.
int runCheckProcess(int argc, char* const* argv);

}  // namespace fictl

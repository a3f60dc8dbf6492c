#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "host/src/provider_check/call_journal.h"
#include "host/src/provider_check/subject.h"

namespace fictl {

/// What a check works with, in a process of its own.
struct SCheckSurroundings
{
    std::string library;           ///< path
    std::string second;            ///< path of the provider that runs beside it; empty: a copy of the first one
    std::string device;            ///< that is offered to the provider
    std::filesystem::path folder;  ///< of this check alone
    size_t rounds = 0;             ///< how often what may leave something behind is done
    CCallJournal& journal;
    std::string remark{};  ///< what a check that finds nothing wrong has to tell all the same
};

/// One check. It throws SViolation when the provider is wrong, and SNoOccasion when it cannot tell.
struct SProviderCheck
{
    const char* name;
    const char* what;   ///< one line for people
    const char* holds;  ///< the place of docs/host-interface.md that says so
    void (*run)(SCheckSurroundings& surroundings);
};

/// All, in the order in which they run.
std::span<const SProviderCheck> providerChecks();
const SProviderCheck* findProviderCheck(const std::string& name);

// By subject, a source for each.
std::span<const SProviderCheck> libraryChecks();
std::span<const SProviderCheck> argumentChecks();
std::span<const SProviderCheck> orderChecks();
std::span<const SProviderCheck> snapshotChecks();
std::span<const SProviderCheck> messageChecks();
std::span<const SProviderCheck> memoryChecks();
std::span<const SProviderCheck> processChecks();
std::span<const SProviderCheck> sharingChecks();

}  // namespace fictl

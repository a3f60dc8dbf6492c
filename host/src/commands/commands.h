#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/output/progress.h"
#include "host/src/output/result.h"
#include "host/src/snapshot/snapshot_maker.h"

namespace fictl {

/// What every command is given.
struct SContext
{
    std::string provider;  ///< name or path; empty when the user gave none
    CProgress progress{false};
    std::chrono::seconds timeout{0};  ///< of a single appliance command; 0: the provider's own

    /// The provider for a command that is about no record.
    std::string chosenProvider() const { return provider.empty() ? "cdpfi" : provider; }
    /// The provider for a record; throws EFictl (USAGE) when the user gave another one than the record's.
    std::string providerFor(const SSnapshot& snapshot) const;
};

struct SCreateRequest
{
    std::string name;
    std::vector<std::string> devices;
    SHooks hooks;
};

struct SDeleteRequest
{
    std::string name;
    bool forget = false;       ///< drop the record, ask the appliance for nothing
    bool evenIfInUse = false;  ///< delete also what somebody works with
};

// Every command returns what goes to standard output and throws EFictl when it cannot do its work.

SResult showProvider(const SContext& context);
/// Looks at all that a snapshot needs on this host; EExit::FAILED in the result when something is wrong.
SResult runDoctor(const SContext& context);
SResult listDevices(const SContext& context, const std::vector<std::string>& devices);

SResult createSnapshot(const SContext& context, const SCreateRequest& request);
SResult listSnapshots();
SResult showSnapshot(const std::string& name);
SResult importSnapshot(const SContext& context, const std::string& name);
SResult releaseSnapshot(const SContext& context, const std::string& name, bool evenIfInUse);
SResult deleteSnapshot(const SContext& context, const SDeleteRequest& request);
/// An empty file means standard output: the document is the command's result. force replaces a file that is there.
SResult exportSnapshot(const std::string& name, const std::string& file, bool force);
/// "-" means standard input.
SResult receiveSnapshot(const SContext& context, const std::string& file);

/// Throws EFictl (USAGE) when the text cannot be a snapshot's name.
void requireSnapshotName(const std::string& name);
/// Throws EFictl (USAGE) for an unusable or repeated device path.
void requireDevices(const std::vector<std::string>& devices);

}  // namespace fictl

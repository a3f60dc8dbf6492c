#pragma once

#include <string>
#include <vector>

#include "host/src/progress.h"
#include "host/src/result.h"
#include "host/src/snapshot_maker.h"
#include "host/src/snapshot_record.h"

namespace fictl {

/// What every command is given.
struct SContext
{
    std::string provider;  ///< name or path; empty when the user gave none
    CProgress progress{false};

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

// Every command returns what goes to standard output and throws EFictl when it cannot do its work.

SResult showProvider(const SContext& context);
SResult listDevices(const SContext& context, const std::vector<std::string>& devices);

SResult createSnapshot(const SContext& context, const SCreateRequest& request);
SResult listSnapshots();
SResult showSnapshot(const std::string& name);
SResult importSnapshot(const SContext& context, const std::string& name);
/// forget drops the record without asking the appliance for anything.
SResult deleteSnapshot(const SContext& context, const std::string& name, bool forget);
/// An empty file means standard output: the document is the command's result.
SResult exportSnapshot(const std::string& name, const std::string& file);
/// "-" means standard input.
SResult receiveSnapshot(const std::string& file);

/// Throws EFictl (USAGE) when the text cannot be a snapshot's name.
void requireSnapshotName(const std::string& name);
/// Throws EFictl (USAGE) for an unusable or repeated device path.
void requireDevices(const std::vector<std::string>& devices);

}  // namespace fictl

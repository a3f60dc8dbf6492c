#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/src/catalog/catalog.h"
#include "host/src/commands/command.h"
#include "host/src/output/error.h"

namespace fictl {

/// Throws EFictl (USAGE) when the text cannot be a snapshot's name.
void requireSnapshotName(const std::string& name);
/// Throws EFictl (USAGE) for an unusable or repeated device path.
void requireDevices(const std::vector<std::string>& devices);

/// Tells what the command would do to a snapshot, see host/src/dry_run/dry_run.h.
SResult dryRunOf(const SContext& context, const std::string& snapshot, const std::vector<std::string>& devices = {});

/// What a step makes of a record.
struct SStep
{
    EState running;
    EState failed;                       ///< half-way
    std::optional<EState> reached = {};  ///< nothing: the record goes
};

/// The work of a step: changes the record, and says as soon as it changes anything else or asks for it.
using StepWork = std::function<void(SSnapshot& record, bool& isTouched)>;

/**
 * Does the work on a record that was taken for it and enters what that has come to: the state reached, or why it
 * failed; a failure before anything was touched leaves the record as it was before it was taken. Returns the record.
 * Throws as the work and the catalog do.
 */
SSnapshot workOn(CCatalog& catalog, const SSnapshot& before, const SStep& step, const StepWork& work);

}  // namespace fictl

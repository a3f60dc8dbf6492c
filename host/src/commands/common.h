#pragma once

#include <string>
#include <vector>

#include "host/src/catalog/catalog.h"
#include "host/src/output/error.h"

namespace fictl {

/// Throws EFictl (USAGE) when the text cannot be a snapshot's name.
void requireSnapshotName(const std::string& name);
/// Throws EFictl (USAGE) for an unusable or repeated device path.
void requireDevices(const std::vector<std::string>& devices);

/// Throws EFictl (IO) with errno's reason: "cannot open FILE: Permission denied".
[[noreturn]] void failFile(const std::string& doing, const std::string& file);

/// How a step on a taken record ended that failed.
struct SFailedStep
{
    const SSnapshot& before;  ///< the record as it was taken
    SSnapshot& record;        ///< as the step left it
    bool isTouched;           ///< whether the step has changed anything, or asked for it
    EState state;             ///< of a record whose step failed half-way
};

/// Enters it: a step that has changed nothing leaves the record as it was.
void enterFailure(CCatalog& catalog, const SFailedStep& step, const EFictl& error);

}  // namespace fictl

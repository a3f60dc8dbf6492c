#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "host/src/output/progress.h"
#include "host/src/output/result.h"

namespace fictl {

struct SDryRunOrder
{
    std::vector<std::string> words;  ///< the command line, without what may be secret
    std::string provider;            ///< name or path; empty: that of the record, or the usual one
    std::chrono::seconds timeout;
    const CProgress& progress;
    std::string snapshot;
    std::vector<std::string> devices;  ///< of a creation
};

/**
 * Tells what a command would ask the appliances, and what would come of it: the command is carried out by another fictl
 * with the real provider, in a root of its own, on an embedded appliance that is filled with what the inspector tells
 * of the real ones (lmadm shadow). Nothing else is asked of those, and nothing is changed: catalog, history, disks; no
 * freeze or thaw command runs. Throws EFictl (FAILED) where the inspector does not tell what the command is about, and
 * where the embedded appliance is not installed.
 */
SResult dryRun(const SDryRunOrder& order);

}  // namespace fictl

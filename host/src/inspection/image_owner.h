#pragma once

#include <string>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/inspection/inspection.h"

namespace fictl {

/// Whose the time image of a group's checkpoint is.
enum class EImageOwner
{
    NONE,     ///< there is no such image
    OURS,     ///< this record's import made it, and it is granted to this host alone
    OTHERS,   ///< somebody else works with it
    UNKNOWN,  ///< that cannot be told
};

struct SImageOwner
{
    EImageOwner owner = EImageOwner::UNKNOWN;
    std::string image;
    std::string holder;   ///< OTHERS: who works with it, such as `host "backup"`
    bool isHere = false;  ///< OTHERS: it is granted to this very host, for another catalog
    std::string doubt;    ///< UNKNOWN: why
};

/**
 * Tells whose an image is from what the record knows and what is on the appliance now. A host that was granted the
 * whole group is no holder of each image in it. Where the image itself cannot be looked at, it is known to be this
 * record's when the record has imported a copy and either its disk still shows here, or no other host has the record.
 * @param why there is no inspection
 */
SImageOwner findImageOwner(const SSnapshot& snapshot, const GroupKey& group, const SInspection* inspection,
                           const std::string& why);

/// Hosts as they stand in a message: `host "a"`, `hosts "a", "b"`, or `no host`.
std::string hostsText(const std::set<std::string>& hosts);

}  // namespace fictl

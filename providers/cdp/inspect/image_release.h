#pragma once

#include "providers/cdp/inspect/inspection.h"

namespace cdpfi::inspect {

/// A time image that is to be deleted, and what became of that.
struct SImageRelease
{
    std::string appliance;
    std::string group;
    std::string image;
    CReason problem;                ///< why it may still be there; empty: it is gone
    std::optional<int> exitStatus;  ///< of the delete command, when it was sent and ended
    std::string output;             ///< of the same command
    std::vector<SToolRun> runs;     ///< every command that was sent
};

/**
 * Deletes a time image, never the checkpoint that it shows, and looks at a fresh list whether it is gone: whatever the
 * deletion answered, the list decides. An image that was not there is gone, too. Nothing is sent for an appliance that
 * is not configured and for a name that no time image can have.
 * @param timeout seconds for each of the two commands
 */
void releaseImage(SImageRelease& release, uint64_t timeout);

}  // namespace cdpfi::inspect

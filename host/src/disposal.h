#pragma once

#include <string>

#include "host/src/provider.h"
#include "host/src/snapshot_record.h"

namespace fictl {

/// What became of one group's checkpoint and time image.
struct SDisposal
{
    bool confirmed = false;  ///< the appliance has neither of them any more
    int32_t status = 0;
    SApplianceReport report;
};

/**
 * Has the provider delete the time image and the checkpoint of the device's group. The provider's status says nothing
 * of what the appliance answered, so the deletion counts only when no failure was reported, or when the appliance
 * answered that it has no such object.
 */
SDisposal disposeGroup(CProvider& provider, const SDevice& device);

}  // namespace fictl

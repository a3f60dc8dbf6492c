#pragma once

#include "host/src/catalog/snapshot_record.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/provider/provider.h"

namespace fictl {

/// What became of one group's checkpoint and time image.
struct SDisposal
{
    bool confirmed = false;  ///< the appliance has neither of them any more
    int32_t status = 0;
    SApplianceReport report;
};

/**
 * Has the provider delete the time image and then the checkpoint of a device's group, by the appliance, the group and
 * the names that the record holds: where the LUN lives now plays no part. The provider's status says nothing of what
 * the appliance answered. So the deletion counts when every command ended well or was refused with the appliance's own
 * line that this object does not exist, or when a fresh look finds neither object.
 */
SDisposal disposeGroup(CProvider& provider, CKnowledge& knowledge, const SDevice& device);

}  // namespace fictl

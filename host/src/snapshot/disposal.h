#pragma once

#include <functional>
#include <map>

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

/// What is done around the disposal of each group: on any thread, for one group at a time.
struct SDisposalSteps
{
    /// Before a group's turn; when it throws the group is left alone.
    std::function<void(const GroupKey&)> begin;
    /// As soon as a group is confirmed; may be empty.
    std::function<void(const GroupKey&)> confirmed = {};
};

/// Whether the time image of a group's checkpoint is to be deleted, too. Of one that is to stay nothing is sent that
/// names it, so that an image that another host has made meanwhile stays: the appliance then refuses to delete its
/// checkpoint, and the deletion is not confirmed.
enum class EImageDisposal
{
    DELETE,
    KEEP,
};
using DisposalGroups = std::map<GroupKey, EImageDisposal>;

/**
 * Has the provider delete the time images and then the checkpoints of some groups of a snapshot, side by side, by the
 * appliance, the group and the names that the record holds: where the LUNs live now plays no part. The provider's
 * status says nothing of what the appliance answered. So a deletion counts when every command that was run for this
 * group ended well or was refused with the appliance's own line that this object does not exist, or when a fresh look
 * afterwards finds neither object. What the steps throw is thrown again once the other groups are settled.
 */
std::map<GroupKey, SDisposal> disposeOfGroups(CProvider& provider, CKnowledge& knowledge, const SSnapshot& snapshot,
                                              const DisposalGroups& groups, const SDisposalSteps& steps);

}  // namespace fictl

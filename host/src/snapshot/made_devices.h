#pragma once

#include <string>
#include <vector>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/inspection/knowledge.h"
#include "host/src/snapshot/snapshot_maker.h"

namespace fictl {

/**
 * Enters into a record what the provider says of each device: whether its group has the checkpoint, the name and the
 * state of its copy.
 * @param nodes one for each device of the record, in its order
 */
void enterMade(SSnapshot& record, const std::vector<CNode*>& nodes, const SMakeResult& made);

/// Enters when the checkpoints were made, which tells them from later ones of the same names.
void enterCheckpointTimes(SSnapshot& record, const SInspection& seen);

/// Looks at the groups and enters which have no checkpoint: what is on the appliances counts for more than what the
/// provider says of it. Groups that have none although the provider says so, as a list; empty when there are none.
std::string compareWithAppliances(SSnapshot& record, CKnowledge& knowledge);

}  // namespace fictl

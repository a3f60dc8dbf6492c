#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>

#include "host/src/catalog/snapshot_record.h"
#include "host/src/snapshot/snapshot_maker.h"
#include "host/src/text/utc_text.h"

namespace fictl {

/// The run of the command that made a group's checkpoint: the instant that the checkpoint holds lies within it.
struct SCheckpointTime
{
    UtcTime from;
    UtcTime until;
};

/// By group, of those whose command succeeded and was seen by the runtime.
using CheckpointTimes = std::map<GroupKey, SCheckpointTime>;
CheckpointTimes checkpointTimes(const SSnapshot& snapshot, const SMakeResult& made);

/// The most seconds that the instants of the groups can be apart: from the start of the first command to the end of the
/// last. Nothing for a single group, and where not every group's command was seen.
std::optional<double> mostSecondsApart(const SSnapshot& snapshot, const CheckpointTimes& times);

}  // namespace fictl

#include "host/src/snapshot/checkpoint_times.h"

#include <algorithm>

#include "host/src/runs/appliance_answer.h"

namespace fictl {

namespace {

SCheckpointTime timeOf(const SRunRecord& run)
{
    const UtcTime from{std::chrono::seconds(run.startSeconds) + std::chrono::nanoseconds(run.startNanoseconds)};
    return {from, from + run.duration};
}

}  // namespace

CheckpointTimes checkpointTimes(const SSnapshot& snapshot, const SMakeResult& made)
{
    CheckpointTimes times;
    for (const auto& [group, result] : made.groups) {
        const SObjectCommand creation{group.first, "create", "annotation", snapshot.checkpoint, group.second};
        for (const SRunRecord& run : result.report.succeeded) {
            if (run.isInputWhole() && objectCommandOf(run.input) == creation) times.emplace(group, timeOf(run));
        }
    }
    return times;
}

std::optional<double> mostSecondsApart(const SSnapshot& snapshot, const CheckpointTimes& times)
{
    if (times.size() < 2 || times.size() != snapshot.groups().size()) return std::nullopt;
    SCheckpointTime all = times.begin()->second;
    for (const auto& [group, time] : times) {
        all.from = std::min(all.from, time.from);
        all.until = std::max(all.until, time.until);
    }
    return std::chrono::duration<double>(all.until - all.from).count();
}

}  // namespace fictl

#include "host/src/snapshot/checkpoint_times.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "host/src/runs/appliance_answer.h"

namespace fictl {

namespace {

using std::chrono::duration_cast;

SCheckpointTime timeOf(const SRunRecord& run)
{
    const SCheckpointTime::Time from{std::chrono::seconds(run.startSeconds) +
                                     std::chrono::nanoseconds(run.startNanoseconds)};
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

std::string utcText(SCheckpointTime::Time time)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const std::time_t whole = seconds.time_since_epoch().count();
    std::tm parts = {};
    gmtime_r(&whole, &parts);
    std::array<char, 32> text{};
    const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    const auto micros = static_cast<long>(duration_cast<std::chrono::microseconds>(time - seconds).count());
    std::snprintf(text.data() + length, text.size() - length, ".%06ldZ", micros);
    return text.data();
}

}  // namespace fictl

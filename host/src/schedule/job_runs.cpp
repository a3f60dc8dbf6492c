#include "host/src/schedule/job_runs.h"

#include <algorithm>

#include "host/src/catalog/labels.h"
#include "host/src/process/process_identity.h"
#include "host/src/schedule/job_file.h"
#include "host/src/text/shell_words.h"

namespace fictl {

namespace {

// Of several labels of that key a creation is refused, and a rotation finds nothing.
std::optional<std::string> jobOf(const std::vector<std::string>& words)
{
    const std::string begin = std::string(JOB_LABEL) + "=";
    for (const std::string& label : valuesOf(words, "--label")) {
        if (label.starts_with(begin)) return label.substr(begin.size());
    }
    return std::nullopt;
}

ERunEnd endOf(const SHistoryEntry& entry)
{
    if (entry.end) return entry.end->exit == 0 ? ERunEnd::GOOD : ERunEnd::FAILED;
    return isAlive(entry.process) ? ERunEnd::RUNNING : ERunEnd::DID_NOT_END;
}

// Entries stand in the order in which they were made, which is another one where a clock was put right.
void insert(SJobRun run, std::vector<SJobRun>& runs)
{
    const auto place = std::ranges::upper_bound(runs, run.started, {}, &SJobRun::started);
    runs.insert(place, std::move(run));
}

}  // namespace

void addToJobHistory(const SHistoryEntry& entry, SJobHistory& history)
{
    const std::vector<std::string> words = shellWords(entry.command);
    const std::optional<std::string> job = jobOf(words);
    const std::optional<UtcTime> started = utcSecondsOf(entry.started);
    if (!job || !started) return;
    SJobRun run{.started = *started, .end = endOf(entry), .snapshot = entry.snapshot};
    if (entry.end) {
        run.exit = entry.end->exit;
        run.message = entry.end->message;
    }
    if (hasCommand(words, "snapshot", "create")) {
        insert(std::move(run), history.creations[*job]);
    } else if (hasCommand(words, "snapshot", "prune")) {
        if (entry.snapshot.empty()) {
            insert(std::move(run), history.rotations[*job]);
        } else {
            history.lastDeletions[*job][entry.snapshot] = std::move(run);
        }
    }
}

std::vector<SJobRun> creationsOf(const std::string& job, const SJobHistory& history,
                                 const std::vector<SSnapshot>& snapshots, UtcTime now)
{
    const auto known = history.creations.find(job);
    if (known != history.creations.end()) return known->second;
    const SLabelFilter label = {.key = JOB_LABEL, .value = job};
    std::vector<SJobRun> latest;
    for (const SSnapshot& snapshot : snapshots) {
        const std::optional<UtcTime> created = utcSecondsOf(snapshot.created);
        if (!created || *created > now || snapshot.origin != "created" || !snapshot.isWhole()) continue;
        if (!label.matches(snapshot.labels) || (!latest.empty() && latest[0].started > *created)) continue;
        latest = {{.started = *created, .snapshot = snapshot.name}};
    }
    return latest;
}

std::vector<SJobRun> rotationsOf(const std::string& job, const SJobHistory& history)
{
    const auto known = history.rotations.find(job);
    if (known != history.rotations.end()) return known->second;
    std::vector<SJobRun> last;
    const auto deletions = history.lastDeletions.find(job);
    if (deletions == history.lastDeletions.end()) return last;
    for (const auto& [snapshot, deletion] : deletions->second) {
        if (last.empty() || last[0].started < deletion.started) last = {deletion};
    }
    return last;
}

}  // namespace fictl

#include "host/src/schedule/job_runs.h"

#include <algorithm>

#include "host/src/catalog/history_table.h"
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
        history.creations[*job].push_back(std::move(run));
    } else if (hasCommand(words, "snapshot", "prune")) {
        history.lastDeletions[*job][entry.snapshot] = std::move(run);
    }
}

SJobHistory readJobHistory(const base::CSqliteDatabase& database)
{
    SJobHistory history;
    readHistory(database, {}, [&](const SHistoryEntry& entry) { addToJobHistory(entry, history); });
    for (auto& [job, runs] : history.creations) {
        std::ranges::stable_sort(runs, {}, &SJobRun::started);
    }
    return history;
}

}  // namespace fictl

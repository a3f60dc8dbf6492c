#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/sqlite.h"
#include "host/src/catalog/history_entry.h"
#include "host/src/text/utc_text.h"

namespace fictl {

enum class ERunEnd
{
    GOOD,
    FAILED,
    DID_NOT_END,  ///< it was killed
    RUNNING,
};

/// One command of a job.
struct SJobRun
{
    UtcTime started{};
    ERunEnd end = ERunEnd::GOOD;
    int exit = 0;            ///< of one that ended by itself
    std::string snapshot{};  ///< the one that it was to make, or to delete; empty when it did not come to one
    std::string message{};   ///< of the error; empty when there was none
};

/// What the history tells of the commands with a job's label, "--label job=NAME", whoever has started them: a timer,
/// cron, or a person.
struct SJobHistory
{
    std::map<std::string, std::vector<SJobRun>> creations;                ///< by job, in order of their starts
    std::map<std::string, std::map<std::string, SJobRun>> lastDeletions;  ///< of a rotation: by job and snapshot
};

/**
 * Takes the runs out of the history. A creation that did not come as far as the catalog, such as one with a wrong
 * option, is none, nor is one that found its snapshot there already (--if-absent); a rotation is there with each of its
 * deletions and not as such. To be called while a COwnerLock of the catalog lives. Throws base::ESqlite.
 */
SJobHistory readJobHistory(const base::CSqliteDatabase& database);

/// Enters one entry of the history, where it is one of a job.
void addToJobHistory(const SHistoryEntry& entry, SJobHistory& history);

}  // namespace fictl

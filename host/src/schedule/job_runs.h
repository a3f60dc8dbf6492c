#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/src/catalog/history_entry.h"
#include "host/src/catalog/snapshot_record.h"
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
    std::map<std::string, std::vector<SJobRun>> rotations;                ///< likewise
    std::map<std::string, std::map<std::string, SJobRun>> lastDeletions;  ///< of a rotation: by job and snapshot
};

/**
 * Enters one entry of the history, where it is one of a job, whatever was entered before. A command that did not come
 * as far as the catalog, such as one with a wrong option, is no run, nor is a creation that found its snapshot there
 * already (--if-absent). A rotation is there as such, and with each of its deletions. To be called while a COwnerLock
 * of the catalog lives.
 */
void addToJobHistory(const SHistoryEntry& entry, SJobHistory& history);

/// The creations of a job. Where the history knows of none, since its older entries are gone, the latest whole snapshot
/// that was made here with the job's label stands for one; one from after now, whose clock was put right since, tells
/// nothing of a run.
std::vector<SJobRun> creationsOf(const std::string& job, const SJobHistory& history,
                                 const std::vector<SSnapshot>& snapshots, UtcTime now);
/// The rotations of a job. Where the history knows of none, such as that of a fictl which did not enter them, the last
/// deletion stands for one.
std::vector<SJobRun> rotationsOf(const std::string& job, const SJobHistory& history);

}  // namespace fictl

#pragma once

#include <functional>
#include <string>

#include "base/sqlite.h"
#include "host/src/catalog/history_entry.h"

namespace fictl {

/// How much of the history is kept: what is older, or beyond that size, goes when the next entry is made.
struct SHistoryLimits
{
    int64_t days = 400;
    int64_t bytes = int64_t{16} * 1024 * 1024;

    /// HISTORY_DAYS and HISTORY_BYTES in section CATALOG of /etc/qz/fictl.conf; a value that is no number counts as not
    /// set, a smaller one than 1 as 1.
    static SHistoryLimits current();
};

/// Which entries are read.
struct SHistoryFilter
{
    std::string snapshot{};  ///< empty: of every one
    std::string since{};     ///< the earliest start, as it stands in an entry; empty: from the first one on
};

/**
 * The tables history, history_object and history_run. All calls throw base::ESqlite; those that change are to be called
 * within a transaction.
 */
/// Makes an entry without its objects, runs and end, and returns its number.
int64_t enterHistory(base::CSqliteDatabase& database, const SHistoryEntry& entry);
/// Enters further objects of an entry that has no end yet; those that it has stay.
void enterHistoryObjects(base::CSqliteDatabase& database, int64_t id, const std::vector<SHistoryObject>& objects);
/// Gives an entry its end, and what there is to be told by then, for good.
void completeHistory(base::CSqliteDatabase& database, const SHistoryEntry& entry);
/// Takes away the oldest entries that the limits leave no room for.
void trimHistory(base::CSqliteDatabase& database, const SHistoryLimits& limits);

/// Hands out the entries, oldest first.
void readHistory(const base::CSqliteDatabase& database, const SHistoryFilter& filter,
                 const std::function<void(SHistoryEntry entry)>& take);

}  // namespace fictl

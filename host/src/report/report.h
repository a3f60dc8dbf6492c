#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/src/catalog/history_entry.h"
#include "host/src/catalog/record_rows.h"
#include "host/src/catalog/snapshot_record.h"
#include "host/src/reconcile/found_object.h"
#include "host/src/text/utc_text.h"

namespace fictl {

/// What the mark of a checkpoint tells, what deserves a look most last.
enum class EMark
{
    DELETED,    ///< it was there, and its record is gone
    COMPLETE,   ///< it is there, and no copy shows here
    IMPORTED,   ///< its copies show on this host
    UNDER_WAY,  ///< a running fictl is at work on it
    ATTENTION,  ///< something has to be done: it is partial, failed or interrupted
    ORPHAN,     ///< an appliance has it, and no record
};
inline constexpr std::array MARKS = {EMark::DELETED,   EMark::COMPLETE,  EMark::IMPORTED,
                                     EMark::UNDER_WAY, EMark::ATTENTION, EMark::ORPHAN};

/// The mark of a record's state, as it is shown.
EMark markOf(const SSnapshot& snapshot);

/// A snapshot of the catalog, or one that the history tells of.
struct SReportSnapshot
{
    std::string name;
    std::string state{};  ///< as it is shown; "deleted", or "no record" when a record was dropped without a deletion
    EMark mark = EMark::COMPLETE;
    std::string created{};          ///< as the record has it
    std::optional<UtcTime> time{};  ///< the same; nothing for a text that is no time
    std::string deleted{};          ///< when it was deleted; empty when that is not known, and while it is there
    std::vector<GroupKey> groups{};
    size_t devices = 0;
    std::chrono::microseconds frozen{0};  ///< how long the application was; 0 when it was not, or nobody knows
    std::string creator{};
    std::string labels{};
    std::string note{};
    std::string message{};
};

/// How a copy ended.
enum class ECopyEnd
{
    SHOWS,       ///< it has not: it is there
    GIVEN_BACK,  ///< its time image was deleted
    NOT_KNOWN,   ///< it is gone, and nobody knows since when
};

/// A time image of a checkpoint, and so the copies of its LUNs, on the host that had it made.
struct SReportCopy
{
    std::string snapshot;
    GroupKey group;
    std::string host;
    std::optional<UtcTime> from{};   ///< nothing: the history does not reach back to it
    std::optional<UtcTime> until{};  ///< of one whose end is not known when a command was last at work on its snapshot
    ECopyEnd end = ECopyEnd::SHOWS;
    bool isSure = true;  ///< false: it was asked for, and the answer is not known
};

/// A time in which a run of a job was due and none began.
struct SReportGap
{
    std::string job;
    UtcTime from;
    UtcTime until;
};

/// A row of the picture: a consistency group. Its members are places in the lists of the report.
struct SReportLane
{
    GroupKey group;
    std::vector<size_t> snapshots{};  ///< in order of their times, those without one left out
    std::vector<size_t> copies{};     ///< by host, and then by time
    std::vector<size_t> gaps{};
    std::vector<size_t> orphans{};
    size_t present = 0;               ///< checkpoints that are there, also those before the picture
    std::optional<UtcTime> oldest{};  ///< of those
};

/// What the appliances hold and no record has.
struct SReportOrphan
{
    std::string kind;
    std::string klass;  ///< "orphan" or "unknown"
    GroupKey group;
    std::string name;
    std::string time;
    std::string evidence;
};

/// What asking the appliances has told beyond the catalog.
struct SReportLook
{
    std::vector<SReportOrphan> orphans{};
    std::vector<std::string> notTold{};  ///< what was not told, and why
};

/// All that a picture of a host's snapshots shows, without any drawing.
struct SReport
{
    UtcTime from;                              ///< where the picture begins
    UtcTime until;                             ///< and ends: the time of the report
    std::vector<SReportLane> lanes{};          ///< in order of appliances and groups, as people count
    std::vector<SReportSnapshot> snapshots{};  ///< latest first
    std::vector<SReportCopy> copies{};
    std::vector<SReportGap> gaps{};
    std::vector<SUnreadable> unreadable{};
    std::optional<SReportLook> look{};         ///< nothing: nobody has asked the appliances
    size_t present = 0;                        ///< snapshots that have a record, also those before the picture
    size_t earlier = 0;                        ///< those of them that are left out since they were made before it
    std::optional<UtcTime> oldest{};           ///< of all that have a record
    std::array<size_t, MARKS.size()> marks{};  ///< how many there are by mark, also before the picture

    /// Where a time lies in the picture: 0 at its beginning, 1 at its end, not beyond either.
    double placeOf(UtcTime time) const;
    /// The longest freeze of all that is shown; 0 when there was none.
    std::chrono::microseconds longestFreeze() const;
    size_t count(EMark mark) const { return marks.at(static_cast<size_t>(mark)); }
};

/// What a report is made of.
struct SReportSource
{
    const SListing& records;
    const std::vector<SHistoryEntry>& history;  ///< oldest first
    UtcTime now;
    std::string host;                        ///< this one
    std::optional<UtcTime> since{};          ///< what was made before is left out; nothing: all that has a record is in
    bool withDeleted = true;                 ///< also what was deleted within the time of the picture
    std::vector<SReportGap> gaps{};          ///< all that are known
    const SReconciliation* found = nullptr;  ///< null: nobody has asked the appliances
};

/**
 * Makes a report. Depends on nothing but its source: asks for no time, no file and no appliance. A snapshot stands at
 * the time of its record, this host's, in the lane of each of its groups. A gap stands in the lanes of the groups that
 * the latest snapshot with the label "job" of its job has.
 */
SReport makeReport(const SReportSource& source);

}  // namespace fictl

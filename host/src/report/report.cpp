#include "host/src/report/report.h"

#include <algorithm>
#include <map>
#include <set>

#include "host/src/catalog/labels.h"
#include "host/src/report/past.h"
#include "host/src/schedule/job_file.h"
#include "host/src/text/display_text.h"

namespace fictl {

namespace {

/// Appliances and groups as people count.
struct SGroupOrder
{
    bool operator()(const GroupKey& a, const GroupKey& b) const
    {
        const SNameOrder isBefore;
        return a.first == b.first ? isBefore(a.second, b.second) : isBefore(a.first, b.first);
    }
};

std::optional<UtcTime> earlier(std::optional<UtcTime> a, std::optional<UtcTime> b)
{
    return a && b ? std::min(*a, *b) : a ? a : b;
}

// Whether an appliance has it, and no record.
bool isNobodys(const SFoundObject& object)
{
    const bool isOnAppliance = object.kind == EObjectKind::CHECKPOINT || object.kind == EObjectKind::IMAGE;
    const bool mayBeOurs = object.klass == EObjectClass::ORPHAN || object.klass == EObjectClass::UNKNOWN;
    return isOnAppliance && mayBeOurs && object.record.empty();
}

class CReportMaker
{
  public:
    explicit CReportMaker(const SReportSource& source)
        : m_source(source), m_past(readPast(source.history, source.records, source.host))
    {
        m_report.until = source.now;
        m_report.unreadable = source.records.unreadable;
        for (const SPastCreation& past : m_past.creations) {
            m_freezes[{past.snapshot, past.checkpoint}] = past.frozen;
        }
    }

    SReport make()
    {
        chooseBegin();
        for (const SSnapshot& record : m_source.records.snapshots) {
            addRecord(record);
        }
        if (m_source.withDeleted) addDeleted();
        std::ranges::stable_sort(m_report.snapshots, std::ranges::greater(), &SReportSnapshot::created);
        for (size_t i = 0; i < m_report.snapshots.size(); ++i) {
            enterSnapshot(i);
        }
        addCopies();
        addGaps();
        addLook();
        for (auto& [group, lane] : m_lanes) {
            // The latest were entered first.
            std::ranges::reverse(lane.snapshots);
            m_report.lanes.push_back(std::move(lane));
        }
        return std::move(m_report);
    }

  private:
    bool isWithin(std::optional<UtcTime> time) const { return !time || *time >= m_report.from; }

    SReportLane& lane(const GroupKey& group)
    {
        SReportLane& lane = m_lanes[group];
        lane.group = group;
        return lane;
    }

    // Unless it is given it is the time of the oldest record; without any, that of the oldest that was deleted.
    void chooseBegin()
    {
        std::optional<UtcTime> deleted;
        for (const SSnapshot& record : m_source.records.snapshots) {
            m_report.oldest = earlier(m_report.oldest, utcSecondsOf(record.created));
        }
        for (const SPastCreation& past : m_past.creations) {
            deleted = earlier(deleted, utcSecondsOf(past.started));
        }
        const std::optional<UtcTime> begin = m_source.since ? m_source.since : m_report.oldest;
        m_report.from = std::min(begin.value_or(deleted.value_or(m_source.now)), m_source.now);
    }

    void count(EMark mark) { ++m_report.marks.at(static_cast<size_t>(mark)); }

    std::chrono::microseconds freezeOf(const SSnapshot& record) const
    {
        const auto freeze = m_freezes.find({record.name, record.checkpoint});
        return freeze == m_freezes.end() ? std::chrono::microseconds(0) : freeze->second;
    }

    void addRecord(const SSnapshot& record)
    {
        ++m_report.present;
        count(markOf(record));
        const std::optional<UtcTime> time = utcSecondsOf(record.created);
        for (const GroupKey& group : record.groups()) {
            SReportLane& in = lane(group);
            ++in.present;
            in.oldest = earlier(in.oldest, time);
        }
        if (!isWithin(time)) {
            ++m_report.earlier;
            return;
        }
        const std::set<GroupKey> groups = record.groups();
        m_report.snapshots.push_back({.name = record.name,
                                      .state = record.shownState(),
                                      .mark = markOf(record),
                                      .created = record.created,
                                      .time = time,
                                      .groups = {groups.begin(), groups.end()},
                                      .devices = record.devices.size(),
                                      .frozen = freezeOf(record),
                                      .creator = record.creator,
                                      .labels = labelsText(record.labels),
                                      .note = record.note,
                                      .message = record.message});
    }

    // With those that a look has found without a record.
    std::set<std::pair<GroupKey, std::string>> presentCheckpoints() const
    {
        std::set<std::pair<GroupKey, std::string>> present;
        for (const SSnapshot& record : m_source.records.snapshots) {
            for (const GroupKey& group : record.groups()) {
                present.insert({group, record.checkpoint});
            }
        }
        if (m_source.found == nullptr) return present;
        for (const SFoundObject& object : m_source.found->objects) {
            if (isNobodys(object)) present.insert({object.group, object.name});
        }
        return present;
    }

    void addDeleted()
    {
        const std::set<std::pair<GroupKey, std::string>> present = presentCheckpoints();
        for (const SPastCreation& past : m_past.creations) {
            // What is there is shown as that, whatever the name of its record is by now.
            const bool isPresent = std::ranges::any_of(past.groups, [&](const auto& group) {
                return group.second.empty() && present.contains({group.first, past.checkpoint});
            });
            const std::optional<UtcTime> time = utcSecondsOf(past.started);
            if (past.groups.empty() || isPresent || !time || !isWithin(time)) continue;
            addDeleted(past, *time);
        }
    }

    void addDeleted(const SPastCreation& past, UtcTime time)
    {
        SReportSnapshot snapshot{.name = past.snapshot,
                                 .state = past.isDeleted() ? "deleted" : "no record",
                                 .mark = EMark::DELETED,
                                 .created = past.started,
                                 .time = time,
                                 .frozen = past.frozen,
                                 .creator = past.creator};
        for (const auto& [group, deleted] : past.groups) {
            snapshot.groups.push_back(group);
            snapshot.deleted = std::max(snapshot.deleted, deleted);
        }
        m_report.snapshots.push_back(std::move(snapshot));
        count(EMark::DELETED);
    }

    void enterSnapshot(size_t place)
    {
        const SReportSnapshot& snapshot = m_report.snapshots[place];
        for (const GroupKey& group : snapshot.groups) {
            SReportLane& in = lane(group);
            if (snapshot.time) in.snapshots.push_back(place);
        }
    }

    void addCopies()
    {
        std::set<std::string> names;
        for (const SSnapshot& record : m_source.records.snapshots) {
            names.insert(record.name);
        }
        for (SReportCopy& copy : m_past.copies) {
            const bool isShown = m_source.withDeleted || names.contains(copy.snapshot);
            const bool isPast = copy.end != ECopyEnd::SHOWS && copy.until && *copy.until < m_report.from;
            if (isShown && !isPast) m_report.copies.push_back(std::move(copy));
        }
        const auto isBefore = [](const SReportCopy& a, const SReportCopy& b) {
            return a.host == b.host ? a.from < b.from : SNameOrder()(a.host, b.host);
        };
        std::ranges::stable_sort(m_report.copies, isBefore);
        for (size_t i = 0; i < m_report.copies.size(); ++i) {
            lane(m_report.copies[i].group).copies.push_back(i);
        }
    }

    // The latest record of each job, which tells the groups that the job makes snapshots of.
    std::map<std::string, const SSnapshot*> latestOfJobs() const
    {
        std::map<std::string, const SSnapshot*> latest;
        for (const SSnapshot& record : m_source.records.snapshots) {
            const auto label = record.labels.find(JOB_LABEL);
            if (label == record.labels.end()) continue;
            const SSnapshot*& known = latest[label->second];
            if (known == nullptr || record.created > known->created) known = &record;
        }
        return latest;
    }

    void addGaps()
    {
        const std::map<std::string, const SSnapshot*> latest = latestOfJobs();
        for (const SReportGap& gap : m_source.gaps) {
            if (gap.until < m_report.from) continue;
            if (const auto record = latest.find(gap.job); record != latest.end()) {
                for (const GroupKey& group : record->second->groups()) {
                    lane(group).gaps.push_back(m_report.gaps.size());
                }
            }
            m_report.gaps.push_back(gap);
        }
    }

    void addLook()
    {
        if (m_source.found == nullptr) return;
        SReportLook look;
        for (const SNotTold& each : m_source.found->notTold) {
            const std::string what = each.appliance.empty() ? ""
                                     : each.group.empty()   ? each.appliance + ": "
                                                            : each.appliance + "/" + each.group + ": ";
            look.notTold.push_back(what + each.reason);
        }
        for (const SFoundObject& object : m_source.found->objects) {
            if (!isNobodys(object)) continue;
            lane(object.group).orphans.push_back(look.orphans.size());
            count(EMark::ORPHAN);
            look.orphans.push_back({.kind = kindText(object.kind),
                                    .klass = classText(object.klass),
                                    .group = object.group,
                                    .name = object.name,
                                    .time = object.time,
                                    .evidence = object.evidenceText()});
        }
        m_report.look = std::move(look);
    }

    const SReportSource& m_source;
    SPast m_past;
    SReport m_report;
    std::map<GroupKey, SReportLane, SGroupOrder> m_lanes;
    std::map<std::pair<std::string, std::string>, std::chrono::microseconds> m_freezes;  // by name and checkpoint
};

}  // namespace

EMark markOf(const SSnapshot& snapshot)
{
    if (snapshot.isHeld()) return EMark::UNDER_WAY;
    if (snapshot.isInterrupted()) return EMark::ATTENTION;
    if (snapshot.state == EState::COMPLETE) return EMark::COMPLETE;
    return snapshot.state == EState::IMPORTED ? EMark::IMPORTED : EMark::ATTENTION;
}

double SReport::placeOf(UtcTime time) const
{
    const std::chrono::duration<double> all = until - from;
    const std::chrono::duration<double> part = time - from;
    return all.count() <= 0 ? 1 : std::clamp(part / all, 0.0, 1.0);
}

std::chrono::microseconds SReport::longestFreeze() const
{
    std::chrono::microseconds longest{0};
    for (const SReportSnapshot& snapshot : snapshots) {
        longest = std::max(longest, snapshot.frozen);
    }
    return longest;
}

SReport makeReport(const SReportSource& source)
{
    return CReportMaker(source).make();
}

}  // namespace fictl

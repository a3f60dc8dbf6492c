#include "host/src/report/past.h"

#include <algorithm>
#include <utility>

#include "host/src/provider/naming.h"

namespace fictl {

namespace {

using ObjectKey = std::pair<GroupKey, std::string>;

ObjectKey keyOf(const SHistoryObject& object)
{
    return {{object.appliance, object.group}, object.name};
}

// When the command was over; of one that has no end when it began, which is all that is known.
std::optional<UtcTime> endOf(const SHistoryEntry& entry)
{
    std::optional<UtcTime> time = utcSecondsOf(entry.started);
    if (time && entry.end) *time += entry.end->duration;
    return time;
}

/// Goes through the entries in their order: names of checkpoints and images come again, and mean the latest.
class CPastReader
{
  public:
    void add(const SHistoryEntry& entry)
    {
        for (const SHistoryObject& object : entry.objects) {
            if (object.kind == "checkpoint") {
                addCheckpoint(entry, object);
            } else if (object.kind == "image") {
                addImage(entry, object);
            }
        }
        if (!entry.snapshot.empty()) m_lastWork[entry.snapshot] = endOf(entry);
    }

    SPast finish(const SListing& records, const std::string& host)
    {
        for (const SSnapshot& record : records.snapshots) {
            addShown(record, host);
        }
        for (const auto& [key, place] : m_shown) {
            SReportCopy& copy = m_past.copies[place];
            copy.end = ECopyEnd::NOT_KNOWN;
            const auto last = m_lastWork.find(copy.snapshot);
            copy.until = last == m_lastWork.end() ? copy.from : last->second;
        }
        return std::move(m_past);
    }

  private:
    // The entry's own creation, of which it may tell several groups.
    SPastCreation& creationOf(const SHistoryEntry& entry, const std::string& checkpoint)
    {
        if (m_entry != entry.id || m_past.creations.empty()) {
            m_entry = entry.id;
            m_past.creations.push_back({.snapshot = entry.snapshot,
                                        .checkpoint = checkpoint,
                                        .started = entry.started,
                                        .creator = entry.invoker.text(),
                                        .frozen = entry.end ? entry.end->frozen : std::chrono::microseconds(0)});
        }
        return m_past.creations.back();
    }

    void addCheckpoint(const SHistoryEntry& entry, const SHistoryObject& object)
    {
        const ObjectKey key = keyOf(object);
        if (object.verb == "create") {
            SPastCreation& creation = creationOf(entry, object.name);
            if (object.outcome != EOutcome::SURE) return;
            creation.groups.emplace(key.first, "");
            m_made[key] = m_past.creations.size() - 1;
            return;
        }
        const auto made = m_made.find(key);
        if (object.outcome != EOutcome::SURE || made == m_made.end()) return;
        SPastCreation& creation = m_past.creations[made->second];
        if (m_entry == entry.id) {
            creation.groups.erase(key.first);  // it was taken back at once
        } else {
            creation.groups[key.first] = entry.started;
        }
        m_made.erase(made);
    }

    void addImage(const SHistoryEntry& entry, const SHistoryObject& object)
    {
        const ObjectKey key = keyOf(object);
        const auto shown = m_shown.find(key);
        const bool isSure = object.outcome == EOutcome::SURE;
        if (object.verb == "create" && object.outcome != EOutcome::REFUSED) {
            if (shown != m_shown.end()) {
                m_past.copies[shown->second].isSure |= isSure;
                return;
            }
            m_shown[key] = m_past.copies.size();
            m_past.copies.push_back({.snapshot = entry.snapshot,
                                     .group = key.first,
                                     .host = entry.invoker.host,
                                     .from = utcSecondsOf(entry.started),
                                     .isSure = isSure});
        } else if (object.verb == "delete" && isSure && shown != m_shown.end()) {
            m_past.copies[shown->second].end = ECopyEnd::GIVEN_BACK;
            m_past.copies[shown->second].until = endOf(entry);
            m_shown.erase(shown);
        }
    }

    // What the record has as imported shows, whatever the history tells; so may what is being imported.
    void addShown(const SSnapshot& record, const std::string& host)
    {
        for (const GroupKey& group : record.groups()) {
            const bool isImported = record.isImported(group);
            if (!isImported && !(record.isHeld() && record.isImageAsked(group))) continue;
            const auto shown = m_shown.find({group, naming::imageOfCheckpoint(record.checkpoint)});
            if (shown != m_shown.end()) {
                m_past.copies[shown->second].isSure |= isImported;
                m_shown.erase(shown);
            } else if (isImported) {
                m_past.copies.push_back({.snapshot = record.name, .group = group, .host = host});
            }
        }
    }

    SPast m_past;
    int64_t m_entry = 0;
    std::map<ObjectKey, size_t> m_made;                        // checkpoints that are there: the creation
    std::map<ObjectKey, size_t> m_shown;                       // images that are there: the copy
    std::map<std::string, std::optional<UtcTime>> m_lastWork;  // by snapshot
};

}  // namespace

bool SPastCreation::isDeleted() const
{
    return std::ranges::none_of(groups, [](const auto& group) { return group.second.empty(); });
}

SPast readPast(const std::vector<SHistoryEntry>& history, const SListing& records, const std::string& host)
{
    CPastReader reader;
    for (const SHistoryEntry& entry : history) {
        reader.add(entry);
    }
    return reader.finish(records, host);
}

}  // namespace fictl

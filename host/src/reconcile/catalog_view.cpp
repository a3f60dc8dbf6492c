#include "host/src/reconcile/catalog_view.h"

#include <algorithm>

#include "host/src/catalog/history_table.h"
#include "host/src/catalog/record_json.h"
#include "host/src/output/result.h"
#include "host/src/provider/naming.h"
#include "host/src/text/plain_text.h"

#include <nlohmann/json.hpp>

namespace fictl {

namespace {

bool isOwn(const SProcessIdentity& process)
{
    const SProcessIdentity own = thisProcess();
    return process.pid == own.pid && process.bootId == own.bootId && process.startTime == own.startTime;
}

bool isSame(const SSnapshot& one, const SSnapshot& other)
{
    return snapshotJson(one) == snapshotJson(other) && one.owner == other.owner;
}

}  // namespace

const SSnapshot* SCatalogView::record(const std::string& name) const
{
    const auto found = std::find_if(records.snapshots.begin(), records.snapshots.end(),
                                    [&](const SSnapshot& snapshot) { return snapshot.name == name; });
    return found == records.snapshots.end() ? nullptr : &*found;
}

SCatalogView viewCatalog()
{
    CCatalogReader catalog;
    SCatalogView view;
    view.path = catalog.path();
    view.records = catalog.list();
    if (catalog.isThere()) {
        catalog.read([&](const base::CSqliteDatabase& database) {
            view.history.clear();
            readHistory(database, {}, [&](SHistoryEntry entry) { view.history.push_back(std::move(entry)); });
        });
    }
    // Only as long as the catalog is open can the locks of others be seen.
    for (const SSnapshot& record : view.records.snapshots) {
        if (record.isHeld() && !isOwn(record.owner)) view.held.insert(record.name);
    }
    for (const SHistoryEntry& entry : view.history) {
        if (!entry.end && isAlive(entry.process) && !isOwn(entry.process)) view.running.insert(entry.id);
    }
    return view;
}

CUnderWay::CUnderWay(const SCatalogView& before, const SCatalogView& after)
{
    for (const SCatalogView* const view : {&before, &after}) {
        for (const SSnapshot& record : view->records.snapshots) {
            if (!view->held.contains(record.name)) continue;
            addRecord(record, "process " + std::to_string(record.owner.pid) + " is at work on record \"" + record.name +
                                  "\" (" + record.shownState() + ")");
        }
        for (const SSnapshot& record : view->records.snapshots) {
            const SSnapshot* const other = (view == &before ? after : before).record(record.name);
            if (other == nullptr || !isSame(record, *other)) {
                addRecord(record, "record \"" + record.name + "\" was changed during the look");
            }
        }
    }
    const int64_t last = before.history.empty() ? 0 : before.history.back().id;
    for (const SHistoryEntry& entry : after.history) {
        const bool isLater = entry.id > last && !isOwn(entry.process);
        if (!isLater && !before.running.contains(entry.id) && !after.running.contains(entry.id)) continue;
        m_entries.insert(entry.id);
        for (const SHistoryObject& object : entry.objects) {
            m_objects.emplace(std::pair(GroupKey(object.appliance, object.group), object.kind + " " + object.name),
                              "entry " + std::to_string(entry.id) + " of the history, process " +
                                  std::to_string(entry.process.pid) + ", is under way: " + printable(entry.command));
        }
    }
}

void CUnderWay::addRecord(const SSnapshot& record, const std::string& what)
{
    m_records.emplace(record.name, what);
    for (const GroupKey& group : record.groups()) {
        m_objects.emplace(std::pair(group, "checkpoint " + record.checkpoint), what);
        m_objects.emplace(std::pair(group, "image " + naming::imageOfCheckpoint(record.checkpoint)), what);
    }
}

std::string CUnderWay::ofRecord(const std::string& name) const
{
    const auto found = m_records.find(name);
    return found == m_records.end() ? "" : found->second;
}

std::string CUnderWay::ofObject(const std::string& kind, const GroupKey& group, const std::string& name) const
{
    const auto found = m_objects.find({group, kind + " " + name});
    return found == m_objects.end() ? "" : found->second;
}

}  // namespace fictl

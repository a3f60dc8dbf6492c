#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "host/src/catalog/catalog_failure.h"
#include "host/src/catalog/catalog_reader.h"
#include "host/src/catalog/record_json.h"
#include "host/src/commands/commands.h"
#include "host/src/output/progress.h"
#include "host/src/text/display_text.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string groupNames(const SSnapshot& snapshot)
{
    std::set<std::string, SNameOrder> names;
    for (const GroupKey& group : snapshot.groups()) {
        names.insert(group.first + "/" + group.second);
    }
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ",") + name;
    }
    return list;
}

// Says on standard error what is missing from the table.
json unreadableJson(const SListing& listing)
{
    json list = json::array();
    for (const SUnreadable& entry : listing.unreadable) {
        list.push_back({{"name", entry.name}, {"reason", entry.reason}});
        CProgress::warn(quotedSnapshot(entry.name) + " cannot be read: " + printable(entry.reason) +
                        "; fictl catalog check tells more");
    }
    return list;
}

SResult listSnapshots(const SContext& /*context*/)
{
    CCatalogReader catalog;
    json summaries = json::array();
    Rows rows = {{"NAME", "STATE", "CREATED", "DEVICES", "GROUPS"}};
    SListing listing = catalog.list();
    std::vector<SSnapshot>& snapshots = listing.snapshots;
    std::sort(snapshots.begin(), snapshots.end(),
              [](const SSnapshot& a, const SSnapshot& b) { return SNameOrder()(a.name, b.name); });
    for (const SSnapshot& snapshot : snapshots) {
        summaries.push_back(summaryJson(snapshot));
        rows.push_back({snapshot.name, snapshot.shownState(), snapshot.created, std::to_string(snapshot.devices.size()),
                        groupNames(snapshot)});
    }
    SResult result =
        resultOf({{"snapshots", std::move(summaries)}, {"unreadable", unreadableJson(listing)}}, formatTable(rows));
    // The others are told all the same.
    if (!listing.unreadable.empty()) result.exit = EExit::CATALOG;
    return result;
}

SResult showSnapshot(const std::string& name)
{
    CCatalogReader catalog;
    const SSnapshot snapshot = catalog.get(name);
    Rows head = {
        {"SNAPSHOT", snapshot.name},   {"STATE", snapshot.shownState()},    {"PROVIDER", snapshot.provider},
        {"CREATED", snapshot.created}, {"CHECKPOINT", snapshot.checkpoint}, {"ORIGIN", snapshot.origin},
    };
    if (!snapshot.message.empty()) head.push_back({"MESSAGE", snapshot.message});
    if (!snapshot.thaw.empty()) head.push_back({"THAW", snapshot.thaw});
    Rows rows = {{"DEVICE", "APPLIANCE", "GROUP", "SERIAL", "MADE", "IMPORTED AS", "TARGET"}};
    for (const SDevice& device : snapshot.devices) {
        rows.push_back({device.source, device.state.applianceName, device.state.consistencyGroup, device.state.serialNo,
                        madeText(device.made), device.importPath, device.target});
    }
    return snapshotResult(snapshot, formatValues(head) + "\n" + formatTable(rows));
}

}  // namespace

CommandRun declareList(COptions& /*options*/)
{
    return listSnapshots;
}

CommandRun declareShow(COptions& options)
{
    const auto name = std::make_shared<std::string>();
    options.word("NAME", *name, COptions::EGiven::MUST_BE, "Name of the snapshot");
    return [name](const SContext&) { return showSnapshot(*name); };
}

}  // namespace fictl

#include "host/src/catalog/record_json.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace fictl {

namespace {

json stateJson(const SNodeState& state)
{
    return {{"ApplianceType", state.applianceType},       {"ApplianceName", state.applianceName},
            {"ConsistencyGroup", state.consistencyGroup}, {"TimeImage", state.timeImage},
            {"CheckPointName", state.checkPointName},     {"SerialNo", state.serialNo}};
}

json deviceJson(const SDevice& device)
{
    return {{"source", device.source},
            {"node", device.node},
            {"serial", device.state.serialNo},
            {"appliance", device.state.applianceName},
            {"group", device.state.consistencyGroup},
            {"checkpoint", device.state.checkPointName},
            {"target", device.target},
            {"made", madeText(device.made)},
            {"made_at", textOrNull(device.madeAt)},
            {"import_path", textOrNull(device.importPath)},
            {"node_state", stateJson(device.state)}};
}

json groupsJson(const SSnapshot& snapshot)
{
    json groups = json::array();
    for (const GroupKey& key : snapshot.groups()) {
        EMade made = EMade::NO;
        for (const SDevice& device : snapshot.devices) {
            if (device.group() == key && (made == EMade::NO || device.made == EMade::YES)) made = device.made;
        }
        groups.push_back({{"appliance", key.first}, {"group", key.second}, {"made", madeText(made)}});
    }
    return groups;
}

}  // namespace

json summaryJson(const SSnapshot& snapshot)
{
    return {{"name", snapshot.name},
            {"state", snapshot.shownState()},
            {"provider", snapshot.provider},
            {"origin", snapshot.origin},
            {"created", snapshot.created},
            {"checkpoint", snapshot.checkpoint},
            {"groups", groupsJson(snapshot)},
            {"device_count", snapshot.devices.size()},
            {"labels", snapshot.labels},
            {"note", textOrNull(snapshot.note)},
            {"creator", textOrNull(snapshot.creator)}};
}

json snapshotJson(const SSnapshot& snapshot)
{
    json document = summaryJson(snapshot);
    document["message"] = textOrNull(snapshot.message);
    document["thaw_command"] = textOrNull(snapshot.thaw);
    document["devices"] = json::array();
    for (const SDevice& device : snapshot.devices) {
        document["devices"].push_back(deviceJson(device));
    }
    return document;
}

SResult snapshotResult(const SSnapshot& snapshot, std::string text)
{
    return resultOf({{"snapshot", snapshotJson(snapshot)}}, std::move(text));
}

}  // namespace fictl

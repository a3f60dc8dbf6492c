#include "host/src/commands.h"
#include "host/src/node_tree.h"
#include "host/src/record_json.h"
#include "host/src/signals.h"

namespace fictl {

SResult listDevices(const SContext& context, const std::vector<std::string>& devices)
{
    requireDevices(devices);
    context.progress.step("start provider");
    CProvider provider(context.chosenProvider());
    CNodeTree tree(provider);
    SResult result;
    result.document = {{"devices", json::array()}};
    std::vector<std::vector<std::string>> rows = {{"DEVICE", "CLAIMED", "APPLIANCE", "GROUP", "SERIAL"}};
    for (const std::string& device : devices) {
        stopPoint();
        context.progress.step("ask for " + device);
        const SOffer offer = tree.offer(device);
        if (!offer.claimed) {
            result.document["devices"].push_back({{"device", device}, {"claimed", false}, {"reason", offer.reason}});
            rows.push_back({device, "no", "", "", ""});
            continue;
        }
        const SNodeState state = tree.add(offer).state();
        result.document["devices"].push_back({{"device", device},
                                              {"claimed", true},
                                              {"node", offer.node},
                                              {"appliance", state.applianceName},
                                              {"appliance_type", state.applianceType},
                                              {"group", state.consistencyGroup},
                                              {"serial", state.serialNo}});
        rows.push_back({device, "yes", state.applianceName, state.consistencyGroup, state.serialNo});
    }
    // A provider that could not read an appliance's inventory serves none of its devices.
    const std::string report = reportText(provider.takeReport());
    if (!report.empty())
        CProgress::warn("an appliance did not answer everything\n" + report.substr(0, report.size() - 1));
    result.text = formatTable(rows);
    return result;
}

}  // namespace fictl

#include <nlohmann/json.hpp>

#include "host/src/commands/commands.h"
#include "host/src/commands/common.h"
#include "host/src/devices/device_list.h"
#include "host/src/devices/device_offer.h"
#include "host/src/guardian/guardian.h"
#include "host/src/inspection/inspector.h"
#include "host/src/output/error.h"
#include "host/src/output/error_text.h"
#include "host/src/process/signals.h"
#include "host/src/provider/node_tree.h"
#include "host/src/provider/provider_library.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

json claimedJson(const std::string& given, const SNamedOffer& named, const SNodeState& state)
{
    return {{"device", given},
            {"path", named.path},
            {"claimed", true},
            {"node", named.offer.node},
            {"appliance", state.applianceName},
            {"appliance_type", state.applianceType},
            {"group", state.consistencyGroup},
            {"serial", state.serialNo}};
}

SResult listNamedDevices(const SContext& context, const std::vector<std::string>& devices)
{
    requireDevices(devices);
    const CGuardian guardian;
    context.progress.step("start provider");
    CProvider provider(context.chosenProvider());
    CNodeTree tree(provider);
    const KnownPaths knownPaths = inspectedPaths(context.chosenProvider(), context.timeout);
    json answers = json::array();
    Rows rows = {{"DEVICE", "CLAIMED", "APPLIANCE", "GROUP", "SERIAL"}};
    for (const std::string& given : devices) {
        stopPoint();
        context.progress.step("ask for " + given);
        const SNamedOffer named = offerByAnyName(tree, given, knownPaths);
        if (!named.offer.claimed) {
            answers.push_back({{"device", given}, {"claimed", false}, {"reason", named.offer.reason}});
            rows.push_back({given, "no", "", "", ""});
            continue;
        }
        const SNodeState state = tree.add(named.offer).state();
        answers.push_back(claimedJson(given, named, state));
        rows.push_back({given, "yes", state.applianceName, state.consistencyGroup, state.serialNo});
    }
    // A provider that could not read an appliance's inventory serves none of its devices.
    const std::string report = reportText(provider.takeReport());
    if (!report.empty()) {
        CProgress::warn("an appliance did not answer everything\n" + report.substr(0, report.size() - 1));
    }
    return resultOf({{"devices", std::move(answers)}}, formatTable(rows));
}

void warnOfSilence(const SInspection& seen)
{
    for (const auto& [name, appliance] : seen.appliances) {
        if (appliance.groupsRead) continue;
        CProgress::warn("appliance \"" + printable(name) + "\" did not tell its groups (" +
                        printable(appliance.reason) + "); its devices are shown as in none");
    }
}

std::string diskReason(const SInspection& seen)
{
    const json& reason = seen.document->at("disks").at("reason");
    return reason.is_string() ? printable(reason.get<std::string>()) : "no reason is told";
}

SResult listAllDevices(const SContext& context)
{
    CInspector inspector(context.chosenProvider(), context.timeout);
    if (!inspector.isThere()) {
        throw EFictl(EExit::USAGE, "device paths are needed: " + inspector.why() + ", which could list all",
                     "fictl device list DEV...");
    }
    const CGuardian guardian;
    context.progress.step("look at the appliances");
    const std::optional<SInspection> seen = inspector.look({});
    stopPoint();
    if (!seen) throw EFictl(EExit::FAILED, inspector.why(), "fictl doctor");
    if (!seen->disksRead) {
        throw EFictl(EExit::FAILED, "the disks of this host could not be read: " + diskReason(*seen), "fictl doctor");
    }
    warnOfSilence(*seen);
    const std::vector<SListedDisk> disks = listDisks(*seen, CProviderLibrary::nameOf(context.chosenProvider()));
    return resultOf({{"devices", devicesJson(disks)}}, formatTable(deviceRows(disks)));
}

}  // namespace

CommandRun declareDeviceList(COptions& options)
{
    const auto devices = std::make_shared<std::vector<std::string>>();
    options.words("DEV", *devices, COptions::EGiven::MAY_BE, "Device paths (all that the provider knows on this host)");
    return [devices](const SContext& context) {
        return devices->empty() ? listAllDevices(context) : listNamedDevices(context, *devices);
    };
}

}  // namespace fictl

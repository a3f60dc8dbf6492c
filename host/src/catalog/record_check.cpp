#include "host/src/catalog/record_check.h"

#include "host/src/output/error.h"
#include "host/src/provider/naming.h"
#include "host/src/provider/usable_names.h"
#include "host/src/text/plain_text.h"

namespace fictl {

namespace {

std::string disagreementOf(const SSnapshot& snapshot, const SDevice& device)
{
    const SNodeState& state = device.state;
    const bool isWhole = !state.applianceName.empty() && !state.consistencyGroup.empty() && !state.serialNo.empty();
    if (!isWhole) return "\"state\" lacks appliance, group or serial";
    if (state.serialNo.find('/') != std::string::npos) return "the serial in \"state\" is a path";
    if (const auto problem = findNameProblem(snapshot.provider, state)) return problem->reason;
    if (state.checkPointName != snapshot.checkpoint) return "\"state\" names another checkpoint";
    if (!state.timeImage.empty()) return "\"state\" names a time image";
    if (naming::serialOfNode(snapshot.provider, device.node) != state.serialNo) {
        return "\"node\" does not belong to the serial in \"state\"";
    }
    if (device.target != naming::targetDevice(snapshot.provider, state.serialNo, snapshot.checkpoint)) {
        return "\"target\" does not belong to serial and checkpoint";
    }
    for (const GroupKey& group : snapshot.groups()) {
        if (state.serialNo == group.second) return "the serial in \"state\" is the name of a group";
    }
    return {};
}

}  // namespace

std::string findDisagreement(const SSnapshot& snapshot)
{
    size_t number = 0;
    for (const SDevice& device : snapshot.devices) {
        ++number;
        const std::string found = disagreementOf(snapshot, device);
        if (!found.empty()) return "device " + std::to_string(number) + ": " + found;
    }
    return {};
}

void requireAgreement(const SSnapshot& snapshot, const char* what)
{
    const std::string found = findDisagreement(snapshot);
    if (found.empty()) return;
    throw EFictl(EExit::BAD_RECORD,
                 "snapshot \"" + snapshot.name + "\": its record does not agree with itself: " + printable(found) +
                     "; nothing was " + what,
                 "fictl snapshot show " + snapshot.name)
        .about(snapshot.name);
}

}  // namespace fictl

#include "host/src/snapshot/lun_place.h"

#include "host/src/provider/naming.h"
#include "host/src/provider/node.h"

namespace fictl {

std::optional<GroupKey> findLunPlace(CProvider& provider, const std::string& serial)
{
    // A node that is named by the serial. An offer would not do: only what reads as a device path is offered.
    CNode node(provider, naming::nodePrefix(provider.name()) + serial);
    if (node.init() != OBZ_OK) return std::nullopt;
    const SNodeState state = node.state();
    return GroupKey(state.applianceName, state.consistencyGroup);
}

}  // namespace fictl

#include "host/src/lun_place.h"

#include "host/src/node_tree.h"

namespace fictl {

std::optional<GroupKey> findLunPlace(CProvider& provider, const std::string& serial)
{
    CNodeTree tree(provider);
    const SOffer offer = tree.offer(serial);
    if (!offer.claimed) return std::nullopt;
    const SNodeState state = tree.add(offer).state();
    return GroupKey(state.applianceName, state.consistencyGroup);
}

}  // namespace fictl

#include "providers/cdp/cdp_node_grouping.h"

namespace cdpfi {

CNodeGrouping::EAdded CNodeGrouping::add(const std::string& appliance, const std::string& group,
                                         const std::string& node)
{
    const auto [groups, newAppliance] = m_appliances.try_emplace(appliance);
    const auto [nodes, newGroup] = groups->second.try_emplace(group);
    nodes->second.push_back(node);
    if (newAppliance) return EAdded::NEW_APPLIANCE;
    return newGroup ? EAdded::NEW_GROUP : EAdded::KNOWN_GROUP;
}

}  // namespace cdpfi

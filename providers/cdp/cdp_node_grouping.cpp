#include "providers/cdp/cdp_node_grouping.h"

namespace cdpfi {

namespace {

// Most nodes belong to a group that is known, whose name is not copied for the look-up.
template <class Map>
typename Map::mapped_type& entryOf(Map& map, std::string_view key, bool& isNew)
{
    const auto place = map.lower_bound(key);
    isNew = place == map.end() || place->first != key;
    return (isNew ? map.emplace_hint(place, key, typename Map::mapped_type()) : place)->second;
}

}  // namespace

CNodeGrouping::EAdded CNodeGrouping::add(std::string_view appliance, std::string_view group, const CString& node)
{
    bool newAppliance = false;
    bool newGroup = false;
    entryOf(entryOf(m_appliances, appliance, newAppliance), group, newGroup).push_back(&node);
    if (newAppliance) return EAdded::NEW_APPLIANCE;
    return newGroup ? EAdded::NEW_GROUP : EAdded::KNOWN_GROUP;
}

}  // namespace cdpfi

#pragma once

#include <map>
#include <string>
#include <vector>

namespace cdpfi {

/// The nodes of one snapshot by appliance and consistency group: names in byte order, nodes in the order of adding.
class CNodeGrouping
{
  public:
    enum class EAdded
    {
        KNOWN_GROUP,
        NEW_GROUP,
        NEW_APPLIANCE
    };
    using CNodes = std::vector<std::string>;
    using CGroups = std::map<std::string, CNodes>;

    EAdded add(const std::string& appliance, const std::string& group, const std::string& node);
    const std::map<std::string, CGroups>& appliances() const { return m_appliances; }

  private:
    std::map<std::string, CGroups> m_appliances;
};

}  // namespace cdpfi

#pragma once

#include <map>
#include <vector>

#include "providers/cdp/model/base_types.h"

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
    using CNodes = std::vector<CString>;
    using CGroups = std::map<CString, CNodes>;

    EAdded add(const CString& appliance, const CString& group, const CString& node);
    const std::map<CString, CGroups>& appliances() const { return m_appliances; }

  private:
    std::map<CString, CGroups> m_appliances;
};

}  // namespace cdpfi

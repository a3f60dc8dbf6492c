#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/**
 * The nodes of one snapshot by appliance and consistency group: names in byte order, nodes in the order of adding. It
 * refers to the nodes' names, which stay where they are as long as it is used.
 */
class CNodeGrouping
{
  public:
    enum class EAdded
    {
        KNOWN_GROUP,
        NEW_GROUP,
        NEW_APPLIANCE
    };
    using CNodes = std::vector<const CString*>;
    using CGroups = std::map<std::string, CNodes, std::less<>>;
    using CAppliances = std::map<std::string, CGroups, std::less<>>;

    /// @throw std::bad_alloc
    EAdded add(std::string_view appliance, std::string_view group, const CString& node);
    const CAppliances& appliances() const { return m_appliances; }

  private:
    CAppliances m_appliances;
};

}  // namespace cdpfi

#pragma once

#include <map>
#include <string>
#include <vector>

#include "pdk/include/cfitracelog.h"
#include "providers/cdp/model/base_appliance.h"

namespace cdpfi {

/**
 * The configured appliances, by name. Filled while the provider starts and read afterwards without locks; a start after
 * an end of the provider reads the configuration again and replaces the appliances that it names.
 *
 * Configuration: the lines of /etc/qz/hls.conf that parseApplianceLine reads; the last of several lines for one name
 * wins.
 */
class CCDPApplianceFactory : public virtual obzx_pdk_4_4::CFiRefCount, public virtual obzx_pdk_4_4::CFiTraceable
{
  public:
    CCDPApplianceFactory();
    ~CCDPApplianceFactory() override;

    /// Where the configuration lies on this host.
    static std::string configurationPath();

    /// Reads the configuration. A file that is missing or names no appliance adds none; nothing is reported.
    void initialize();
    /// Has every appliance read its inventory, in name order. Exceptions of an appliance pass to the caller.
    void initializeAppliances();
    /// The first appliance, in name order, that claims a device; empty when none does.
    CAppliancePtr getClaimAppliance(const CString& device) const;
    /// Empty when there is no such appliance.
    CAppliancePtr getApplianceInstance(const CString& name) const;
    /// In name order.
    std::vector<CAppliancePtr> getApplianceList() const;

  private:
    void addFromLine(const std::string& line);

    std::map<std::string, CAppliancePtr, std::less<>> m_appliances;
};

}  // namespace cdpfi

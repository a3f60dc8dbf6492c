#pragma once

#include <map>
#include <string>
#include <vector>

#include "pdk/include/cfitracelog.h"
#include "providers/cdp/cdp_appliance_types.h"
#include "providers/cdp/model/base_appliance.h"

namespace cdpfi {

/// Who claims a device.
struct SClaim
{
    CAppliancePtr m_appliance;  ///< empty: nobody
    SClaimedDevice m_device;    ///< what the appliance found
};

/**
 * The configured appliances, by name. Filled while the provider starts and read afterwards without locks; a start after
 * an end of the provider reads the configuration again and replaces the appliances that it names.
 *
 * Configuration: the lines of /etc/qz/hls.conf that parseApplianceLine reads for one of the applianceTypes(); the last
 * of several lines for one name wins.
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
    /// Has every appliance read its inventory, in name order; they are asked ahead, several at once. @throw
    /// EDiskListing, and those that follow are not asked
    void initializeAppliances();
    /// The claim of the first appliance, in name order, that claims a device.
    SClaim getClaimAppliance(const CString& device) const;
    /// The group that holds a claimed device: what the claim has found or, while the lines of the look-up are traced,
    /// the same looked for again, so that a trace shows it at every step of an operation.
    CConsistencyGroupPtr getClaimGroup(const SClaim& claim, const CString& device) const;
    /// Empty when there is no such appliance.
    CAppliancePtr getApplianceInstance(const CString& name) const;
    /// In name order.
    std::vector<CAppliancePtr> getApplianceList() const;

  private:
    void addFromLine(const std::string& line, const SCDPApplianceType& type);

    std::map<std::string, CAppliancePtr, std::less<>> m_appliances;
};

}  // namespace cdpfi

#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "providers/cdp/model/base_consistencygroup.h"
#include "providers/cdp/model/base_timeimage.h"

namespace cdpfi {

/// A time image as the appliance lists it.
class CLMRTimeImage : public CBaseTimeImage
{
  public:
    explicit CLMRTimeImage(const CString& name);

    void addDeviceEntry(const CString& sourceSerial, const CString& targetSerial) override;
    /**
     * Grants the time image to a host on the appliance, once. A failure is only traced, and a later call tries again.
     * Without a host or a group nothing is sent.
     */
    void mapHost(CHostPtr host) override;
    /// Does nothing: access is withdrawn from the group, or ends with the time image.
    void unmapHost(CHostPtr host) override;
    void setApplianceName(const CString& name) override;
    CString getName() override;
    std::map<CString, CString> getTargetDeviceMap() override;
    void setConsistencyGroup(CConsistencyGroupPtr group) override;
    CString getTargetDevice(const CString& sourceSerial) override;

  private:
    bool isMapped(const CString& hostName) const;

    CString m_tiName;
    CString m_appName;
    CConsistencyGroupPtr m_group;
    std::vector<CHostPtr> m_mappedHosts;
    std::map<std::string, std::string, std::less<>> m_targetDevices;
};

}  // namespace cdpfi

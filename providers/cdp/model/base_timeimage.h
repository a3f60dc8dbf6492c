#pragma once

#include <map>

#include "framework/include/cfitrace.h"
#include "providers/cdp/model/base_host.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

class CBaseConsistencyGroup;
using CConsistencyGroupPtr =
    obzx_pdk_4_4::CFiSmartPtr<CBaseConsistencyGroup, obzx_pdk_4_4::CFiNullAllocator<CBaseConsistencyGroup>>;

/// A point-in-time image of a consistency group: a LUN for each LUN of the group, with the content of a checkpoint. Its
/// devices are set while it is read from the appliance.
class CBaseTimeImage : public obzx_pdk_4_4::CFiRefCount, public virtual obzx_pdk_4_4::CFiTraceable
{
  public:
    /// Notes which LUN of the image shows a LUN of the group.
    virtual void addDeviceEntry(const CString& sourceSerial, const CString& targetSerial) = 0;
    /// Grants the image to a host; a failure is traced.
    virtual void mapHost(CHostPtr host) = 0;
    /// Takes that grant back.
    virtual void unmapHost(CHostPtr host) = 0;
    /// The appliance that commands go to.
    virtual void setApplianceName(const CString& name) = 0;
    virtual CString getName() = 0;
    /// Source LUN serial to target LUN serial, a copy.
    virtual std::map<CString, CString> getTargetDeviceMap() = 0;
    /// The group that the image belongs to.
    virtual void setConsistencyGroup(CConsistencyGroupPtr group) = 0;
    /// Target LUN serial of one source LUN, empty when the image does not show it. Costs no copy of the whole map, so
    /// that importing all LUNs of a group costs the same for each of them.
    virtual CString getTargetDevice(const CString& sourceSerial) = 0;
};

using CTimeImagePtr = obzx_pdk_4_4::CFiSmartPtr<CBaseTimeImage, obzx_pdk_4_4::CFiNullAllocator<CBaseTimeImage>>;

}  // namespace cdpfi

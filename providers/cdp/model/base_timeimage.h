#pragma once

#include <map>

#include "framework/include/cfitrace.h"
#include "providers/cdp/model/base_host.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

class CBaseConsistencyGroup;
using CConsistencyGroupPtr =
    obzx_pdk_4_4::CFiSmartPtr<CBaseConsistencyGroup, obzx_pdk_4_4::CFiNullAllocator<CBaseConsistencyGroup>>;

/// A point-in-time image of a consistency group.
class CBaseTimeImage : public obzx_pdk_4_4::CFiRefCount, public virtual obzx_pdk_4_4::CFiTraceable
{
  public:
    virtual void addDeviceEntry(const CString& sourceSerial, const CString& targetSerial) = 0;
    virtual void mapHost(CHostPtr host) = 0;
    virtual void unmapHost(CHostPtr host) = 0;
    virtual void setApplianceName(const CString& name) = 0;
    virtual CString getName() = 0;
    /// Source LUN serial to target LUN serial, a copy.
    virtual std::map<CString, CString> getTargetDeviceMap() = 0;
    virtual void setConsistencyGroup(CConsistencyGroupPtr group) = 0;
    /// Target LUN serial of one source LUN, empty when the image does not show it. Costs no copy of the whole map, so
    /// that importing all LUNs of a group costs the same for each of them.
    virtual CString getTargetDevice(const CString& sourceSerial) = 0;
};

using CTimeImagePtr = obzx_pdk_4_4::CFiSmartPtr<CBaseTimeImage, obzx_pdk_4_4::CFiNullAllocator<CBaseTimeImage>>;

}  // namespace cdpfi

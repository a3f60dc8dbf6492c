#pragma once

#include <vector>

#include "framework/include/cfitrace.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// A host that an appliance knows. Made while the inventory is read, not changed after that.
class CBaseHost : public obzx_pdk_4_4::CFiRefCount, public virtual obzx_pdk_4_4::CFiTraceable
{
  public:
    virtual void showHostDetail() = 0;  ///< for people, as trace lines
    /// Names of the groups whose images the host is granted.
    virtual std::vector<CString> getConsGroupList() = 0;
    virtual CString getName() = 0;
    virtual CString getPortNumber() = 0;
    virtual int addPortNumber(CString port) = 0;  ///< always 1
    virtual int removePort(CString port) = 0;     ///< always 1
};

using CHostPtr = obzx_pdk_4_4::CFiSmartPtr<CBaseHost, obzx_pdk_4_4::CFiNullAllocator<CBaseHost>>;

}  // namespace cdpfi

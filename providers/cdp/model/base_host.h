#pragma once

#include <vector>

#include "framework/include/cfitrace.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// A host that an appliance knows.
class CBaseHost : public obzx_pdk_4_4::CFiRefCount, public virtual obzx_pdk_4_4::CFiTraceable
{
  public:
    virtual void showHostDetail() = 0;
    virtual std::vector<CString> getConsGroupList() = 0;
    virtual CString getName() = 0;
    virtual CString getPortNumber() = 0;
    virtual int addPortNumber(CString port) = 0;  ///< 1
    virtual int removePort(CString port) = 0;     ///< 1
};

using CHostPtr = obzx_pdk_4_4::CFiSmartPtr<CBaseHost, obzx_pdk_4_4::CFiNullAllocator<CBaseHost>>;

}  // namespace cdpfi

#pragma once

#include <vector>

#include "framework/include/cfismartptr.h"
#include "providers/cdp/model/base_types.h"

namespace cdpfi {

/// A volume of an appliance.
class CBaseVolume : public obzx_pdk_4_4::CFiRefCount
{
  public:
    virtual void setName(CString name) = 0;
    virtual CString getName() = 0;
    virtual CString getSerNo() = 0;                       ///< LUN serial
    virtual std::vector<CString> getConsGroupList() = 0;  ///< names of the groups that protect it
    virtual CString getSize() = 0;                        ///< as the appliance writes it
};

using CVolumePtr = obzx_pdk_4_4::CFiSmartPtr<CBaseVolume, obzx_pdk_4_4::CFiNullAllocator<CBaseVolume>>;

}  // namespace cdpfi

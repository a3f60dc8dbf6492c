#pragma once

#include <ctime>
#include <map>
#include <vector>

#include "framework/include/cfitrace.h"
#include "providers/cdp/model/base_host.h"
#include "providers/cdp/model/base_timeimage.h"
#include "providers/cdp/model/base_types.h"
#include "providers/cdp/model/base_volume.h"

namespace cdpfi {

/// LUNs that an appliance protects together, and what was made of them: checkpoints and time images.
class CBaseConsistencyGroup : public obzx_pdk_4_4::CFiRefCount, public virtual obzx_pdk_4_4::CFiTraceable
{
  public:
    virtual std::vector<SCDPDeviceInfo> getDeviceList() = 0;
    virtual void addDevice(const CString& device, const CString& serial) = 0;
    virtual std::vector<CVolumePtr> getVolList() = 0;
    virtual CString insertCheckPoint(CString checkpoint, CString timeImage) = 0;
    virtual std::vector<CString> enumerateCheckPoint() = 0;
    /// 0, or the result of the command that failed.
    virtual int createCheckPoint(const CString& name) = 0;
    /// Makes an image of a checkpoint and grants it to a host; empty on failure.
    virtual CTimeImagePtr createTimeImage(const CString& name, const CString& checkpoint, CHostPtr host) = 0;
    virtual void restoreCurrentStore(std::tm time) = 0;
    virtual int deleteTimeImage(CString name) = 0;   ///< always 0; a failure is only traced
    virtual int deleteCheckPoint(CString name) = 0;  ///< always 0; a failure is only traced
    virtual void setName(CString name) = 0;
    virtual void setAppliance(const CString& applianceName) = 0;
    virtual CString getName() = 0;
    virtual void populateTimeImageInformation() = 0;
    /// The image that shows a target device; empty when there is none.
    virtual CTimeImagePtr getAssociatedTimeImage(const CString& device) = 0;
    virtual CTimeImagePtr getTimeImage(const CString& name) = 0;
    virtual CTimeImagePtr getTimeImageFromCheckPoint(const CString& checkpoint) = 0;
    virtual void mapHost(CHostPtr host) = 0;
    virtual void unmapHost(CHostPtr host) = 0;
    virtual std::map<CString, CTimeImagePtr> getTimeImageList() = 0;
};

}  // namespace cdpfi

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

/**
 * LUNs that an appliance protects together, and what was made of them: checkpoints and time images. Name, appliance and
 * devices are set while the appliance reads its inventory; after that any thread may call it.
 *
 * An operation that acts sends one command to the appliance and waits for it; a failure is traced. All may throw
 * std::bad_alloc.
 */
class CBaseConsistencyGroup : public obzx_pdk_4_4::CFiRefCount, public virtual obzx_pdk_4_4::CFiTraceable
{
  public:
    /// The protected LUNs, in the order of the appliance's listing.
    virtual std::vector<SCDPDeviceInfo> getDeviceList() = 0;
    /// Adds a protected LUN at the end; nothing is sent.
    virtual void addDevice(const CString& device, const CString& serial) = 0;
    virtual std::vector<CVolumePtr> getVolList() = 0;
    /// Notes which time image a checkpoint became. @return the name of the entry, empty when it is not kept
    virtual CString insertCheckPoint(CString checkpoint, CString timeImage) = 0;
    /// Names of the checkpoints that are known.
    virtual std::vector<CString> enumerateCheckPoint() = 0;
    /// Fixes the present content of all LUNs under a name. @return 0, or the result of the command that failed
    virtual int createCheckPoint(const CString& name) = 0;
    /// Makes an image of a checkpoint and grants it to a host; empty on failure.
    virtual CTimeImagePtr createTimeImage(const CString& name, const CString& checkpoint, CHostPtr host) = 0;
    /// Sets the LUNs back to what they held at a time.
    virtual void restoreCurrentStore(std::tm time) = 0;
    virtual int deleteTimeImage(CString name) = 0;   ///< always 0; a failure is only traced
    virtual int deleteCheckPoint(CString name) = 0;  ///< always 0; a failure is only traced
    virtual void setName(CString name) = 0;
    /// The appliance that commands go to.
    virtual void setAppliance(const CString& applianceName) = 0;
    virtual CString getName() = 0;
    /// Asks the appliance which time images the group has, and for each of them.
    virtual void populateTimeImageInformation() = 0;
    /// The image that shows a target device, which is a path or a serial; empty when there is none.
    virtual CTimeImagePtr getAssociatedTimeImage(const CString& device) = 0;
    /// The image of that name that is known here; empty when there is none. Nothing is asked.
    virtual CTimeImagePtr getTimeImage(const CString& name) = 0;
    /// The image that was made of a checkpoint by this process; empty when there is none.
    virtual CTimeImagePtr getTimeImageFromCheckPoint(const CString& checkpoint) = 0;
    /// Grants all images of the group to a host.
    virtual void mapHost(CHostPtr host) = 0;
    /// Takes that grant back.
    virtual void unmapHost(CHostPtr host) = 0;
    /// The images that are known here, by name.
    virtual std::map<CString, CTimeImagePtr> getTimeImageList() = 0;
};

}  // namespace cdpfi

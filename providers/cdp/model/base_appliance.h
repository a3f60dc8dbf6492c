#pragma once

#include <ace/SString.h>

#include <vector>

#include "framework/include/cfifim.h"
#include "framework/include/cfitrace.h"
#include "providers/cdp/model/base_claimant.h"
#include "providers/cdp/model/base_consistencygroup.h"
#include "providers/cdp/model/base_host.h"
#include "providers/cdp/model/base_timeimage.h"
#include "providers/cdp/model/base_volume.h"

namespace cdpfi {

/**
 * A CDP appliance as the provider sees it. Built once by initialize(), read afterwards without locks.
 *
 * A "device" is either a path on this host, which contains "/dev/", or the serial of a LUN; group names are accepted
 * where an operation looks for the group of a device. Failures of the appliance are traces and empty results; only a
 * disk listing that cannot be had is an exception.
 */
class CBaseAppliance : public obzx_pdk_4_4::CFiRefCount, public CBaseClaimant, public virtual obzx_pdk_4_4::CFiTraceable
{
  public:
    /// Reads the inventory. @throw EDiskListing
    virtual void initialize() = 0;
    virtual CString getName() = 0;
    virtual std::vector<CVolumePtr> getVolumeList() = 0;
    virtual std::vector<CTimeImagePtr> getTimeImageList() = 0;
    virtual std::vector<CConsistencyGroupPtr> getConsistencyGroupList() = 0;
    virtual long& manageStorage() = 0;  ///< reserved: a number of the appliance's own that nothing reads
    virtual std::vector<CHostPtr> getHostList() = 0;
    /// LUN serial of a device on this host; a text that is no path is taken to be the serial.
    virtual CString findLun(const CString& device) = 0;
    virtual CString getInterposeNodePrefix() = 0;  ///< the name of the product, which is no node prefix of the plug-in
    virtual CString getSplitName() = 0;
    /// The type as the state of a node tells it.
    virtual CString getApplianceType() = 0;
    virtual CString getVersion() = 0;
    /// The appliance's own name, whatever the device.
    virtual CString getApplianceName(const CString& device) = 0;
    /// The snapshot methods that it offers, as nodes are set up with them.
    virtual std::vector<obzx_pdk_4_4::SFiFimInfo> getFims() = 0;
    /// The same as they are enumerated to the host.
    virtual std::vector<obzx_pdk_4_4::CFiFim> getFimList() = 0;
    /// Whether one of the appliance's groups holds the device.
    virtual bool interpose(const CString& device) = 0;
    /// Whether the appliance's shell is usable on this host.
    virtual bool verify() = 0;
    /// The group that holds the device, or has that name; empty when there is none. The first in list order wins.
    virtual CConsistencyGroupPtr getAssociatedConsistencyGroup(const CString& device) = 0;
    virtual CConsistencyGroupPtr getConsistencyGroup(const CString& name) = 0;
    /// The device path on this host that shows a LUN, rescanning the host's disks while it does not show; on failure
    /// false, and the path is empty. @throw EDiskListing
    virtual bool importDevicePath(const CString& lun, CString& devicePath) = 0;
};

using CAppliancePtr = obzx_pdk_4_4::CFiSmartPtr<CBaseAppliance, obzx_pdk_4_4::CFiNullAllocator<CBaseAppliance>>;

}  // namespace cdpfi

#pragma once

#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "providers/cdp/lmr/index/lmr_group_index.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/lmr_appliance_tool.h"
#include "providers/cdp/lmr/lmr_consistencygroup.h"
#include "providers/cdp/lmr/lmr_device_manager.h"
#include "providers/cdp/model/base_appliance.h"

namespace cdpfi {

/**
 * One appliance server: reads its hosts and consistency groups through the appliance's shell and answers which group
 * holds a device. All appliances share the runner of the shell and the device manager.
 */
class CLMRAppliance : public CBaseAppliance
{
  public:
    CLMRAppliance();
    explicit CLMRAppliance(const CString& name);
    ~CLMRAppliance() override;

    /// Sets the shared tools up and reads the inventory. A failed or malformed listing leaves what was read before it.
    /// @throw EDiskListing
    void initialize() override;
    CString getName() override;
    std::vector<CVolumePtr> getVolumeList() override;
    std::vector<CTimeImagePtr> getTimeImageList() override;
    std::vector<CConsistencyGroupPtr> getConsistencyGroupList() override;
    long& manageStorage() override;
    std::vector<CHostPtr> getHostList() override;
    CString findLun(const CString& device) override;
    CString getInterposeNodePrefix() override;
    CString getSplitName() override;
    CString getApplianceType() override;
    CString getVersion() override;
    CString getApplianceName(const CString& device) override;
    std::vector<obzx_pdk_4_4::SFiFimInfo> getFims() override;
    std::vector<obzx_pdk_4_4::CFiFim> getFimList() override;
    bool interpose(const CString& device) override;
    bool verify() override;
    CConsistencyGroupPtr getAssociatedConsistencyGroup(const CString& device) override;
    CConsistencyGroupPtr getConsistencyGroup(const CString& name) override;
    bool importDevicePath(const CString& lun, CString& devicePath) override;

    /// The names that the appliance listed last, in its order.
    virtual std::vector<CString> getConsistencyGroupNameList();
    // Each asks the appliance anew and replaces what was read before; a failure is traced and ends the reading.
    virtual void generateHostList();
    virtual void generateHostNameList();
    // Behind those above, whose places in the table are relied on.
    SClaimedDevice claimDevice(const CString& device) override;
    std::string requiredProgram() override;
    std::shared_ptr<void> readAhead() override;
    void generateConsistencyGroupList();
    void generateConsistencyGroupNameList();

    // The tools that all appliances share; empty before the first one is initialised.
    static const CLMRApplianceToolPtr& getCLMRApplianceToolSingletonPtr();
    static void setCLMRApplianceToolSingletonPtr(const CLMRApplianceToolPtr& tool);
    static const CLMRDeviceManagerPtr& getCLMRDeviceManagerSingletonPtr();
    static void setCLMRDeviceManagerSingletonPtr(const CLMRDeviceManagerPtr& manager);

  private:
    /// Has the appliance list its hosts or groups. @return whether it did; a failure is traced
    bool list(const SLMRCommand& command, CLMRNameParser parse, CLMRAnswer& answer) const;
    bool loadGroup(const CString& name, size_t& bytes);
    void indexGroups();
    bool storeDevices(CLMRConsistencyGroup& group, std::span<const std::string_view> lines);
    void traceLun(const SLMRGroupLun& lun) const;
    bool traceStop(const SLMRGroupListing& listing) const;
    CConsistencyGroupPtr groupOfLun(const CString& deviceId, const CString& device) const;
    CConsistencyGroupPtr walkGroups(const CString& deviceId) const;
    bool walkDevices(const CLMRConsistencyGroup& group, const CString& deviceId) const;

    using CGroupPtr = obzx_pdk_4_4::CFiSmartPtr<CLMRConsistencyGroup>;

    CString m_name;
    std::vector<CVolumePtr> m_volumeList;
    std::map<std::string, CConsistencyGroupPtr, std::less<>> m_groupMap;
    std::vector<CGroupPtr> m_groupList;  // in the order of the names
    std::vector<CString> m_groupNameList;
    std::vector<CHostPtr> m_hostList;
    std::map<std::string, CHostPtr, std::less<>> m_hostMap;
    std::vector<CString> m_hostNameList;
    std::vector<CTimeImagePtr> m_timeImageList;
    long m_storage = 0;
    CLMRGroupIndex m_groupIndex;  // refers to the groups of the list
};

}  // namespace cdpfi

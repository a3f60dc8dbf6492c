#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "providers/cdp/lmr/index/lmr_group_index.h"
#include "providers/cdp/lmr/index/lmr_text_blocks.h"
#include "providers/cdp/lmr/listings/lmr_inventory_listing.h"
#include "providers/cdp/lmr/lmr_commands.h"
#include "providers/cdp/lmr/lmr_time_images.h"
#include "providers/cdp/model/base_consistencygroup.h"

namespace cdpfi {

/**
 * A consistency group of an appliance: turns what the provider asks for into commands of the appliance's shell, and
 * keeps which checkpoint became which time image. Name, appliance and devices are set while the appliance reads its
 * inventory; after that any thread may call it. No lock is held while a command runs.
 */
class CLMRConsistencyGroup : public CBaseConsistencyGroup, public CLMRIndexedGroup
{
  public:
    using CTimeImageMap = std::map<CString, CTimeImagePtr>;

    std::vector<SCDPDeviceInfo> getDeviceList() override;
    void addDevice(const CString& device, const CString& serial) override;
    std::vector<CVolumePtr> getVolList() override;
    CString insertCheckPoint(CString checkpoint, CString timeImage) override;  ///< does nothing
    std::vector<CString> enumerateCheckPoint() override;                       ///< nothing
    int createCheckPoint(const CString& name) override;
    CTimeImagePtr createTimeImage(const CString& name, const CString& checkpoint, CHostPtr host) override;
    void restoreCurrentStore(std::tm time) override;  ///< does nothing
    int deleteTimeImage(CString name) override;
    int deleteCheckPoint(CString name) override;
    void setName(CString name) override;
    void setAppliance(const CString& applianceName) override;
    CString getName() override;
    void populateTimeImageInformation() override;
    CTimeImagePtr getAssociatedTimeImage(const CString& device) override;
    CTimeImagePtr getTimeImage(const CString& name) override;
    CTimeImagePtr getTimeImageFromCheckPoint(const CString& checkpoint) override;
    void mapHost(CHostPtr host) override;
    void unmapHost(CHostPtr host) override;
    CTimeImageMap getTimeImageList() override;

    /// Asks the appliance for a time image; empty when it has none of that name or its listing is malformed. The image
    /// is not entered into the group's map.
    virtual CTimeImagePtr createTimeImageObject(const CString& name);

    void printMap(const CTimeImageMap& images) const;

    // For the appliance that owns the group, without copies.
    const CString& name() const { return m_name; }
    const std::vector<SCDPDeviceInfo>& devices() const { return m_devices; }
    /// Makes room for LUNs that are to be added.
    void reserveDevices(const std::vector<SLMRGroupLun>& luns);
    /// As addDevice, without texts in between.
    void addListedDevice(std::string_view device, std::string_view serial);
    void forEachKey(const std::function<void(std::string_view key)>& action) const override;
    size_t countKeys() const override { return 1 + m_devices.size(); }

  private:
    /// Sends a command to the group's appliance. @return whether it succeeded; a failure is traced
    bool send(const SLMRCommand& command, std::vector<std::string>& lines) const;
    using CPermissionCommand = SLMRCommand (*)(const CString& group, const CString& host);
    void changePermission(const char* operation, CPermissionCommand command, const CHostPtr& host) const;
    CString serialOfDevice(const CString& device) const;
    void printTimeImages();
    bool fillTimeImage(CBaseTimeImage& image, const std::vector<std::string>& lines) const;

    CString m_name;
    CString m_applianceName;
    CLMRTextBlocks m_texts;  // of the devices
    std::vector<SCDPDeviceInfo> m_devices;
    std::vector<CVolumePtr> m_volumes;
    CLMRTimeImages m_timeImages;
};

}  // namespace cdpfi

#include "providers/cdp/lmr/lmr_appliance.h"

#include "framework/include/cficonfiguration.h"
#include "providers/cdp/lmr/listings/lmr_text.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

namespace {

constexpr std::string_view PRODUCT = "Lumora";
constexpr std::string_view PRODUCT_VERSION = "6.5";
constexpr int32_t ACCESS = 3;  // local and remote
constexpr int IMPORT_PASSES = 5;

CLMRApplianceToolPtr g_applianceTool;
CLMRDeviceManagerPtr g_deviceManager;

}  // namespace

CLMRAppliance::CLMRAppliance() = default;

CLMRAppliance::CLMRAppliance(const CString& name) : m_name(copyOf(name)) {}

CLMRAppliance::~CLMRAppliance() = default;

void CLMRAppliance::initialize()
{
    const std::shared_ptr<void> ahead = readAhead();
    const CLMRDeviceManagerPtr devices = CFiContextSingleton<CLMRDeviceManager, CLMRDeviceManager>::instance(false);
    devices->registerTraceLog(m_traceLog);
    const SLMRAnswerBounds bounds = CLMRConfiguration({}).importAnswerBounds();
    devices->setUtility(CLMRConfiguration(m_traceLog).importkforUtilPathInfo());
    devices->setBounds(bounds);
    devices->refresh(false);
    setCLMRDeviceManagerSingletonPtr(devices);

    const CLMRApplianceToolPtr tool = CFiContextSingleton<CLMRApplianceTool, CLMRApplianceTool>::instance(false);
    tool->registerTraceLog(m_traceLog);
    tool->setShell(CLMRConfiguration(m_traceLog).importlmshPathInfo());
    tool->setBounds(bounds);
    setCLMRApplianceToolSingletonPtr(tool);

    generateHostList();
    generateConsistencyGroupList();
}

CString CLMRAppliance::getName()
{
    return copyOf(m_name);
}

std::vector<CVolumePtr> CLMRAppliance::getVolumeList()
{
    return m_volumeList;
}

std::vector<CTimeImagePtr> CLMRAppliance::getTimeImageList()
{
    return m_timeImageList;
}

std::vector<CConsistencyGroupPtr> CLMRAppliance::getConsistencyGroupList()
{
    return {m_groupList.begin(), m_groupList.end()};
}

long& CLMRAppliance::manageStorage()
{
    return m_storage;
}

std::vector<CHostPtr> CLMRAppliance::getHostList()
{
    return m_hostList;
}

CString CLMRAppliance::findLun(const CString& device)
{
    if (bytesOf(device).find("/dev/") == std::string_view::npos) return copyOf(device);
    return g_deviceManager ? g_deviceManager->serialOf(device) : CString();
}

CString CLMRAppliance::getInterposeNodePrefix()
{
    return textOf(PRODUCT);
}

CString CLMRAppliance::getSplitName()
{
    return textOf(PRODUCT);
}

CString CLMRAppliance::getApplianceType()
{
    return textOf(PRODUCT);
}

CString CLMRAppliance::getVersion()
{
    return textOf(PRODUCT_VERSION);
}

CString CLMRAppliance::getApplianceName(const CString& /*device*/)
{
    return copyOf(m_name);
}

std::vector<SFiFimInfo> CLMRAppliance::getFims()
{
    std::vector<SFiFimInfo> fims(1);
    assign(fims[0].m_type, PRODUCT);
    assign(fims[0].m_splitName, PRODUCT);
    assign(fims[0].m_quiesceName, PRODUCT);
    fims[0].m_access = ACCESS;
    return fims;
}

std::vector<CFiFim> CLMRAppliance::getFimList()
{
    return {CFiFim{.m_name = std::string(PRODUCT), .m_version = std::string(PRODUCT_VERSION)}};
}

bool CLMRAppliance::interpose(const CString& device)
{
    return static_cast<bool>(claimDevice(device).m_group);
}

SClaimedDevice CLMRAppliance::claimDevice(const CString& device)
{
    const CString deviceId = findLun(device);
    const CConsistencyGroupPtr group = groupOfLun(deviceId, device);
    if (!group) {
        trace(TRACE_INFO, "CLMRAppliance::interpose Could not find any claiming consistency group");
        return {};
    }
    if (isTraceEnabled(TRACE_INFO)) {
        trace(TRACE_INFO, "CLMRAppliance::interpose Found claiming consistency group [%s]", group->getName());
    }
    return {group, std::string(bytesOf(deviceId))};
}

bool CLMRAppliance::verify()
{
    const std::string shell = fixedShellPath();
    const int result = CFiConfigurationPathTool::verify(textOf(shell));
    trace(TRACE_INFO, "CLMRAppliance::verify - CFiConfigurationPathTool::verify returned value %d for %s", result,
          shell);
    return result == 0;
}

std::string CLMRAppliance::requiredProgram()
{
    return placePath(fixedShellPath());
}

CConsistencyGroupPtr CLMRAppliance::getAssociatedConsistencyGroup(const CString& device)
{
    return groupOfLun(findLun(device), device);
}

CConsistencyGroupPtr CLMRAppliance::groupOfLun(const CString& deviceId, const CString& device) const
{
    if (isTraceEnabled(TRACE_INFO)) {
        trace(TRACE_INFO, "CLMRAppliance::getAssociatedConsistencyGroup - Found DeviceID [%s] for device [%s].",
              deviceId, device);
        return walkGroups(deviceId);
    }
    const uint32_t position = m_groupIndex.find(deviceId);
    return position == CLMRGroupIndex::NO_GROUP ? CConsistencyGroupPtr() : m_groupList[position];
}

CConsistencyGroupPtr CLMRAppliance::getConsistencyGroup(const CString& name)
{
    const auto entry = m_groupMap.find(bytesOf(name));
    return entry == m_groupMap.end() ? CConsistencyGroupPtr() : entry->second;
}

bool CLMRAppliance::importDevicePath(const CString& lun, CString& devicePath)
{
    const CLMRDeviceManagerPtr devices = g_deviceManager;
    for (int pass = 1; devices && pass <= IMPORT_PASSES; ++pass) {
        if (devices->firstPathOf(lun, devicePath)) {
            trace(TRACE_DETAIL, "Found device path [%s] for [%s].", devicePath, lun);
            return true;
        }
        if (pass < IMPORT_PASSES) devices->refresh(true);
    }
    devicePath = "";
    return false;
}

const CLMRApplianceToolPtr& CLMRAppliance::getCLMRApplianceToolSingletonPtr()
{
    return g_applianceTool;
}

void CLMRAppliance::setCLMRApplianceToolSingletonPtr(const CLMRApplianceToolPtr& tool)
{
    g_applianceTool = tool;
}

const CLMRDeviceManagerPtr& CLMRAppliance::getCLMRDeviceManagerSingletonPtr()
{
    return g_deviceManager;
}

void CLMRAppliance::setCLMRDeviceManagerSingletonPtr(const CLMRDeviceManagerPtr& manager)
{
    g_deviceManager = manager;
}

/// The walk behind a look-up, for the lines that it writes; the index gives the same answer without them.
CConsistencyGroupPtr CLMRAppliance::walkGroups(const CString& deviceId) const
{
    for (const CGroupPtr& group : m_groupList) {
        trace(TRACE_INFO,
              "CLMRAppliance::getAssociatedConsistencyGroup - Checking with consistance group [%s] for device [%s].",
              group->name(), deviceId);
        // An empty ID is that of a device nobody knows, so it is no group's either.
        if (group->name() == deviceId && !deviceId.is_empty()) {
            trace(TRACE_INFO, "CLMRAppliance::getAssociatedConsistencyGroup - Found a consistency group [%s]",
                  group->name());
            return group;
        }
        if (walkDevices(*group, deviceId)) return group;
    }
    return {};
}

bool CLMRAppliance::walkDevices(const CLMRConsistencyGroup& group, const CString& deviceId) const
{
    trace(TRACE_INFO, "CLMRAppliance::getAssociatedConsistencyGroup - Found [%d] devices in [%s].",
          group.devices().size(), group.name());
    for (const SCDPDeviceInfo& device : group.devices()) {
        const CString& serial = device.m_serial;
        trace(TRACE_INFO,
              "CLMRAppliance::getAssociatedConsistencyGroup - Checking with volume [%s][%d] for device [%s][%d].",
              serial, serial.length(), deviceId, deviceId.length());
        if (serial != deviceId || deviceId.is_empty()) continue;
        trace(TRACE_INFO, "CLMRAppliance::getAssociatedConsistencyGroup - Found a match between [%s] and [%s].", serial,
              deviceId);
        return true;
    }
    return false;
}

}  // namespace cdpfi

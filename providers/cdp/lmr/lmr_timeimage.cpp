#include "providers/cdp/lmr/lmr_timeimage.h"

#include <algorithm>
#include <string>

#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_command_sending.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

CLMRTimeImage::CLMRTimeImage(const CString& name) : m_tiName(copyOf(name)) {}

void CLMRTimeImage::addDeviceEntry(const CString& sourceSerial, const CString& targetSerial)
{
    m_targetDevices[std::string(bytesOf(sourceSerial))] = bytesOf(targetSerial);
}

void CLMRTimeImage::mapHost(CHostPtr host)
{
    const CFiTraceLogFunction tracer(m_traceLog, "mapHost", __LINE__, __FILE__);
    if (!host || !m_group) {
        trace(TRACE_INVALID, "CLMRTimeImage::mapHost - no host or no consistency group for time image [%s]", m_tiName);
        return;
    }
    const CString hostName = host->getName();
    const CString groupName = m_group->getName();
    trace(TRACE_DETAIL, "CLMRTimeImage::mapHost - m_tiName = [%s]", m_tiName);
    trace(TRACE_DETAIL, "CLMRTimeImage::mapHost - hostName = [%s]", hostName);
    trace(TRACE_DETAIL, "CLMRTimeImage::mapHost - cg = [%s]", groupName);
    trace(TRACE_DETAIL, "CLMRTimeImage::mapHost - m_appName = [%s]", m_appName);
    if (isMapped(hostName)) {
        trace(TRACE_INFO, "CLMRTimeImage::mapHost - Timeimage is already mapped to host. Skipping mask opeartion");
        return;
    }
    const SLMRCommand command = lmr_commands::permitTimeImage(m_tiName, groupName, hostName);
    trace(TRACE_DETAIL, "CLMRTimeImage::mapHost - executing commnand\n[%s]\n", command.m_text);
    std::vector<std::string> lines;
    if (sendCommand(*this, m_appName, command, lines) != 0) {
        trace(TRACE_FAILURE, "Failed to execute command");
        return;
    }
    m_mappedHosts.push_back(host);
}

void CLMRTimeImage::unmapHost(CHostPtr /*host*/) {}

void CLMRTimeImage::setApplianceName(const CString& name)
{
    assign(m_appName, name);
}

CString CLMRTimeImage::getName()
{
    return copyOf(m_tiName);
}

std::map<CString, CString> CLMRTimeImage::getTargetDeviceMap()
{
    std::map<CString, CString> devices;
    for (const auto& [source, target] : m_targetDevices) {
        assign(appendTo(devices, source), target);
    }
    return devices;
}

void CLMRTimeImage::setConsistencyGroup(CConsistencyGroupPtr group)
{
    m_group = group;
}

CString CLMRTimeImage::getTargetDevice(const CString& sourceSerial)
{
    const auto entry = m_targetDevices.find(bytesOf(sourceSerial));
    return entry == m_targetDevices.end() ? CString() : textOf(entry->second);
}

bool CLMRTimeImage::isMapped(const CString& hostName) const
{
    return std::ranges::any_of(m_mappedHosts, [&](const CHostPtr& host) { return host->getName() == hostName; });
}

}  // namespace cdpfi

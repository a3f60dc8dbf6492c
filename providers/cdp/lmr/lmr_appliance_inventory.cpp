// How an appliance reads its hosts and consistency groups.

#include "providers/cdp/lmr/listings/lmr_text.h"
#include "providers/cdp/lmr/lmr_appliance.h"
#include "providers/cdp/lmr/lmr_command_sending.h"
#include "providers/cdp/lmr/lmr_host.h"
#include "providers/cdp/lmr/lmr_read_ahead.h"

namespace cdpfi {

using namespace obzx_pdk_4_4;

std::shared_ptr<void> CLMRAppliance::readAhead()
{
    const std::shared_ptr<CLMRReadAhead> ahead = CLMRReadAhead::ofThread(m_traceLog);
    if (!ahead) return ahead;
    ahead->expectDisks(m_name);
    ahead->expectHosts(m_name);
    ahead->expectGroups(m_name);
    return ahead;
}

std::vector<CString> CLMRAppliance::getConsistencyGroupNameList()
{
    return m_groupNameList;
}

bool CLMRAppliance::list(const SLMRCommand& command, CLMRNameParser parse, CLMRAnswer& answer) const
{
    const bool succeeded =
        sendCommand(*this, m_name, command, answer) == 0 && isWithinBounds(*this, command, answer.lines(), parse);
    if (!succeeded) trace(TRACE_FAILURE, "Failed to execute command");
    return succeeded;
}

void CLMRAppliance::generateHostNameList()
{
    m_hostNameList.clear();
    CLMRAnswer answer;
    if (list(lmr_commands::listHosts(), parseHostName, answer)) m_hostNameList = parseHostNames(answer.lines());
}

void CLMRAppliance::generateHostList()
{
    const std::shared_ptr<CLMRReadAhead> ahead = CLMRReadAhead::ofThread(m_traceLog);
    if (ahead) ahead->expectHosts(m_name);
    generateHostNameList();
    m_hostList.clear();
    m_hostMap.clear();
    for (const CString& name : m_hostNameList) {
        std::vector<std::string> lines;
        const int result = sendCommand(*this, m_name, lmr_commands::showHost(name), lines);
        trace(TRACE_DETAIL, "CLMRApplianceToolCS::instance()->execLMSH Command returned %d", result);
        if (result != 0) {
            trace(TRACE_FAILURE, "Failed to execute command");
            return;
        }
        trace(TRACE_DETAIL, "Creating new object for host");
        CHostPtr host(new CLMRHost(copyOf(name)));
        host->registerTraceLog(m_traceLog);
        m_hostList.push_back(host);
        m_hostMap[std::string(bytesOf(name))] = host;
    }
}

void CLMRAppliance::generateConsistencyGroupNameList()
{
    m_groupNameList.clear();
    CLMRAnswer answer;
    if (!list(lmr_commands::listGroups(), parseGroupName, answer)) return;
    m_groupNameList.reserve(answer.lines().size());
    for (const std::string_view line : answer.lines()) {
        std::string_view name;
        if (parseGroupName(line, name)) {
            appendTo(m_groupNameList, name);
            trace(TRACE_INFO, "CLMRAppliance::generateConsistencyGroupNameList - Found consistency group [%s]", name);
        } else {
            trace(TRACE_INFO,
                  "CLMRAppliance::generateConsistencyGroupNameList - Skipping line [%s] which is not in correct format",
                  line);
        }
    }
}

void CLMRAppliance::generateConsistencyGroupList()
{
    const std::shared_ptr<CLMRReadAhead> ahead = CLMRReadAhead::ofThread(m_traceLog);
    if (ahead) ahead->expectGroups(m_name);
    generateConsistencyGroupNameList();
    m_groupIndex.clear();  // before the groups that it refers to
    m_groupList.clear();
    m_groupMap.clear();
    try {
        size_t bytes = 0;
        for (const CString& name : m_groupNameList) {
            if (!loadGroup(name, bytes)) break;
        }
    } catch (...) {
        indexGroups();  // what was read before stays
        throw;
    }
    indexGroups();
}

/// The index is made of all groups at once: after each run of a tool nothing of it would be in the caches.
void CLMRAppliance::indexGroups()
{
    std::vector<CLMRIndexedGroup*> groups;
    groups.reserve(m_groupList.size());
    for (const CGroupPtr& group : m_groupList) {
        groups.push_back(group.get());
    }
    m_groupIndex.assign(std::move(groups));
}

/// False when the walk over the groups is to stop here.
/// @param bytes of the listings so far
bool CLMRAppliance::loadGroup(const CString& name, size_t& bytes)
{
    trace(TRACE_DETAIL, "CLMRAppliance::generateConsistencyGroupList - Working with CG %s", name);
    CLMRAnswer answer;
    const int result = sendCommand(*this, m_name, lmr_commands::showGroup(name), answer);
    trace(TRACE_DETAIL, "CLMRApplianceToolCS::instance()->execLMSH Command returned %d", result);
    bytes += answer.bytes();
    if (result != 0 || !isWithinInventory(*this, lmr_commands::showGroup(name), bytes)) {
        trace(TRACE_FAILURE, "Failed to execute command");
        return false;
    }
    trace(TRACE_DETAIL, "Creating new object for consistency group");
    const CGroupPtr group(new CLMRConsistencyGroup());
    group->setName(copyOf(name));
    group->setAppliance(m_name);
    group->registerTraceLog(m_traceLog);
    m_groupList.push_back(group);
    m_groupMap.insert_or_assign(m_groupMap.end(), std::string(bytesOf(name)), group);  // names mostly come in order

    trace(TRACE_DETAIL, "Printing the command output");
    if (isTraceEnabled(TRACE_DETAIL)) {
        for (const std::string_view line : answer.lines()) {
            trace(TRACE_DETAIL, "LMR line = [%s]", line);
        }
    }
    return storeDevices(*group, answer.lines());
}

bool CLMRAppliance::storeDevices(CLMRConsistencyGroup& group, std::span<const std::string_view> lines)
{
    const SLMRGroupListing listing = parseGroup(lines);
    if (listing.result == EGroupListing::NO_PROTECTED) {
        trace(TRACE_FAILURE, "Invalid output could not find Protected LUNS section");
        return false;
    }
    if (!listing.hasMonitor) trace(TRACE_INFO, "Could not find monitor LUNs section");
    if (listing.result == EGroupListing::NO_PERMISSION) {
        trace(TRACE_FAILURE, "Invalid output could not find Permission section");
        return false;
    }
    if (listing.result == EGroupListing::NO_STILLMARK) {
        trace(TRACE_FAILURE, "Invalid output could not find Stillmark LUNs section");
        return false;
    }
    trace(TRACE_DETAIL,
          "Found all the sections for consistency group strPosProtectedLUNS = [%d], strPosProtectedLUNS_END = [%d]",
          listing.begin, listing.end);
    group.reserveDevices(listing.luns);
    const bool isTold = isTraceEnabled(TRACE_INFO);
    for (const SLMRGroupLun& lun : listing.luns) {
        if (isTold) traceLun(lun);
        group.addListedDevice(lun.device, lun.serial);
    }
    return traceStop(listing);
}

void CLMRAppliance::traceLun(const SLMRGroupLun& lun) const
{
    trace(TRACE_DETAIL, "Found device name as [%s]", lun.device);
    trace(TRACE_DETAIL, "Found device serial number as [%s]", lun.serial);
    trace(TRACE_INFO, "Found Device name as [%s] with serial number [%s].", lun.device, lun.serial);
}

/// True when the listing was read to its end; else tells why not.
bool CLMRAppliance::traceStop(const SLMRGroupListing& listing) const
{
    if (listing.result == EGroupListing::BAD_DEVICE) {
        trace(TRACE_FAILURE, "Invalid output cound not get device data in line [%s]", listing.badLine);
    } else if (listing.result == EGroupListing::BAD_SERIAL) {
        trace(TRACE_DETAIL, "Found device name as [%s]", listing.badDevice);
        trace(TRACE_FAILURE, "Invalid output cound not get device serial info");
    }
    return listing.result == EGroupListing::COMPLETE;
}

}  // namespace cdpfi

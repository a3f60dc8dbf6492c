#include "providers/cdp/cdp_appliance_factory.h"

#include <memory>
#include <utility>

#include "framework/include/cfistringtool.h"
#include "providers/cdp/cdp_appliance_lines.h"
#include "providers/cdp/cdp_support.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiStringTool;
using obzx_pdk_4_4::CFiTraceLogFunction;
using obzx_pdk_4_4::TRACE_DETAIL;
using obzx_pdk_4_4::TRACE_INFO;

CCDPApplianceFactory::CCDPApplianceFactory() = default;

CCDPApplianceFactory::~CCDPApplianceFactory() = default;

std::string CCDPApplianceFactory::configurationPath()
{
    return applianceListPath();
}

void CCDPApplianceFactory::initialize()
{
    const CFiTraceLogFunction tracer(m_traceLog, "initialize", __LINE__, __FILE__);
    std::vector<std::string> lines;
    CDPSupportFunction::readFile(configurationPath(), lines);
    for (const std::string& line : lines) {
        trace(TRACE_INFO, "CCDPApplianceFactory::initialize - Working with %s", line);
        for (const SCDPApplianceType& type : applianceTypes()) {
            addFromLine(line, type);
        }
    }
}

void CCDPApplianceFactory::addFromLine(const std::string& line, const SCDPApplianceType& type)
{
    const std::optional<SCDPApplianceLine> read = parseApplianceLine(line, type.m_listMark);
    if (!read) return;
    trace(TRACE_DETAIL, "CCDPApplianceFactory::initialize - found entry as %s = %s", read->key, read->value);
    if (read->name.empty()) return;
    const CString name = CFiStringTool::str2tstr(read->name);
    trace(TRACE_DETAIL, "CCDPApplianceFactory::initialize - creating appliance for %s", name);
    const CAppliancePtr appliance = type.m_create(name);
    m_appliances[read->name] = appliance;
    appliance->registerTraceLog(m_traceLog);
}

void CCDPApplianceFactory::initializeAppliances()
{
    const CFiTraceLogFunction tracer(m_traceLog, "initializeAppliances", __LINE__, __FILE__);
    std::vector<std::shared_ptr<void>> ahead;
    for (const auto& entry : m_appliances) {
        ahead.push_back(entry.second->readAhead());
    }
    for (const auto& entry : m_appliances) {
        const CAppliancePtr appliance = entry.second;
        appliance->initialize();
    }
}

SClaim CCDPApplianceFactory::getClaimAppliance(const CString& device) const
{
    const CFiTraceLogFunction tracer(m_traceLog, "getClaimAppliance", __LINE__, __FILE__);
    for (const auto& [name, appliance] : m_appliances) {
        SClaimedDevice claimed = appliance->claimDevice(device);
        const bool claims = static_cast<bool>(claimed.m_group);
        trace(TRACE_INFO, "Got claim [%d] from appliance [%s]", static_cast<int32_t>(claims), name);
        if (claims) return {appliance, std::move(claimed)};
    }
    return {};
}

CConsistencyGroupPtr CCDPApplianceFactory::getClaimGroup(const SClaim& claim, const CString& device) const
{
    return isTraceEnabled(TRACE_INFO) ? claim.m_appliance->getAssociatedConsistencyGroup(device)
                                      : claim.m_device.m_group;
}

CAppliancePtr CCDPApplianceFactory::getApplianceInstance(const CString& name) const
{
    const auto entry = m_appliances.find(bytesOf(name));
    return entry == m_appliances.end() ? CAppliancePtr() : entry->second;
}

std::vector<CAppliancePtr> CCDPApplianceFactory::getApplianceList() const
{
    const CFiTraceLogFunction tracer(m_traceLog, "getApplianceList", __LINE__, __FILE__);
    std::vector<CAppliancePtr> appliances;
    appliances.reserve(m_appliances.size());
    for (const auto& entry : m_appliances) {
        appliances.push_back(entry.second);
    }
    return appliances;
}

}  // namespace cdpfi

#include "providers/cdp/cdp_appliance_factory.h"

#include "framework/include/cfistringtool.h"
#include "providers/cdp/cdp_appliance_lines.h"
#include "providers/cdp/cdp_support.h"
#include "providers/cdp/lmr/lmr_appliance.h"

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
        addFromLine(line);
    }
}

void CCDPApplianceFactory::addFromLine(const std::string& line)
{
    const std::optional<SCDPApplianceLine> read = parseApplianceLine(line);
    if (!read) return;
    trace(TRACE_DETAIL, "CCDPApplianceFactory::initialize - found entry as %s = %s", read->key, read->value);
    if (read->name.empty()) return;
    const CString name = CFiStringTool::str2tstr(read->name);
    trace(TRACE_DETAIL, "CCDPApplianceFactory::initialize - creating appliance for %s", name);
    const CAppliancePtr appliance(new CLMRAppliance(name));
    m_appliances[read->name] = appliance;
    appliance->registerTraceLog(m_traceLog);
}

void CCDPApplianceFactory::initializeAppliances()
{
    const CFiTraceLogFunction tracer(m_traceLog, "initializeAppliances", __LINE__, __FILE__);
    for (const auto& entry : m_appliances) {
        const CAppliancePtr appliance = entry.second;
        appliance->initialize();
    }
}

CAppliancePtr CCDPApplianceFactory::getClaimAppliance(const CString& device) const
{
    const CFiTraceLogFunction tracer(m_traceLog, "getClaimAppliance", __LINE__, __FILE__);
    for (const auto& [name, appliance] : m_appliances) {
        const bool claims = appliance->interpose(device);
        trace(TRACE_INFO, "Got claim [%d] from appliance [%s]", static_cast<int32_t>(claims), name);
        if (claims) return appliance;
    }
    return {};
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

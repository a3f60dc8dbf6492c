// Granting copies to this host, and taking the grant back.
#include "framework/include/cfistringtool.h"
#include "providers/cdp/cdp_host_choice.h"
#include "providers/cdp/cdp_image_lookup.h"
#include "providers/cdp/cdp_operation.h"
#include "providers/cdp/cdp_plugin.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

using obzx_cmn_4_4::CCmnNetwork;
using obzx_pdk_4_4::CFiStringTool;
using obzx_pdk_4_4::TRACE_DETAIL;
using obzx_pdk_4_4::TRACE_FAILURE;
using obzx_pdk_4_4::TRACE_INFO;

int32_t CCDPPlugin::importNode(const CString& nodeName, bool, bool, bool unmap, int32_t)
{
    return runOperation(m_traceLog, CDP_OPERATION("importNode"), OBZ_ERR_FAILED, [&]() -> int32_t {
        trace(TRACE_INFO, "importNode: node = %s", nodeName);
        if (nodeName.length() <= nodePrefix().size()) {
            trace(TRACE_DETAIL, "CCDPPlugin::importNode - Invalid device format for [%s]", nodeName);
            return OBZ_ERR_FAILED;
        }
        return isInterposed(nodeName) ? importTarget(nodeName, unmap) : importDevice(nodeName, unmap);
    });
}

int32_t CCDPPlugin::importDevice(const CString& device, bool unmap)
{
    const CRegistryPtr appliances = registry();
    const SClaim claim = appliances->getClaimAppliance(device);
    if (!claim.m_appliance) {
        trace(TRACE_INFO, "importNode - could not get appliance for [%s]", device);
        return OBZ_ERR_FAILED;
    }
    const CConsistencyGroupPtr group = appliances->getClaimGroup(claim, device);
    if (!group) {
        trace(TRACE_INFO, "importNode - could not get consistency group for [%s]", device);
        return OBZ_ERR_FAILED;
    }
    const CHostPtr host = localHostOf(claim.m_appliance);
    if (!host) return OBZ_ERR_FAILED;
    trace(TRACE_DETAIL, "importNode: This is a case of primary and we will be importing consistency group");
    if (unmap) {
        group->unmapHost(host);
    } else {
        group->mapHost(host);
    }
    return OBZ_OK;
}

int32_t CCDPPlugin::importTarget(const CString& nodeName, bool unmap)
{
    const STargetDevice target = parseTargetDevice(behindPrefix(nodeName));
    trace(TRACE_DETAIL, "CCDPPlugin::importNode - src = [%s] and checkpoint name = [%s]", target.m_source,
          target.m_checkPoint);
    const CRegistryPtr appliances = registry();
    const SClaim claim = appliances->getClaimAppliance(target.m_source);
    trace(TRACE_DETAIL, "CCDPPlugin::importNode returned from getClaimAppliance ");
    if (!isClaimed(*this, static_cast<bool>(claim.m_appliance), "importNode", "appliance", target.m_source)) {
        return OBZ_ERR_FAILED;
    }
    const CConsistencyGroupPtr group = appliances->getClaimGroup(claim, target.m_source);
    if (!isClaimed(*this, static_cast<bool>(group), "importNode", "consistency group", target.m_source)) {
        return OBZ_ERR_FAILED;
    }
    const CTimeImagePtr image = group->getTimeImageFromCheckPoint(target.m_checkPoint);
    const CHostPtr host = localHostOf(claim.m_appliance);
    if (!host) return OBZ_ERR_FAILED;
    // "alternet" is how the line is known.
    trace(TRACE_DETAIL, "importNode: This is a case of alternet node and we will be importing time image");
    if (unmap) {
        if (image) image->unmapHost(host);
        return OBZ_OK;
    }
    return image ? OBZ_OK : mapImage(target, group, host);
}

int32_t CCDPPlugin::mapImage(const STargetDevice& target, const CConsistencyGroupPtr& group, const CHostPtr& host)
{
    const CString name = timeImageOfCheckPoint(target.m_checkPoint);
    trace(TRACE_DETAIL, "CCDPPlugin::importNode Just before createTimeImage [TI-Name: %s]", name);
    const CTimeImagePtr image = group->createTimeImage(name, target.m_checkPoint, host);
    if (!image) {
        trace(TRACE_FAILURE, "CCDPPlugin::importNode- Could not create time image for consistency group [%s]",
              group->getName());
        return OBZ_ERR_FAILED;
    }
    trace(TRACE_INFO, "CCDPPlugin::importNode- device [%s] has target [%s]", target.m_source,
          image->getTargetDevice(target.m_source));
    return OBZ_OK;
}

CHostPtr CCDPPlugin::localHostOf(const CAppliancePtr& appliance)
{
    return chooseLocalHost(appliance->getHostList(), CCmnNetwork(CFiStringTool::tstr2str(m_providerName)), *this);
}

}  // namespace cdpfi

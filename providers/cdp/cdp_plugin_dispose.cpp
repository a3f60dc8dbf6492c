// Removing copies.
#include "providers/cdp/cdp_identities.h"
#include "providers/cdp/cdp_operation.h"
#include "providers/cdp/cdp_plugin.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

using obzx_pdk_4_4::TRACE_DETAIL;
using obzx_pdk_4_4::TRACE_FAILURE;

int32_t CCDPPlugin::dispose(obz_domain* node, obz_domain* target, obz_splitnode*, obz_disposition disposition)
{
    return runOperation(m_traceLog, CDP_OPERATION("dispose"), OBZ_ERR_FAILED, [&]() -> int32_t {
        if (disposition != OBZ_DISP_REMOVE) return OBZ_OK;
        trace(TRACE_DETAIL, "CCDPPlugin::dispose in case OBZ_DISP_REMOVE");
        if (target == nullptr) {
            trace(TRACE_DETAIL, "CCDPPlugin::dispose target node is NULL");
            return OBZ_OK;
        }
        if (target->identity == nullptr) {
            trace(TRACE_DETAIL, "CCDPPlugin::dispose object ID  is NULL");
            return OBZ_OK;
        }
        if (target->identity->name == nullptr) {
            trace(TRACE_DETAIL, "CCDPPlugin::dispose resource name is NULL");
            return OBZ_OK;
        }
        return disposeNode(node, target);
    });
}

int32_t CCDPPlugin::disposeNode(obz_domain* node, obz_domain* target)
{
    const CString name = nameOf(target);
    const CCDPPrivateData* primaryData = GetPrivateData(node);
    const CCDPPrivateData* targetData = GetPrivateData(target);
    trace(TRACE_DETAIL, "CCDPPlugin::dispose nodeName = [%s]", name);
    return isInterposed(name) ? disposeTarget(name) : disposeDevice(name, primaryData, targetData);
}

int32_t CCDPPlugin::disposeDevice(const CString& name, const CCDPPrivateData* primary, const CCDPPrivateData* target)
{
    trace(TRACE_DETAIL, "CCDPPlugin::dispose - This is a case of device path %s", name);
    if (primary == nullptr || target == nullptr) {
        trace(TRACE_FAILURE, "CCDPPlugin::dispose - Private data for %s Node is NULL",
              primary == nullptr ? "Primary" : "Target");
        return OBZ_ERR_FAILED;
    }
    const CAppliancePtr appliance = registry()->getApplianceInstance(primary->m_applianceName);
    if (!appliance) {
        trace(TRACE_DETAIL, "CCDPPlugin::dispose - Could not get appliance access-point for [%s]",
              primary->m_applianceName);
        return OBZ_ERR_FAILED;
    }
    trace(TRACE_DETAIL, "CCDPPlugin::dispose - Got claiming appliance [%s]", appliance->getName());
    const CConsistencyGroupPtr group = appliance->getConsistencyGroup(primary->m_consistencyGroup);
    if (!group) {
        trace(TRACE_DETAIL, "CCDPPlugin::dispose - Could not get claiming consistency group for [%s]", name);
        return OBZ_ERR_FAILED;
    }
    trace(TRACE_DETAIL, "CCDPPlugin::dispose - Got claiming consistency group [%s]", group->getName());
    // An empty image name is sent like any other: the appliance decides what it knows. Callers see 0 either way.
    const CString& timeImage = target->m_timeImage;
    trace(TRACE_DETAIL, "CCDPPlugin::dispose - deleting time image [%s]", timeImage);
    group->deleteTimeImage(copyOf(timeImage));
    const CString checkPoint = checkPointOfTimeImage(timeImage);
    trace(TRACE_DETAIL, "CCDPPlugin::dispose - deleting annotation [%s]", checkPoint);
    group->deleteCheckPoint(copyOf(checkPoint));
    return OBZ_OK;
}

int32_t CCDPPlugin::disposeTarget(const CString& name)
{
    const std::string_view tagged = behindPrefix(name);
    if (tagged.empty()) {
        trace(TRACE_DETAIL, "CCDPPlugin::dispose - Invalid device format for [%s]", name);
        return OBZ_ERR_FAILED;
    }
    const STargetDevice target = parseTargetDevice(tagged);
    trace(TRACE_DETAIL, "CCDPPlugin::dispose - deviceNode = [%s] ", target.m_source);
    trace(TRACE_DETAIL, "CCDPPlugin::dispose - checkpoint = [%s] ", target.m_checkPoint);
    const CRegistryPtr appliances = registry();
    const SClaim claim = appliances->getClaimAppliance(target.m_source);
    if (!isClaimed(*this, static_cast<bool>(claim.m_appliance), "dispose", "appliance", target.m_source)) {
        return OBZ_ERR_FAILED;
    }
    const CConsistencyGroupPtr group = appliances->getClaimGroup(claim, target.m_source);
    if (!isClaimed(*this, static_cast<bool>(group), "dispose", "consistency group", target.m_source)) {
        return OBZ_ERR_FAILED;
    }
    // The image goes first: the appliance does not give up a checkpoint that an image is made of.
    const CString timeImage = timeImageOfCheckPoint(target.m_checkPoint);
    trace(TRACE_DETAIL, "CCDPPlugin::dispose - Just before deleteTimeImage [TI-Name: %s]", timeImage);
    group->deleteTimeImage(copyOf(timeImage));
    trace(TRACE_DETAIL, "CCDPPlugin::dispose - deleting annotation [%s]", target.m_checkPoint);
    group->deleteCheckPoint(copyOf(target.m_checkPoint));
    return OBZ_OK;
}

}  // namespace cdpfi

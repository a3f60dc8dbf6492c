#include "providers/cdp/cdp_image_lookup.h"

#include "providers/cdp/cdp_names.h"
#include "providers/cdp/cdp_operation.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiTraceable;
using obzx_pdk_4_4::TRACE_DETAIL;
using obzx_pdk_4_4::TRACE_FAILURE;

namespace {

// A state that another process made names an image that the group may not have met yet, so its images are listed once.
CTimeImagePtr imageNamed(CBaseConsistencyGroup& group, const CString& name)
{
    CTimeImagePtr known = group.getTimeImage(name);
    if (known) return known;
    group.populateTimeImageInformation();
    return group.getTimeImage(name);
}

// Which checkpoint became which image is known only to the process that made the image; to any other one it is the
// state that tells, as long as it speaks of the same checkpoint.
CTimeImagePtr imageOfCheckPoint(CBaseConsistencyGroup& group, const CString& checkPoint, const CString& ofState)
{
    CTimeImagePtr known = group.getTimeImageFromCheckPoint(checkPoint);
    if (known || ofState != timeImageOfCheckPoint(checkPoint)) return known;
    return imageNamed(group, ofState);
}

}  // namespace

SFoundImage findImageOfState(const CCDPApplianceFactory& appliances, const SImportRequest& request,
                             const CFiTraceable& log)
{
    const char* const operation = request.m_operation;
    const CCDPPrivateData& state = *request.m_primary;
    const CAppliancePtr appliance = appliances.getApplianceInstance(state.m_applianceName);
    if (!appliance) {
        log.trace(TRACE_FAILURE, "CCDPPlugin::%s - No Appliance found with name [%s].", operation,
                  state.m_applianceName);
        return {};
    }
    const CConsistencyGroupPtr group = appliance->getConsistencyGroup(state.m_consistencyGroup);
    if (!group) {
        log.trace(TRACE_FAILURE, "CCDPPlugin::%s - No consistency group found with name [%s]", operation,
                  state.m_consistencyGroup);
        return {};
    }
    const CTimeImagePtr image = imageNamed(*group, state.m_timeImage);
    if (!image) {
        log.trace(TRACE_FAILURE, "CCDPPlugin::%s- Could not get time image for consistency group [%s]", operation,
                  group->getName());
    }
    return {.m_appliance = appliance, .m_image = image};
}

SFoundImage findImageOfTarget(const CCDPApplianceFactory& appliances, const SImportRequest& request,
                              std::string_view tagged, const CFiTraceable& log)
{
    const char* const operation = request.m_operation;
    if (tagged.empty()) {
        log.trace(TRACE_DETAIL, "CCDPPlugin::%s - Invalid device format for [%s]", operation, request.m_resource);
        return {};
    }
    const STargetDevice target = parseTargetDevice(tagged);
    log.trace(TRACE_DETAIL, "CCDPPlugin::%s - src = [%s] ", operation, target.m_source);
    const SClaim claim = appliances.getClaimAppliance(target.m_source);
    if (!isClaimed(log, static_cast<bool>(claim.m_appliance), operation, "appliance", target.m_source)) return {};
    const CConsistencyGroupPtr group = appliances.getClaimGroup(claim, target.m_source);
    if (!isClaimed(log, static_cast<bool>(group), operation, "consistency group", target.m_source)) return {};
    const CTimeImagePtr image = imageOfCheckPoint(*group, target.m_checkPoint, request.m_primary->m_timeImage);
    if (!image) {
        log.trace(TRACE_FAILURE, "CCDPPlugin::%s- Could not create time image for consistency group [%s]", operation,
                  group->getName());
        if (request.m_tellsImage) {
            log.trace(TRACE_DETAIL, "CCDPPlugin::%s - Could not create time image for consistency group [%s]",
                      operation, group->getName());
        }
        return {};
    }
    const CString imageName = image->getName();
    assign(request.m_primary->m_timeImage, imageName);
    if (request.m_target != nullptr) assign(request.m_target->m_timeImage, imageName);
    return {.m_appliance = claim.m_appliance, .m_image = image};
}

}  // namespace cdpfi

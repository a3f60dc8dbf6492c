// Bringing a node's copy to this host: under a target node, or for an identity.
#include <utility>

#include "providers/cdp/cdp_identities.h"
#include "providers/cdp/cdp_image_lookup.h"
#include "providers/cdp/cdp_operation.h"
#include "providers/cdp/cdp_plugin.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

using obzx_pdk_4_4::TRACE_DETAIL;
using obzx_pdk_4_4::TRACE_FAILURE;
using obzx_pdk_4_4::TRACE_INFO;

namespace {

constexpr bool UNUSED = false;
constexpr bool MAP = false;
constexpr int32_t IMPORT_FLAGS = 1;

void copyState(const CCDPPrivateData& from, CCDPPrivateData& to)
{
    assign(to.m_applianceType, from.m_applianceType);
    assign(to.m_applianceName, from.m_applianceName);
    assign(to.m_consistencyGroup, from.m_consistencyGroup);
    assign(to.m_timeImage, from.m_timeImage);
    assign(to.m_checkPointName, from.m_checkPointName);
}

// What the host said of the primary or of the target: either can keep the copy off this host.
obz_intent intentOf(const SImportRequest& request)
{
    const obz_intent ofPrimary = request.m_primary->getIntent();
    return ofPrimary != OBZ_INTENT_NONE || request.m_target == nullptr ? ofPrimary : request.m_target->getIntent();
}

bool isTransportable(const SImportRequest& request)
{
    return request.m_primary->getTransportable() ||
           (request.m_target != nullptr && request.m_target->getTransportable());
}

}  // namespace

int32_t CCDPPlugin::initAltNode(obz_domain* primary, obz_domain*, obz_domain* target, bool isRemote)
{
    return runOperation(m_traceLog, CDP_OPERATION("initAltNode"), OBZ_ERR_FAILED, [&]() -> int32_t {
        if (target == nullptr) {
            trace(TRACE_FAILURE, "ERROR: initAltNode(): target node is invalid.");
            return OBZ_ERR_INVALID_ARG;
        }
        trace(TRACE_DETAIL, "CCDPPlugin::initAltNode - Inside target");
        CCDPPrivateData* targetData = obtainPrivateData(target, true);
        if (targetData == nullptr) {
            trace(TRACE_FAILURE, "CCDPPlugin::initAltNode - Private data for Target Node is NULL");
            return OBZ_ERR_FAILED;
        }
        target->value |= m_nodeValue;
        CCDPPrivateData* primaryData = GetPrivateData(primary);
        if (primaryData == nullptr) {
            trace(TRACE_FAILURE, "CCDPPlugin::initAltNode - Private data for Primary Node is NULL");
            return OBZ_ERR_FAILED;
        }
        copyState(*primaryData, *targetData);
        const CString resource = nameOf(target);
        const auto deliver = [&](const CString& path) {
            if (bytesOf(path) == bytesOf(resource)) return true;
            CIdentityPtr identity = newIdentity(path);
            if (identity == nullptr) return false;
            target->identity = identity.release();  // the one before it stays the host's
            return true;
        };
        return importCopy({.m_operation = "initAltNode",
                           .m_resource = resource,
                           .m_primary = primaryData,
                           .m_target = targetData,
                           .m_isRemote = isRemote,
                           .m_deliver = deliver});
    });
}

int32_t CCDPPlugin::importTreeNode(obz_domain* primary, obzx_objid** input, obzx_objid** output, int32_t, obzx_objid**)
{
    return runOperation(m_traceLog, CDP_OPERATION("importTreeNode"), OBZ_ERR_FAILED, [&]() -> int32_t {
        if (output != nullptr) *output = nullptr;
        if (primary == nullptr || input == nullptr || *input == nullptr || (*input)->name == nullptr ||
            output == nullptr) {
            trace(TRACE_FAILURE, "Error: Invalid input arguments to importTreeNode");
            return OBZ_ERR_INVALID_ARG;
        }
        const CString resource = textOf((*input)->name);
        CCDPPrivateData* primaryData = GetPrivateData(primary);
        if (primaryData == nullptr) return importUnknownTree(primary, resource, output);
        trace(TRACE_INFO, "CCDPPlugin::importTreeNode -Serial number for primary is  [%s]", primaryData->m_serialNo);
        const auto deliver = [&](const CString& path) {
            *output = newIdentity(path).release();
            return *output != nullptr;
        };
        return importCopy({.m_operation = "importTreeNode",
                           .m_resource = resource,
                           .m_primary = primaryData,
                           .m_tellsImage = true,
                           .m_deliver = deliver});
    });
}

int32_t CCDPPlugin::importUnknownTree(obz_domain* primary, const CString& resource, obzx_objid** output)
{
    trace(TRACE_INFO, "CCDPPlugin::importTreeNode - Primary is NULL calling import for  [%s]", resource);
    const int32_t status = importNode(resource, false, UNUSED, MAP, IMPORT_FLAGS);
    if (status == OBZ_OK) *output = primary->identity;
    return status;
}

int32_t CCDPPlugin::importCopy(const SImportRequest& request)
{
    const char* const operation = request.m_operation;
    const obz_intent intent = intentOf(request);
    const bool transportable = isTransportable(request);
    trace(TRACE_DETAIL, "CCDPPlugin::%s - isRemote = [%d]", operation, static_cast<int32_t>(request.m_isRemote));
    trace(TRACE_DETAIL, "CCDPPlugin::%s - getIntent = [%d]", operation, static_cast<int32_t>(intent));
    trace(TRACE_DETAIL, "CCDPPlugin::%s - getTransportable = [%d]", operation, static_cast<int32_t>(transportable));
    if (request.m_isRemote || transportable || intent != OBZ_INTENT_NONE) return OBZ_OK;
    if (request.m_tellsImage) {
        trace(TRACE_DETAIL, "CCDPPlugin::%s - timeImage = [%s] ", operation, request.m_primary->m_timeImage);
    }
    if (!request.m_primary->m_timeImage.is_empty()) return importExistingImage(request);
    if (importNode(request.m_resource, transportable, UNUSED, MAP, IMPORT_FLAGS) != OBZ_OK) {
        trace(TRACE_FAILURE, "CCDPPlugin::%s - Could not import device[%s]", operation, request.m_resource);
        return OBZ_ERR_FAILED;
    }
    return OBZ_OK;
}

int32_t CCDPPlugin::importExistingImage(const SImportRequest& request)
{
    const char* const operation = request.m_operation;
    trace(TRACE_INFO, "CCDPPlugin::%s - Time image exist for resource [%s]", operation, request.m_resource);
    const CRegistryPtr appliances = registry();
    const SFoundImage found = isInterposed(request.m_resource)
                                  ? findImageOfTarget(*appliances, request, behindPrefix(request.m_resource), *this)
                                  : findImageOfState(*appliances, request, *this);
    if (!found.m_image) return OBZ_ERR_FAILED;
    const CString& source = request.m_primary->m_serialNo;
    const CString targetLun = found.m_image->getTargetDevice(source);
    trace(TRACE_FAILURE, "CCDPPlugin::%s- device [%s] has target [%s]", operation, source, targetLun);
    if (request.m_target != nullptr) assign(request.m_target->m_serialNo, targetLun);
    CString path;
    if (!found.m_appliance->importDevicePath(targetLun, path)) {
        trace(TRACE_DETAIL, "CCDPPlugin::%s - Could not get Physical device for [%s]", operation, targetLun);
        return OBZ_ERR_FAILED;
    }
    if (!request.m_deliver(path)) {
        trace(TRACE_FAILURE, "CCDPPlugin::%s - No memory for the identity of [%s]", operation, path);
        return OBZ_ERR_FAILED;
    }
    return OBZ_OK;
}

}  // namespace cdpfi

// Which nodes of the host's tree the provider takes over.

#include "framework/include/obzx_runtime.h"
#include "pdk/include/cfioutputs.h"
#include "providers/cdp/cdp_identities.h"
#include "providers/cdp/cdp_operation.h"
#include "providers/cdp/cdp_plugin.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

using obzx_pdk_4_4::clearOutputs;
using obzx_pdk_4_4::SFiFimInfo;
using obzx_pdk_4_4::TRACE_DETAIL;
using obzx_pdk_4_4::TRACE_INFO;
using obzx_pdk_4_4::TRACE_INVALID;

namespace {

constexpr int32_t INTERPOSED = 1;
constexpr int32_t NOT_INTERPOSED = 0;
constexpr int32_t SUPPORTED = 1;
constexpr int32_t NOT_SUPPORTED = 0;
constexpr std::string_view ANY_FIM = "any";
constexpr std::string_view DEVICE_FOLDER = "/dev/";

void setAccess(const obz_domain* node, int32_t access)
{
    if (node->access != nullptr) *node->access = access;
}

}  // namespace

int32_t CCDPPlugin::claim(obzx_objid* primary, obzx_objid*** secondaries, int32_t* secondaryCount)
{
    clearOutputs(secondaries, secondaryCount);
    return runOperation(m_traceLog, CDP_OPERATION("claim"), OBZ_CLAIM_NONE, [&]() -> int32_t {
        if (primary == nullptr || primary->name == nullptr) {
            trace(TRACE_INVALID, "Invalid primary object id for claim()");
            return OBZ_CLAIM_NONE;
        }
        if (secondaries == nullptr || secondaryCount == nullptr) return OBZ_CLAIM_NONE;
        if (!contains(primary->name, nodePrefix())) {
            trace(TRACE_INFO, "CCDPPlugin::claim - NOT claiming node [%s]", primary->name);
            return OBZ_CLAIM_NONE;
        }
        trace(TRACE_INFO, "CCDPPlugin::claim - Info, claiming node [%s] OBZ_CLAIM_SECONDARY", primary->name);
        return OBZ_CLAIM_SECONDARY;
    });
}

int32_t CCDPPlugin::interpose(obz_domain* node, obzx_objid** interposed, obzx_objid*** groups, int32_t* groupCount)
{
    clearOutputs(interposed, groups, groupCount);
    return runOperation(m_traceLog, CDP_OPERATION("interpose"), NOT_INTERPOSED, [&]() -> int32_t {
        if (interposed == nullptr || groups == nullptr || groupCount == nullptr) return NOT_INTERPOSED;
        const CString name = nameOf(node);
        if (!contains(bytesOf(name), DEVICE_FOLDER)) {
            trace(TRACE_INFO, "CCDPPlugin::interpose - Not a device path. Not claiming node [%s].", name);
            return NOT_INTERPOSED;
        }
        return interposeDevice(name, interposed, groups, groupCount);
    });
}

int32_t CCDPPlugin::interposeDevice(const CString& device, obzx_objid** interposed, obzx_objid*** groups,
                                    int32_t* groupCount)
{
    const CRegistryPtr appliances = registry();
    const SClaim claim = appliances->getClaimAppliance(device);
    if (!claim.m_appliance) {
        trace(TRACE_INFO, "CCDPPlugin::interpose - No Appliance found. Not claiming node [%s].", device);
        return NOT_INTERPOSED;
    }
    const CString interposedName = join({nodePrefix(), claim.m_device.m_lun});
    CIdentityPtr identity = newIdentity(interposedName);
    const CConsistencyGroupPtr group = appliances->getClaimGroup(claim, device);
    if (!isClaimed(*this, static_cast<bool>(group), "interpose", "consistency group", device)) return NOT_INTERPOSED;
    const CString groupName = group->getName();
    trace(TRACE_INFO, "CCDPPlugin::interpose - found service group [%s] as group name.", groupName);
    if (identity == nullptr) {
        trace(obzx_pdk_4_4::TRACE_FAILURE, "CCDPPlugin::interpose - No memory for the identity of [%s]",
              interposedName);
        return NOT_INTERPOSED;
    }
    trace(TRACE_INFO, "Info, interposing with node [%s] on [%s].", interposedName, device);
    // Nothing may fail from here on: what is stored belongs to the host. The count tells how many groups there are,
    // also when there was no memory for the list of them.
    *groupCount = 1;
    *groups = newGroupList(&groupName, *groupCount);
    *interposed = identity.release();
    return INTERPOSED;
}

int32_t CCDPPlugin::supportsFiType(obz_domain* node, const char* fim)
{
    if (node == nullptr) return NOT_SUPPORTED;
    const int32_t result = runOperation(m_traceLog, CDP_OPERATION("supportsFiType"), NOT_SUPPORTED, [&]() -> int32_t {
        if (fim == nullptr) return NOT_SUPPORTED;
        // The call asks for what was announced, as that of every interposer does, but what the appliances offer
        // decides.
        static_cast<void>(CFiPluginInterposer::getFims(nameOf(node)));
        trace(TRACE_INFO, "supportsFiType:: checking with  FIM %s", fim);
        SFiFimInfo found;
        if (findFim(fim, found)) return answerAccess(node, found);
        trace(TRACE_DETAIL, "CCDPPlugin::supportsFiType - returning OBZ_ACCESS_NONE");
        return NOT_SUPPORTED;
    });
    if (result == NOT_SUPPORTED) setAccess(node, OBZ_ACCESS_NONE);
    return result;
}

bool CCDPPlugin::findFim(std::string_view fim, SFiFimInfo& found)
{
    for (const CAppliancePtr& appliance : registry()->getApplianceList()) {
        if (!appliance) continue;
        for (const SFiFimInfo& offered : appliance->getFims()) {
            trace(TRACE_INFO, "Checking with  FIM %s", offered.m_splitName);
            if (bytesOf(offered.m_splitName) != fim && fim != ANY_FIM) continue;
            found = offered;
            return true;
        }
    }
    return false;
}

int32_t CCDPPlugin::answerAccess(obz_domain* node, const SFiFimInfo& fim)
{
    const obzx_pdk_4_4::CFiPrivateDataPtr data =
        m_privateDataManager ? m_privateDataManager->access(node) : obzx_pdk_4_4::CFiPrivateDataPtr();
    if (!data || data->getHostList().empty()) {
        const int32_t access = (node->access == nullptr ? OBZ_ACCESS_NONE : *node->access) | fim.m_access;
        setAccess(node, access);
        // "valus" is how the line is known.
        trace(TRACE_DETAIL, "CCDPPlugin::supportsFiType - returning valus [%d]", access);
    } else if (!data->getTransportable()) {
        setAccess(node, OBZ_ACCESS_LOCAL);
        trace(TRACE_DETAIL, "CCDPPlugin::supportsFiType - returning OBZ_ACCESS_LOCAL");
    } else {
        setAccess(node, OBZ_ACCESS_REMOTE);
        trace(TRACE_DETAIL, "CCDPPlugin::supportsFiType - returning OBZ_ACCESS_REMOTE");
    }
    return SUPPORTED;
}

}  // namespace cdpfi

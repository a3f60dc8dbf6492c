// Taking the snapshot of a session: one checkpoint for each consistency group that holds any of its nodes.
#include <unistd.h>

#include "pdk/include/cfisessionmgr.h"
#include "providers/cdp/cdp_operation.h"
#include "providers/cdp/cdp_plugin.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

using obzx_pdk_4_4::CFiPrivateDataPtr;
using obzx_pdk_4_4::CFiSession;
using obzx_pdk_4_4::CFiSplitNode;
using obzx_pdk_4_4::TRACE_DETAIL;
using obzx_pdk_4_4::TRACE_FAILURE;
using obzx_pdk_4_4::TRACE_INFO;

int32_t CCDPPlugin::select(const char*, obz_splitnode**, int32_t)
{
    trace(TRACE_INFO, "SELECT_SUCCESSFUL");
    return OBZ_OK;
}

int32_t CCDPPlugin::makeSnapshots(obzx_pdk_4_4::CFiSessionPtr& session)
{
    if (!session) return OBZ_ERR_INVALID_ARG;
    return runOperation(m_traceLog, CDP_OPERATION("makeSnapshots"), OBZ_ERR_FAILED, [&]() -> int32_t {
        const std::vector<CFiSplitNode> nodes = session->getSplitNodeList(obzx_pdk_4_4::PHASE_MAKE);
        CNodeGrouping grouping;  // refers to their names
        for (const CFiSplitNode& node : nodes) {
            if (!groupNode(node.m_name, grouping)) return OBZ_ERR_FAILED;
        }
        return makeCheckPoints(grouping, *session);
    });
}

bool CCDPPlugin::groupNode(const CString& name, CNodeGrouping& grouping)
{
    trace(TRACE_FAILURE, "CCDPPlugin::makeSnapshots - working with Node name %s", name);
    const CString device = textOf(behindPrefix(name));
    if (device.is_empty()) {
        trace(TRACE_DETAIL, "CCDPPlugin::makeSnapshots - Invalid device format for [%s]", name);
        return false;
    }
    trace(TRACE_FAILURE, "CCDPPlugin::makeSnapshots - working with device name %s", device);
    const CRegistryPtr appliances = registry();
    const SClaim claim = appliances->getClaimAppliance(device);
    if (!isClaimed(*this, static_cast<bool>(claim.m_appliance), "makeSnapshots", "appliance", device)) return false;
    const CString applianceName = claim.m_appliance->getName();
    trace(TRACE_FAILURE, "CCDPPlugin::makeSnapshots - got claiming appliance with name %s", applianceName);
    const CConsistencyGroupPtr group = appliances->getClaimGroup(claim, device);
    if (!isClaimed(*this, static_cast<bool>(group), "makeSnapshots", "consistency group", device)) return false;
    const CString groupName = group->getName();
    trace(TRACE_FAILURE, "CCDPPlugin::makeSnapshots - got claiming consistency group with name %s", groupName);
    const auto added = grouping.add(bytesOf(applianceName), bytesOf(groupName), name);
    traceGrouping(added, name, groupName, applianceName);
    return true;
}

// "applinace" is how the lines are known.
void CCDPPlugin::traceGrouping(CNodeGrouping::EAdded added, const CString& node, const CString& group,
                               const CString& appliance)
{
    const char* groupWord = added == CNodeGrouping::EAdded::KNOWN_GROUP ? "" : "NEW ";
    const char* applianceWord = added == CNodeGrouping::EAdded::NEW_APPLIANCE ? "New " : "";
    trace(TRACE_FAILURE, "CCDPPlugin::makeSnapshots - Adding node %s in %sCG %s for %sapplinace %s", node, groupWord,
          group, applianceWord, appliance);
}

int32_t CCDPPlugin::makeCheckPoints(const CNodeGrouping& grouping, CFiSession& session)
{
    const CString checkPoint = checkPointNameOf(getpid());
    for (const auto& [applianceName, groups] : grouping.appliances()) {
        trace(TRACE_FAILURE, "CCDPPlugin::makeSnapshots - Looking for consistency groups in appliances %s",
              applianceName);
        const CAppliancePtr appliance = registry()->getApplianceInstance(textOf(applianceName));
        for (const auto& [groupName, nodes] : groups) {
            const int32_t status = makeCheckPoint(appliance, textOf(groupName), nodes, checkPoint, session);
            if (status != OBZ_OK) return status;
        }
    }
    return OBZ_OK;
}

int32_t CCDPPlugin::makeCheckPoint(const CAppliancePtr& appliance, const CString& groupName,
                                   const CNodeGrouping::CNodes& nodes, const CString& checkPoint, CFiSession& session)
{
    trace(TRACE_FAILURE, "CCDPPlugin::makeSnapshots - creating check point for devices in consistency group %s",
          groupName);
    const CConsistencyGroupPtr group = appliance ? appliance->getConsistencyGroup(groupName) : CConsistencyGroupPtr();
    if (!isClaimed(*this, static_cast<bool>(group), "makeSnapshots", "consistency group", groupName)) {
        return OBZ_ERR_FAILED;
    }
    if (group->createCheckPoint(checkPoint) != 0) {
        trace(TRACE_FAILURE, "CCDPPlugin::makeSnapshots - failed to create annotation for consistency group [%s].",
              group->getName());
        return OBZ_ERR_FAILED;
    }
    for (const CString* node : nodes) {
        recordCopy(*node, checkPoint, session);
    }
    return OBZ_OK;
}

void CCDPPlugin::recordCopy(const CString& node, const CString& checkPoint, CFiSession& session)
{
    const CFiPrivateDataPtr data =
        m_privateDataManager ? m_privateDataManager->accessByName(node, false) : CFiPrivateDataPtr();
    // A node that was taken down since it was selected has its copy all the same.
    if (auto* state = dynamic_cast<CCDPPrivateData*>(data.get())) assign(state->m_checkPointName, checkPoint);
    const CString target = targetDeviceName(nodePrefix(), behindPrefix(node), bytesOf(checkPoint));
    trace(TRACE_FAILURE, "CCDPPlugin::makeSnapshots - Adding target device [%s] for [%s]", target, node);
    session.update(std::string(bytesOf(node)), [&](CFiSplitNode& entry) {
        assign(entry.m_target, target);
        entry.m_makeDone = 1;
    });
}

}  // namespace cdpfi

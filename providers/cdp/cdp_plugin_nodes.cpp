// Setting nodes up for snapshots, and undoing that.
#include <utility>

#include "framework/include/obzx_runtime.h"
#include "providers/cdp/cdp_identities.h"
#include "providers/cdp/cdp_operation.h"
#include "providers/cdp/cdp_plugin.h"
#include "providers/cdp/cdp_text.h"

namespace cdpfi {

using obzx_pdk_4_4::SFiFimInfo;
using obzx_pdk_4_4::TRACE_DETAIL;
using obzx_pdk_4_4::TRACE_FAILURE;
using obzx_pdk_4_4::TRACE_INFO;

namespace {

// Takes back what was done to a node whose set-up does not come to its end.
class CUnfinishedNode
{
  public:
    CUnfinishedNode(CGroupNodes& groupNodes, CNodeCombos& combos, obz_domain* node)
        : m_groupNodes(groupNodes), m_combos(combos), m_node(node)
    {
    }
    ~CUnfinishedNode()
    {
        if (m_node == nullptr) return;
        m_groupNodes.eraseNode(m_node);
        m_combos.release(m_node);
    }
    CUnfinishedNode(const CUnfinishedNode&) = delete;
    CUnfinishedNode& operator=(const CUnfinishedNode&) = delete;
    void finish() { m_node = nullptr; }

  private:
    CGroupNodes& m_groupNodes;
    CNodeCombos& m_combos;
    obz_domain* m_node;
};

template <class Action>
class CAtEnd
{
  public:
    explicit CAtEnd(Action action) : m_action(std::move(action)) {}
    ~CAtEnd() { m_action(); }
    CAtEnd(const CAtEnd&) = delete;
    CAtEnd& operator=(const CAtEnd&) = delete;

  private:
    Action m_action;
};

}  // namespace

int32_t CCDPPlugin::initNode(obz_domain* node, obz_domain**, int32_t, obzx_objid*)
{
    if (node == nullptr) return OBZ_ERR_INVALID_ARG;
    const bool isFresh = node->private_data == nullptr;
    m_combos.startOver(node);
    const int32_t status = runOperation(m_traceLog, CDP_OPERATION("initNode"), OBZ_ERR_FAILED,
                                        [&] { return setUpNode(node, obtainPrivateData(node, false)); });
    // A refused node leaves nothing behind, whether or not the host takes it down again.
    if (status != OBZ_OK && isFresh && node->private_data != nullptr) m_privateDataManager->deallocate(node);
    return status;
}

int32_t CCDPPlugin::setUpNode(obz_domain* node, CCDPPrivateData* data)
{
    const CString name = nameOf(node);
    trace(TRACE_DETAIL, "CCDPPlugin::initNode - initNode for [%s]", name);
    const bool isGroup = !isInterposed(name);
    CString key;
    if (!keyOfNode(name, isGroup, key)) return OBZ_ERR_FAILED;
    const SClaim claim = claimOfNode(key, isGroup);
    const CAppliancePtr& appliance = claim.m_appliance;
    if (!appliance) return OBZ_ERR_FAILED;
    const CConsistencyGroupPtr group = registry()->getClaimGroup(claim, key);
    if (!group) {
        trace(TRACE_DETAIL, "CCDPPlugin::initNode - Could not get claiming appliance for [%s]", key);
        return OBZ_ERR_FAILED;
    }
    if (data == nullptr) {
        trace(TRACE_FAILURE, "CCDPPlugin::initNode - Private data for Node [%s] is NULL", name);
        return OBZ_ERR_FAILED;
    }
    assign(data->m_applianceType, appliance->getApplianceType());
    assign(data->m_applianceName, appliance->getApplianceName(key));
    assign(data->m_serialNo, claim.m_device.m_lun);
    assign(data->m_consistencyGroup, group->getName());
    CUnfinishedNode unfinished(m_groupNodes, m_combos, node);
    if (isGroup) {
        m_groupNodes.enter(data->m_consistencyGroup, node);
        trace(TRACE_DETAIL, "CCDPPlugin::initNode - Adding groupNode in the map");
    }
    if (!fillNode(node, appliance, data->m_consistencyGroup)) return OBZ_ERR_FAILED;
    unfinished.finish();
    return OBZ_OK;
}

bool CCDPPlugin::keyOfNode(const CString& name, bool isGroup, CString& key)
{
    if (isGroup) {
        trace(TRACE_DETAIL, "CCDPPlugin::initNode - this is a group node");
        assign(key, name);
        return true;
    }
    trace(TRACE_DETAIL, "CCDPPlugin::initNode - this is a non group node");
    assign(key, behindPrefix(name));
    if (key.is_empty()) trace(TRACE_DETAIL, "CCDPPlugin::initNode - Invalid device format for [%s]", name);
    return !key.is_empty();
}

SClaim CCDPPlugin::claimOfNode(const CString& key, bool isGroup)
{
    SClaim claim = registry()->getClaimAppliance(key);
    if (!claim.m_appliance) {
        trace(TRACE_DETAIL,
              isGroup ? "CCDPPlugin::initNode - Could not get claiming appliance for CG [%s]"
                      : "CCDPPlugin::initNode - Could not get claiming appliance for [%s]",
              key);
        return claim;
    }
    if (!isGroup) trace(TRACE_DETAIL, "CCDPPlugin::initNode - Got claiming appliance");
    trace(TRACE_DETAIL, "CCDPPlugin::initNode - Got claiming appliance [%s]", claim.m_appliance->getName());
    return claim;
}

bool CCDPPlugin::fillNode(obz_domain* node, const CAppliancePtr& appliance, const CString& group)
{
    const std::vector<SFiFimInfo> fims = appliance->getFims();
    node->name = node->identity->name;
    node->value = m_nodeValue;
    for (const SFiFimInfo& fim : fims) {
        trace(TRACE_DETAIL, "CCDPPlugin::initNode - Adding combo for as m_quiesceName[%s],m_splitName[%s] ",
              fim.m_quiesceName, fim.m_splitName);
        if (m_combos.append(node, fim.m_quiesceName, fim.m_splitName, m_groupNodes.find(group))) continue;
        trace(TRACE_FAILURE, "CCDPPlugin::initNode - No memory for the combinations of [%s]", nameOf(node));
        return false;
    }
    return true;
}

int32_t CCDPPlugin::deInitNode(obz_domain* node)
{
    if (node == nullptr) return OBZ_ERR_INVALID_ARG;
    return runOperation(m_traceLog, CDP_OPERATION("deInitNode"), OBZ_ERR_FAILED, [&]() -> int32_t {
        // However this ends, the host drops the node: nothing of it may stay.
        const CAtEnd release([&]() noexcept { giveBack(node); });
        trace(TRACE_INFO, "CCDPPlugin::deInitNode for Node [%s]", nameOf(node));
        if (const CCDPPrivateData* data = GetPrivateData(node)) {
            leaveGroup(node, data->m_consistencyGroup);
        } else {
            trace(TRACE_INFO, "CCDPPlugin::deInitNode - private_node is NULL");
        }
        return OBZ_OK;
    });
}

void CCDPPlugin::giveBack(obz_domain* node) noexcept
{
    m_groupNodes.eraseNode(node);
    m_combos.release(node);
    try {
        CFiPluginInterposer::deInitNode(node);
    } catch (...) {
        trace(TRACE_FAILURE, "CCDPPlugin::deInitNode - the private data could not be given back");
    }
}

void CCDPPlugin::leaveGroup(obz_domain* node, const CString& group)
{
    trace(TRACE_INFO, "CCDPPlugin::deInitNode ConsistencyGroup [%s]", group);
    obz_domain* const groupNode = m_groupNodes.find(group);
    trace(TRACE_INFO, "CCDPPlugin::deInitNode found map entry for ConsistencyGroup [%s] with addres %x", group,
          reinterpret_cast<uintptr_t>(groupNode));
    if (groupNode == nullptr) {
        trace(TRACE_INFO, "CCDPPlugin::deInitNode found NULL groupnode");
        m_groupNodes.erase(group);
    } else if (obzx_objidcmp(groupNode->identity, node->identity) == 0) {
        trace(TRACE_INFO, "CCDPPlugin::deInitNode found matching group node for ConsistencyGroup [%s]", group);
        m_groupNodes.erase(group);
    }
}

}  // namespace cdpfi
